// What every native body of the module is written with.
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
using python::is_none;
using python::is_true;
using python::Iteration;
using python::none;
using python::PythonError;
using python::Ref;
using python::sorted;
using python::unpack_pair;

}  // namespace tarnel::skill
