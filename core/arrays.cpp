// Creation, resizing and access of arrays.
#include "core/arrays.h"

#include <algorithm>
#include <cassert>

#include "core/errors.h"
#include "core/memory.h"
#include "core/signals.h"
#include "core/stacks.h"

namespace tarnel {
namespace {

Var* new_element() {
  return NEW_VAR('N', 'U');
}

// Slots of a body's vector; one behind the last element is always there.
std::size_t room_of(const SharedHeader* body) {
  return MEM_SIZE(body->elements) / sizeof(Var*);
}

// An array that grows by one gets room for half as many more, so that a chain of appends does not
// copy the vector each time.
void resize_vector(SharedHeader* header, std::int32_t size) {
  const std::size_t needed = static_cast<std::size_t>(size) + 1;
  const std::size_t room = room_of(header);
  const bool appends = static_cast<std::int64_t>(header->count) + 1 == size;
  if (needed > room || needed < room / 4)
    header->elements = static_cast<Var**>(
        MEM_REALLOC(header->elements, (needed + (appends ? needed / 2 : 0)) * sizeof(Var*),
                    MemPurpose::kArray));
  header->elements[size] = nullptr;  // lets the vector stand as a list of values
}

// Releases elements from the highest down, leaving `kept`. An element is taken out of the vector
// before it dies, since a destructor may look at the array.
void drop_elements(SharedHeader* header, std::int32_t kept) {
  while (static_cast<std::int32_t>(header->count) > kept) {
    Var* last = header->elements[--header->count];
    header->elements[header->count] = nullptr;
    DEL_VAR(last);
  }
}

// Element number i of the values, or null when they have ended.
Var* value_for(Var* const* values, std::int32_t i, int mode, bool& ended) {
  if (ended || values == nullptr || mode == kAllNil) return nullptr;
  Var* value = mode == kCloneOne ? values[0] : values[i];
  if (value == nullptr) ended = true;
  return value;
}

// Appends elements up to `size`, unless someone else changes their number or the room for them.
void fill(SharedHeader* body, std::int32_t size, int mode, Var* const* values) {
  const bool clones = mode == kCloneOne || mode == kCloneValues;
  bool ended = mode < kAllNil || mode > kCloneValues;
  auto filled = static_cast<std::int32_t>(body->count);
  for (std::int32_t i = 0; filled < size; ++i) {
    const auto index = static_cast<std::size_t>(filled);
    if (index != body->count || index + 1 >= room_of(body)) return;
    Var* fresh = new_element();
    body->elements[filled] = fresh;
    body->count = static_cast<std::uint32_t>(++filled);
    Var* value = value_for(values, i, mode, ended);
    if (value == nullptr) continue;
    const CellHold kept(fresh);
    look_at_signals();
    if (clones)
      CLONE_VAR(fresh, value);
    else
      CPY_VAR(fresh, value);
  }
}

bool is_array(const Var* array, const char* complaint) {
  if (array == nullptr)
    RT_INTERNAL(407, "DGET_ARR: null array pointer");
  else if (array->type != 'A')
    RT_ERROR(404, format_text("array required, %s '%c'", complaint, array->type));
  else
    return true;
  return false;
}

// REQUIRES: array is an array.
Var* element_or(Var* array, std::int32_t index, Var* failure) {
  assert(array->type == 'A');
  if (index < 1 || index > element_count(array)) {
    RT_INTERNAL(409,
                format_text("array index %d not in limits (1..%d) ", index, element_count(array)));
    return failure;
  }
  return element(array, index);
}

void count_copy(const Var* value, int depth, std::int64_t& count) {
  if (value->type != 'A' || depth > kMaxCloneDepth) return;
  for (std::int32_t i = 1; i <= element_count(value) && count <= kMaxMadeElements; ++i) {
    ++count;
    count_copy(element(value, i), depth + 1, count);
  }
}

}  // namespace

std::int64_t elements_of_copy(const Var* value) {
  std::int64_t count = 0;
  count_copy(value, 0, count);
  return count;
}

Var* too_many_elements() {
  return RT_INTERNAL(409, format_text("dimension overflow, more than %d elements in all",
                                      static_cast<int>(kMaxMadeElements)));
}

Var* cscreara(Var* target, std::int32_t size, int mode, Var* const* values) {
  if (size < 0 || size > kMaxElements)
    return RT_INTERNAL(409, format_text("dimension overflow, requested array size=%d", size));
  if (mode == kCloneOne && values != nullptr && values[0] != nullptr &&
      size * (1 + elements_of_copy(values[0])) > kMaxMadeElements)
    return too_many_elements();
  if (target->type != 'O' && target->type != 'A') {
    target = CLR_VAR(target, 'A');
    if (is_error(target)) return target;
    target->shared = new_shared(size);
    target->type = 'A';
    target->length = 0;
    target->decimals = 0;
  }
  const BodyHold body(target->shared);
  const bool keeps = mode < kAllNil || mode == kKeep || mode > kCloneValues;
  const auto old_count = static_cast<std::int32_t>(body->count);
  drop_elements(body.get(), keeps ? std::min(size, old_count) : 0);
  resize_vector(body.get(), size);
  fill(body.get(), size, mode, values);
  return target;
}

Var* cscredim(Var* target, Var* dimension, int mode, Var* value) {
  if (!is_number_or_logical(dimension)) return RT_ERROR(201, "array dimension not numeric");
  return cscrearr(target, integer_of(dimension), mode, {value});
}

Var* csgetarr(Var* array, std::int32_t index) {
  if (!is_array(array, "received var type")) return error_value();
  return element_or(array, index, error_value());
}

Var* csgetarv(Var* array, Var* index) {
  if (!is_array(array, "cannot be")) return nil_value();
  if (index == nullptr) {
    RT_INTERNAL(407, "DGET_ARR: null array index pointer");
    return nil_value();
  }
  if (!is_number_or_logical(index)) {
    RT_ERROR(404, format_text("array index required, cannot be '%c'", index->type));
    return nil_value();
  }
  return element_or(array, integer_of(index), nil_value());
}

}  // namespace tarnel
