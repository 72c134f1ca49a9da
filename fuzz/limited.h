// Functions that fuzz targets may call without an end or a gigabyte.
#pragma once

#include <cstdint>

#include "core/var.h"

namespace tarnel {

constexpr std::int32_t kMost = 100;  // bytes or elements that a function may be asked for

inline Var* nothing(std::int32_t, Var**) {
  return nil_value();
}

// A function that isn't called when one of its numbers is large or a text of it has grown.
template <Callable function>
Var* limited(std::int32_t argc, Var** argv) {
  for (std::int32_t i = 0; i < argc; ++i) {
    if (argv[i] == nullptr) continue;
    if (is_number_or_logical(argv[i]) && integer_of(argv[i]) > kMost) return nil_value();
    if (is_text(argv[i]) && argv[i]->length > kMost * kMost) return nil_value();
  }
  return function(argc, argv);
}

}  // namespace tarnel
