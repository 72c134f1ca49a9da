// What a page gets of its request: the environment and the form as arrays of pairs.
#pragma once

#include <cstdint>

#include "core/var.h"

namespace tarnel {

// {name, value} for each entry of the environment, and three pairs of our own behind them. A temporary.
Var* make_environment_array();

// Do the values of a form go to the log?
enum class FormLog : bool { kNothing, kFields };
// {name, value} for each field of the body on standard input, of so many bytes, split at the first equals sign of the
// decoded text. A temporary.
Var* make_form_array(std::int32_t length, FormLog log);

}  // namespace tarnel
