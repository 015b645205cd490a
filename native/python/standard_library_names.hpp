// The standard library names that the slow path uses and the fast paths bypass.
//
// Specific to CPython 3.12: in other versions, pathlib, os, codecs and re use other names.
#pragma once

#include <span>

namespace tarnel::python::standard_library {

// The kind of a name's original value, which determines how the original is recognised.
enum class Kind {
    function,      // a Python function of the same module
    builtin,       // a builtin function; `origin` is its module
    static_type,   // a built-in type
    python_class,  // a class of the module `origin`
    module,        // the module `origin`
    text,          // the string `origin`
    none,
    ignored_errnos,   // the errors that pathlib treats as a missing file
    cached_function,  // a Python function of the same module, wrapped in functools.lru_cache
    dictionary,       // a plain dict
    instance,         // an instance of the same module's class `origin`
};

// Arrays, because loading the extension would have to relocate pointers, at every import.
struct Name {
    char module[16];
    char name[20];
    Kind kind = Kind::function;
    char origin[24] = "";
};

// Choosing directories: itertools.combinations.
inline constexpr Name of_planning[] = {{"itertools", "combinations", Kind::static_type, "itertools.combinations"}};

// Version keys: re.match.
inline constexpr Name of_matching[] = {
    {"re", "match"},
    {"re", "_compile"},
    {"re", "RegexFlag", Kind::python_class, "re"},
    {"re", "_cache2", Kind::dictionary},
    {"re", "_cache", Kind::dictionary},
};

// Documents and paths: the names that pathlib and its text files use.
inline constexpr Name of_files[] = {
    {"pathlib", "Path", Kind::python_class, "pathlib"},
    {"pathlib", "PosixPath", Kind::python_class, "pathlib"},
    {"pathlib", "PurePath", Kind::python_class, "pathlib"},
    {"pathlib", "S_ISDIR", Kind::builtin, "_stat"},
    {"pathlib", "_ignore_error"},
    {"pathlib", "_IGNORED_ERRNOS", Kind::ignored_errnos},
    {"pathlib", "_is_case_sensitive", Kind::cached_function},
    {"pathlib", "io", Kind::module, "io"},
    {"pathlib", "ntpath", Kind::module, "ntpath"},
    {"pathlib", "os", Kind::module, "os"},
    {"pathlib", "posixpath", Kind::module, "posixpath"},
    {"pathlib", "sys", Kind::module, "sys"},
    {"os", "environ", Kind::instance, "_Environ"},
    {"os", "fspath", Kind::builtin, "posix"},
    {"os", "getcwd", Kind::builtin, "posix"},
    {"os", "mkdir", Kind::builtin, "posix"},
    {"os", "name", Kind::text, "posix"},
    {"os", "stat", Kind::builtin, "posix"},
    {"io", "open", Kind::builtin, "_io"},
    {"io", "text_encoding", Kind::builtin, "_io"},
    {"posixpath", "_get_sep"},
    {"posixpath", "altsep", Kind::none},
    {"posixpath", "expanduser"},
    {"posixpath", "join"},
    {"posixpath", "os", Kind::module, "os"},
    {"posixpath", "sep", Kind::text, "/"},
    {"posixpath", "splitdrive"},
    {"posixpath", "splitroot"},
    {"sys", "intern", Kind::builtin, "sys"},
    {"codecs", "IncrementalDecoder", Kind::python_class, "codecs"},
    {"codecs", "utf_8_decode", Kind::builtin, "_codecs"},
    {"codecs", "utf_8_encode", Kind::builtin, "_codecs"},
    {"codecs", "lookup", Kind::builtin, "_codecs"},
    {"encodings.utf_8", "codecs", Kind::module, "codecs"},
};

// The builtins that this code uses. Its modules must not define the same names, which would hide them.
inline constexpr Name builtins[] = {
    {"builtins", "getattr", Kind::builtin, "builtins"},
    {"builtins", "isinstance", Kind::builtin, "builtins"},
    {"builtins", "len", Kind::builtin, "builtins"},
    {"builtins", "AttributeError", Kind::static_type, "AttributeError"},
    {"builtins", "BytesWarning", Kind::static_type, "BytesWarning"},
    {"builtins", "FileNotFoundError", Kind::static_type, "FileNotFoundError"},
    {"builtins", "KeyError", Kind::static_type, "KeyError"},
    {"builtins", "OSError", Kind::static_type, "OSError"},
    {"builtins", "TypeError", Kind::static_type, "TypeError"},
    {"builtins", "ValueError", Kind::static_type, "ValueError"},
    {"builtins", "bool", Kind::static_type, "bool"},
    {"builtins", "bytes", Kind::static_type, "bytes"},
    {"builtins", "map", Kind::static_type, "map"},
    {"builtins", "object", Kind::static_type, "object"},
    {"builtins", "str", Kind::static_type, "str"},
    {"builtins", "super", Kind::static_type, "super"},
    {"builtins", "type", Kind::static_type, "type"},
};

// The kind of a class attribute's original value.
enum class Member {
    function,  // a Python function of the class's module; the next three wrap one
    property,
    class_method,
    static_method,
    slot,       // a slot descriptor
    field,      // a field of a built-in record
    builtin,    // a builtin function
    module,     // a module
    missing,    // absent; the interpreter would use it if it existed
    inherited,  // inherited from a built-in base
    yes,        // True
};

struct Attribute {
    char name[24];
    Member kind = Member::function;
    char defaults[40] = "(None, None)";  // functions: repr() of positional and keyword-only defaults
};

struct Class {
    char module[16];
    char name[20];
    std::span<const Attribute> attributes;
};

inline constexpr Attribute of_path[] = {
    {"__bool__", Member::missing},
    {"__len__", Member::missing},
    {"__getattr__", Member::missing},
    {"__getattribute__", Member::inherited},
    {"__setattr__", Member::inherited},
    {"__eq__"},
    {"__fspath__"},
    {"__init__"},
    {"__new__", Member::static_method},
    {"__str__"},
    {"__truediv__"},
    {"_drv", Member::slot},
    {"_raw_paths", Member::slot},
    {"_root", Member::slot},
    {"_str", Member::slot},
    {"_tail_cached", Member::slot},
    {"_flavour", Member::module},
    {"_format_parsed_parts", Member::class_method},
    {"_from_parsed_parts"},
    {"_load_parts"},
    {"_parse_path", Member::class_method},
    {"_str_normcase", Member::property},
    {"_tail", Member::property},
    {"absolute"},
    {"cwd", Member::class_method},
    {"drive", Member::property},
    {"exists", Member::function, "(None, {'follow_symlinks': True})"},
    {"expanduser"},
    {"home", Member::class_method},
    {"is_absolute"},
    {"is_dir"},
    {"joinpath"},
    {"mkdir", Member::function, "((511, False, False), None)"},
    {"open", Member::function, "(('r', -1, None, None, None), None)"},
    {"parent", Member::property},
    {"read_text", Member::function, "((None, None), None)"},
    {"root", Member::property},
    {"stat", Member::function, "(None, {'follow_symlinks': True})"},
    {"with_segments"},
    {"write_text", Member::function, "((None, None, None), None)"},
};
inline constexpr Attribute of_pure_path[] = {{"__init__"}};  // called by Path.__init__
inline constexpr Attribute of_environment[] = {
    {"__contains__"}, {"__getattr__", Member::missing}, {"__getattribute__", Member::inherited}, {"__getitem__"}};
inline constexpr Attribute of_codec[] = {{"__getattribute__", Member::inherited}, {"_is_text_encoding", Member::yes}};
inline constexpr Attribute of_stat_result[] = {{"st_mode", Member::field}};
inline constexpr Attribute of_decoder[] = {
    {"__getattribute__", Member::inherited},
    {"__init__", Member::function, "(('strict',), None)"},
    {"_buffer_decode", Member::builtin},
    {"decode", Member::function, "((False,), None)"},
};
inline constexpr Attribute of_any_decoder[] = {{"__init__", Member::function, "(('strict',), None)"}};
inline constexpr Attribute of_encoder[] = {
    {"__getattribute__", Member::inherited},
    {"__init__", Member::function, "(('strict',), None)"},
    {"encode", Member::function, "((False,), None)"},
};

inline constexpr Class classes[] = {
    {"pathlib", "PosixPath", of_path},
    {"pathlib", "PurePath", of_pure_path},
    {"codecs", "IncrementalDecoder", of_any_decoder},
    {"codecs", "CodecInfo", of_codec},
    {"os", "_Environ", of_environment},
    {"os", "stat_result", of_stat_result},
    {"encodings.utf_8", "IncrementalDecoder", of_decoder},
    {"encodings.utf_8", "IncrementalEncoder", of_encoder},
};

}  // namespace tarnel::python::standard_library
