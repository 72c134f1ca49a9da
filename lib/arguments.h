// Small helpers that the builtins of the library share.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/text.h"
#include "core/var.h"

namespace tarnel {

// Sets of type letters for arg_is.
inline constexpr const char kText[] = "CM", kNumber[] = "NFI", kNumeric[] = "INFL";

// The type letter of argument i for a message; 'U' when there is no such argument.
inline char type_letter(std::int32_t argc, Var* const* argv, std::int32_t i) {
  return i < argc && argv[i] != nullptr ? argv[i]->type : 'U';
}

// Argument i when it is a number or logical, otherwise `usual`.
inline std::int32_t int_argument(std::int32_t argc, Var* const* argv, std::int32_t i,
                                 std::int32_t usual) {
  return arg_is(argc, argv, i, kNumeric) ? integer_of(argv[i]) : usual;
}

// Argument i when it is a text, otherwise `usual`.
inline std::string_view text_argument(std::int32_t argc, Var* const* argv, std::int32_t i,
                                      std::string_view usual = "") {
  return arg_is(argc, argv, i, kText) ? text_of(argv[i]) : usual;
}

}  // namespace tarnel
