// Addition, subtraction and the two concatenations.
#include <algorithm>

#include "core/memory.h"
#include "core/operator_cells.h"
#include "core/operators.h"
#include "core/settings.h"

namespace tarnel {
namespace {

constexpr const char* kOnlyStrings = "strings can only be concatenated to strings";

int literal_decimals(int decimals) {
  return decimals == -1 ? settings().decimals : decimals;
}
int greater_decimals(const Var* a, const Var* b) {
  return std::max(a->decimals, b->decimals);
}

// The double that lies in a cell's payload; for a logical that is not its value.
double payload_as_double(const Var* v) {
  return v->type == 'I' ? v->i : v->num;
}

// A buffer for `size` bytes, those of the cell's own where it grows, which are kept. A short text, and one that has grown
// long, get room to grow on, so that they aren't moved for each of their pieces. Null without memory.
char* buffer_for(const Var* cell, std::size_t size, bool grows) {
  constexpr std::size_t kLong = 256, kLittleRoom = 32, kMostRoom = 1 << 20;
  char* const own = grows ? cell->text : nullptr;
  if (grows && MEM_SIZE(own) >= size) return own;
  std::size_t room = grows ? std::min(size / 4, kMostRoom) : 0;
  if (size < kLong) room = grows ? std::max(size, kLittleRoom) : kLittleRoom;
  return static_cast<char*>(MEM_REALLOC(own, size + room, MemPurpose::kText, MemSeverity::kMay));
}

// Puts more behind the first `length` bytes of a cell whose buffer has the room.
Var* append(Var* cell, std::size_t length, std::string_view more) {
  std::memcpy(cell->text + length, more.data(), more.size());
  const std::size_t size = length + more.size() + 1;
  cell->text[size - 1] = 0;
  cell->length = static_cast<std::int32_t>(size);
  cell->decimals = 0;
  return cell;
}

// Makes `cell` the text left + right, where the left text may be the cell's own: its buffer grows.
Var* concatenate(Var* cell, std::string_view left, std::string_view right) {
  if (left.size() + right.size() > static_cast<std::size_t>(kMaxTextLength))
    return RT_ERROR(319, "text exceeds 2147483646 bytes");
  const std::size_t size = left.size() + right.size() + 1;
  const bool grows = cell->length != 0 && owns_payload(cell) && is_text(cell);
  const bool right_is_own = grows && right.data() == cell->text;
  char* const buffer = buffer_for(cell, size, grows);
  if (buffer == nullptr) return RT_ERROR(301, "to concatenate texts");
  if (!grows) std::memcpy(buffer, left.data(), left.size());
  cell->type = 'C';
  cell->sclass = upper_class(cell->sclass);
  cell->text = buffer;
  return append(cell, left.size(), {right_is_own ? buffer : right.data(), right.size()});
}

// The left text goes on in the left cell if that is the target; a right temporary never takes it.
Var* text_cell(Var* left, bool in_place) {
  return left_is_target(left, in_place, kAllVariables) ? left : NEW_TEMP();
}

// The usual case is a text that grows piece by piece in a variable.
Var* add_texts(Var* left, std::string_view right, bool in_place) {
  if (in_place && left->type == 'C' && left->sclass == 'N' && left->length > 0) {
    const std::size_t length = text_of(left).size(), size = length + right.size() + 1;
    if (size <= MEM_SIZE(left->text) && size <= std::size_t{kMaxTextLength})
      return append(left, length, right);
  }
  return finish(left, concatenate(text_cell(left, in_place), text_of(left), right), in_place);
}

// Moves the left text's trailing blanks behind the right text.
Var* subtract_texts(Var* left, Var* right, bool in_place) {
  const std::size_t length = text_of(left).size();
  const std::string_view l = text_of(left), r = text_of(right);
  const std::size_t kept = std::min(l.find_last_not_of(' ') + 1, length);
  if (left == right) {  // x -= x: the text is cut and appended at once
    Var* copy = TMP_TEXT(r);
    return is_error(copy) ? copy : subtract_texts(left, copy, in_place);
  }
  Var* cell = concatenate(text_cell(left, in_place), l, r);
  if (is_error(cell)) return cell;
  std::memmove(cell->text + kept, cell->text + length, r.size());
  std::memset(cell->text + kept + r.size(), ' ', length - kept);
  return finish(left, cell, in_place);
}

void notice_logicals(const Var* left, const Var* right, const char* text) {
  if (left->type == 'L' || right->type == 'L') RT_ERROR(902, text);
}

// number + number by the types of both: integers and logicals stay integer.
Var* add_numbers(Var* left, Var* right, bool in_place) {
  Var* cell = result_cell(left, right, in_place, kAllVariables);
  const auto whole = [](const Var* v) { return v->type == 'I' || v->type == 'L'; };
  if (whole(left) && whole(right)) return store_int(cell, wrap_add(left->i, right->i));
  const double sum = number_of(left) + number_of(right);
  return store_num(cell, sum, greater_decimals(left, right));
}

Var* subtract_from_number(Var* left, Var* right, bool in_place) {
  if (!is_number_or_logical(right))
    return RT_ERROR(201, "only numerics can be subtracted from numerics");
  Var* cell = result_cell(left, right, in_place, kAllVariables);
  if (left->type == 'I') {
    if (right->type == 'I') return store_int(cell, wrap_sub(left->i, right->i));
    return store_num(cell, left->i - right->num, greater_decimals(left, right));
  }
  return store_num(cell, left->num - number_of(right), greater_decimals(left, right));
}

Var* subtract_from_date(Var* left, Var* right, bool in_place) {
  if (right->type != 'D' && !is_number(right))
    return RT_ERROR(201, "only date or numerics can be subtracted from date");
  Var* cell = result_cell(left, right, in_place, kAllVariables);
  if (right->type == 'D')
    return store_num(cell, static_cast<double>(left->i) - right->i, settings().decimals);
  return store_date(cell, wrap_sub(left->i, integer_of(right)));
}

// literal + v or v - literal: `amount` is signed accordingly.
Var* shift_by_literal(Var* v, double amount, int decimals, bool in_place) {
  decimals = literal_decimals(decimals);
  Var* cell = result_cell(v, nullptr, in_place);
  const std::int32_t whole = truncate_to_int(amount);
  if (v->type == 'D') return store_date(cell, wrap_add(v->i, whole));
  if (v->type == 'I' && (decimals == 0 || cell->sclass == 'S'))
    return store_int(cell, wrap_add(v->i, whole));
  return store_num(cell, payload_as_double(v) + amount, std::max<int>(v->decimals, decimals));
}

}  // namespace

Var* detail::add(Var* left, Var* right, bool in_place) {
  if (is_text(left) && is_text(right)) return add_texts(left, text_of(right), in_place);
  notice_logicals(left, right, "addition on logicals");
  switch (left->type) {
    case 'C':
    case 'M':
      return RT_ERROR(201, kOnlyStrings);
    case 'D': {
      if (!is_number_or_logical(right)) return RT_ERROR(201, "date can only be added to numeric");
      const std::int32_t day = wrap_add(left->i, integer_of(right));
      return finish(left, store_date(result_cell(left, right, in_place, kAllVariables), day),
                    in_place);
    }
    case 'N':
    case 'F':
    case 'I':
    case 'L':
      if (right->type == 'D') {
        const std::int32_t day = wrap_add(right->i, integer_of(left));
        return finish(left, store_date(result_cell(left, right, in_place, kAllVariables), day),
                      in_place);
      }
      if (!is_number_or_logical(right))
        return RT_ERROR(201, "only dates/numerics can be added to numerics");
      return finish(left, add_numbers(left, right, in_place), in_place);
    default:
      return untouched(left);
  }
}

Var* csuaddc(Var* left, const char* right, bool in_place) {
  if (!is_text(left)) return RT_ERROR(201, kOnlyStrings);
  return add_texts(left, right, in_place);
}

Var* cscaddu(const char* left, Var* right) {
  if (!is_text(right)) return RT_ERROR(201, kOnlyStrings);
  return concatenate(NEW_TEMP(), left, text_of(right));
}

Var* csnaddu(double left, int decimals, Var* right, bool in_place) {
  if (!is_number(right) && right->type != 'D')
    return RT_ERROR(201, "only dates/numerics can be added to numerics");
  return finish(right, shift_by_literal(right, left, decimals, in_place), in_place);
}

Var* detail::subtract(Var* left, Var* right, bool in_place) {
  notice_logicals(left, right, "subtraction on logicals");
  switch (left->type) {
    case 'C':
    case 'M':
      if (!is_text(right)) return RT_ERROR(201, kOnlyStrings);
      return subtract_texts(left, right, in_place);
    case 'D':
      return finish(left, subtract_from_date(left, right, in_place), in_place);
    case 'N':
    case 'F':
    case 'I':
      return finish(left, subtract_from_number(left, right, in_place), in_place);
    default:
      return untouched(left);
  }
}

Var* csusubn(Var* left, double right, int decimals, bool in_place) {
  if (!is_number(left) && left->type != 'D')
    return RT_ERROR(202, "numerics can only be subtracted from dates or numerics");
  return finish(left, shift_by_literal(left, -right, decimals, in_place), in_place);
}

}  // namespace tarnel
