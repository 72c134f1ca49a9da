// How many records of tables this process has changed or appended, for a program that tells a person. Packs, zaps and
// other operations that write a table anew don't count.
#pragma once

#include <cstdint>

namespace tarnel {

inline std::int64_t& written_records() {
  static std::int64_t count = 0;
  return count;
}

}  // namespace tarnel
