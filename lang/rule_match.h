// Does a statement, or a part of it, have the pattern of a rule?
#pragma once

#include "lang/rewriting.h"
#include "lang/rules.h"

namespace tarnel {

struct Match {
  std::size_t length = 0;    // in tokens
  std::size_t furthest = 0;  // the token up to which the pattern, or a clause of it, went
  // For each marker what matched it, once for each time that its clause did; an empty one where the clause did
  // without it.
  std::vector<std::vector<std::span<const SourceToken>>> captures;
};

// Matches from the first token on; a command all tokens. False also when it took too long, which is told.
[[nodiscard]] bool match_rule(const Rule& rule, std::span<const SourceToken> tokens, Match& match,
                              Rewriting& rewriting);

}  // namespace tarnel
