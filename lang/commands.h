// The commands of the language, as rules.
#pragma once

#include <string_view>

#include "lang/rules.h"

namespace tarnel {

// The file commands.ch.
std::string_view commands_text();
// Its rules, each read when a statement may begin with its word.
const RuleBook& command_rules();

}  // namespace tarnel
