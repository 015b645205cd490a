// The definition of a function with a native body.
#pragma once

#include <initializer_list>

#include "python/call_context.hpp"

namespace tarnel::python {

// A parameter's default, evaluated once, when the function is created.
struct Default {
    enum class Kind { absent, none, no, empty_tuple, literal, global };
    Kind kind = Kind::absent;
    const char* text = nullptr;  // literal: the string; global: its name in the module's namespace
};
inline constexpr Default required{};
inline constexpr Default none_by_default{Default::Kind::none};
inline constexpr Default false_by_default{Default::Kind::no};
inline constexpr Default empty_tuple_by_default{Default::Kind::empty_tuple};
constexpr Default literal(const char* text) noexcept { return {Default::Kind::literal, text}; }
constexpr Default value_of(const char* global) noexcept { return {Default::Kind::global, global}; }

enum class Passing { positional_or_keyword, keyword_only };

struct Parameter {
    const char* name = nullptr;
    const char* annotation = nullptr;
    Default default_value = required;
    Passing passing = Passing::positional_or_keyword;
};

// The equivalent of a `def` statement.
struct Definition {
    const char* name = nullptr;
    std::initializer_list<Parameter> parameters;  // at most max_parameters, keyword-only ones last
    const char* returns = nullptr;                // the return annotation
    const char* doc = nullptr;                    // UTF-8
    Body body = nullptr;
};

}  // namespace tarnel::python
