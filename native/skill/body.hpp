// The includes and using-declarations that the module's native bodies share.
#pragma once

#include "python/objects.hpp"
#include "skill/functions.hpp"
#include "skill/names.hpp"

namespace tarnel::skill {

using python::CallContext;
using python::checked;
using python::compare;
using python::contains;
using python::equals;
using python::integer;
using python::is_list_of_texts;
using python::is_none;
using python::is_true;
using python::is_tuple_of_texts;
using python::Iteration;
using python::joined;
using python::none;
using python::PythonError;
using python::Ref;
using python::sorted;
using python::unpack_pair;

}  // namespace tarnel::skill
