// Arrays: shared vectors of cells. Assignment shares, aclone copies.
#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

// How cscreara fills the elements; the numbers are those that compiled code passes.
enum ArrayMode : int {
  kAllNil = 0,
  kCopyValues = 1,   // copies of the values until a null pointer, the rest NIL
  kKeep = 2,         // existing elements stay, new ones from the values, the rest NIL
  kCloneOne = 3,     // every element a deep copy of the one value
  kCloneValues = 4,  // deep copies of the values until a null pointer, the rest NIL
};

// Elements that arrays in each other may have at most where a whole of them is made at once, by array() or a deep copy:
// about a gigabyte. A mistyped dimension shall be an error before it takes the memory of the machine.
constexpr std::int64_t kMaxMadeElements = std::int64_t{1} << 24;
constexpr int kMaxCloneDepth = 200;  // of arrays in each other
// Elements of a deep copy of a value with those of the arrays in it, counted no further than what can be copied.
std::int64_t elements_of_copy(const Var* value);
// Error 409 for more elements than may be made at once.
Var* too_many_elements();

// Makes `target` an array of `size` elements, or resizes the array or object it is. The values end
// at a null pointer; a null vector means none. Error 409 for a size outside 0 to 65535, and for copies with more
// than kMaxMadeElements. Looks at signals. An error
// handler or destructor that changes the array meanwhile has the last word: it is filled no further.
Var* cscreara(Var* target, std::int32_t size, int mode, Var* const* values = nullptr);
// The same with the values as a list: cscrearr(cell, 2, kCopyValues, {a, b}).
template <std::size_t N>
Var* cscrearr(Var* target, std::int32_t size, int mode, Var* const (&&values)[N]) {
  Var* list[N + 1] = {};
  std::copy(values, values + N, list);
  return cscreara(target, size, mode, list);
}
// DIMENSION: the size is a cell; error 201 when it is no number.
Var* cscredim(Var* target, Var* dimension, int mode, Var* value);

// The element cell itself. A bad index is error 409, a cell that is no array 404; the result is
// then the error value for csgetarr, NIL for csgetarv.
Var* csgetarr(Var* array, std::int32_t index);
Var* csgetarv(Var* array, Var* index);

// Elements of an array or object. REQUIRES: v is of type A or O.
inline std::int32_t element_count(const Var* v) {
  assert(v->type == 'A' || v->type == 'O');
  return static_cast<std::int32_t>(v->shared->count);
}
// Element i, from 1. REQUIRES: it is there.
inline Var* element(const Var* v, std::int32_t i) {
  assert(i >= 1 && i <= element_count(v));
  return v->shared->elements[i - 1];
}

#define ARRAY_BUILTINS(X)                                                                        \
  X("aadd", aadd, "aadd(aTarget, xValue) -> xValue: appends an element",                         \
    "eval({|a| aadd(a, 2), len(a)}, {1}) ==> 2")                                                 \
  X("aclone", aclone, "aclone(aSource) -> aCopy: deep copy of an array",                         \
    "aclone({1, {2}})[2][1] ==> 2")                                                              \
  X("adel", adel, "adel(aTarget, nPos) -> aTarget: removes an element; the last becomes NIL",    \
    "adel({1, 2, 3}, 1)[1] ==> 2")                                                               \
  X("aeval", aeval,                                                                              \
    "aeval(aSource, bBlock, [nStart], [nCount]) -> aSource: evaluates a block for each element", \
    "aeval({'a', 'b'}, {|x| qqout(x)}) ==> abARRAY")                                             \
  X("afill", afill,                                                                              \
    "afill(aTarget, xValue, [nStart], [nCount]) -> aTarget: gives elements one value",           \
    "afill({1, 2}, 0)[2] ==> 0")                                                                 \
  X("ains", ains, "ains(aTarget, nPos) -> aTarget: inserts NIL; the last element is lost",       \
    "ains({1, 2}, 1)[2] ==> 1")                                                                  \
  X("array", array, "array(nSize, ...) -> aNew: array of NIL, one dimension for each number",    \
    "len(array(2, 3)[1]) ==> 3")                                                                 \
  X("ascan", ascan,                                                                              \
    "ascan(aSource, xKey | bKey, [nStart], [nCount]) -> nPos: first match, 0 if none",           \
    "ascan({'a', 'b'}, 'b') ==> 2")                                                              \
  X("asize", asize, "asize(aTarget, nSize) -> aTarget: changes the number of elements",          \
    "len(asize({1, 2, 3}, 2)) ==> 2")

ARRAY_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kArrayBuiltins[] = {ARRAY_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kArraysModule{
    .name = "arrays", .subject = "Arrays", .functions = kArrayBuiltins};

}  // namespace tarnel
