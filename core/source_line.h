// A position in the source, taken by default arguments at the call (std::source_location, which one
// of our compilers lacks).
#pragma once

#include <cstdint>

namespace tarnel {

struct SourceLine {
  const char* file;
  std::int32_t line;

  static constexpr SourceLine current(const char* file = __builtin_FILE(),
                                      int line = __builtin_LINE()) {
    return {file, line};
  }
};

}  // namespace tarnel
