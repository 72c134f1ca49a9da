// Values in full, for a person: what is in arrays and objects, and the text of blocks.
#pragma once

#include <string>

#include "core/var.h"
#include "db/text_set.h"

namespace tarnel {

// The value as the language would write it: texts between quotes, arrays with their elements, objects as their class
// and its instances, which run no code. What holds itself ends in "...", and so does what is nested too deeply.
std::string whole_value(const Var* value, const ValueTexts& texts);

}  // namespace tarnel
