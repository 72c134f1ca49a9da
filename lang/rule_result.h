// What a rule makes of the statement that it matched.
#pragma once

#include "lang/rule_match.h"

namespace tarnel {

// Appends the result to `made`. The rule's own words stand at `where`. False when it failed, which is told.
[[nodiscard]] bool make_result(const Rule& rule, const Match& match, Place where,
                               SourceTokens& made, Rewriting& rewriting);

}  // namespace tarnel
