// The interface for functions that don't want to work on cells: a function stores its arguments
// once and then asks for parameters by number (from 1), following array indices where some are
// given.
//
//   Var* area_of_circle(std::int32_t argc, Var** argv) {
//     const ExtendCall call(argc, argv);
//     return RET_NUM(PAR_NUM(1) * PAR_NUM(1) * 3.14159265, 4);
//   }
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>

#include "core/var.h"

namespace tarnel {

// Type mask of a parameter. A memo is a character with one bit more; NIL is 0.
enum ParameterType : std::int32_t {
  kParNil = 0,
  kParCharacter = 1,
  kParNumeric = 2,
  kParLogical = 4,
  kParDate = 8,
  kParByReference = 32,
  kParMemo = 65,
  kParArray = 512,
  kParWindow = 1024,
  kParObject = 2048,
  kParBlock = 4096,
  kParMissing = 65535,  // there is no such parameter or element
};

using Indices = std::initializer_list<std::int32_t>;  // from 1; -1 ends the list early

// Makes the arguments current until the end of the scope.
class ExtendCall {
 public:
  ExtendCall(std::int32_t argc, Var** argv);
  ~ExtendCall();
  ExtendCall(const ExtendCall&) = delete;
  ExtendCall& operator=(const ExtendCall&) = delete;

 private:
  std::int32_t saved_argc_;
  Var** saved_argv_;
};

// The type mask of parameter n; the number of arguments for n = 0.
std::int32_t PARINFO(std::int32_t n);
// Is there a parameter n of that kind? A memo is a character too.
inline bool is_parameter(std::int32_t n, ParameterType kind) {
  const std::int32_t mask = PARINFO(n);
  return mask != kParMissing && (mask & kind) == kind;
}
// The type mask of an element; the number of elements of an array when the last index is 0.
std::int32_t PARINFA(std::int32_t n, Indices indices);

// The text of a character or memo cell, NUL-terminated and owned by the cell. What is no text gives
// one of three empty texts, told apart by their address.
const char* PAR_TEXT(std::int32_t n, Indices indices = {});
const char* no_parameter_text();                             // the parameter does not exist
const char* no_element_text();                               // the index is outside the array
const char* no_text();                                       // the cell has another type
std::int32_t PAR_LEN(std::int32_t n, Indices indices = {});  // bytes of the text, else 0
double PAR_NUM(std::int32_t n, Indices indices = {});        // 0 for what is no number or logical
std::int32_t PAR_INT(std::int32_t n, Indices indices = {});  // the number as 32 bits
bool PAR_LOG(std::int32_t n, Indices indices = {});
std::int32_t PAR_DATE(std::int32_t n, Indices indices = {});

// Results, as temporaries.
inline Var* RET_TEXT(std::string_view text) {
  return TMP_TEXT(text);
}
inline Var* RET_NUM(double value, int decimals = -1) {
  return TMP_NUM(value, decimals);
}
inline Var* RET_INT(std::int32_t value) {
  return TMP_INT(value);
}
inline Var* RET_LOG(bool value) {
  return TMP_LOG(value);
}
inline Var* RET_DATE(std::int32_t day) {
  return TMP_DATE(day);
}
inline Var* RET_NIL() {
  return nil_value();
}

}  // namespace tarnel
