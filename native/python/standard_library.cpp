#include "python/standard_library.hpp"

#include "python/objects.hpp"

namespace tarnel::python {

bool StandardLibrary::paths_hold() {
    if (!files_.hold()) return false;
    if (environment_.get() == nullptr) find_environment();
    return environment_.get() != nullptr;
}

// `os.environ` stores the encoded variables in a dictionary attribute, next to its encode and decode functions.
void StandardLibrary::find_environment() {
    const Ref environ = files_.original("os", "environ");
    const Ref attributes = attribute(environ, "__dict__");
    Ref variables = item_if_any(attributes, "_data");
    if (variables.get() == nullptr || !PyDict_CheckExact(variables.get())) return;
    for (const char* name : {"_data", "decodevalue", "encodekey"}) files_.add(attributes, name);
    path_type_ = files_.original("pathlib", "Path");
    posix_path_type_ = files_.original("pathlib", "PosixPath");
    getcwd_ = files_.original("os", "getcwd");
    home_key_ = checked(PyBytes_FromStringAndSize("HOME", 4));
    environment_ = std::move(variables);
}

Ref StandardLibrary::home_variable() const {
    Ref value = item_if_any(environment_, home_key_);
    if (value.get() != nullptr && !PyBytes_CheckExact(value.get())) return {};
    return value;
}

// The codec registry is not a dictionary that can be watched, so the codec is looked up each time.
bool StandardLibrary::codec_holds() {
    if (codec_.get() == nullptr) find_codec();
    if (codec_.get() == nullptr || !files_.still_hold()) return false;
    const Ref now = call(look_up_codec_, {codec_name_});
    return now.get() == codec_.get();
}

void StandardLibrary::find_codec() {
    look_up_codec_ = files_.original("codecs", "lookup");
    codec_name_ = interned("utf-8");
    Ref codec = call(look_up_codec_, {codec_name_});
    const Ref attributes = attribute(codec, "__dict__");
    const Ref decoder = item_if_any(attributes, "incrementaldecoder");
    const Ref encoder = item_if_any(attributes, "incrementalencoder");
    if (decoder.get() != files_.original_class("encodings.utf_8", "IncrementalDecoder").get() ||
        encoder.get() != files_.original_class("encodings.utf_8", "IncrementalEncoder").get())
        return;
    files_.add(attributes, "incrementaldecoder");
    files_.add(attributes, "incrementalencoder");
    codec_ = std::move(codec);
}

}  // namespace tarnel::python
