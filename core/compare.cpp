// Comparisons, containment and the comparison of texts.
#include <algorithm>

#include "core/errors.h"
#include "core/operators.h"
#include "core/settings.h"
#include "core/switched.h"

namespace tarnel {
namespace {

const unsigned char* weights = nullptr;

using namespace detail;  // the relations

struct RelationTexts {
  const char* mismatch;   // two types that can't be compared
  const char* undefined;  // an undefined variable; null for the ordering operators
};
constexpr RelationTexts kTexts[] = {
    {"in equals '=' operation", "undefined variable in '=' operation"},
    {"in exactly equals '==' operation", "undefined variable in '==' operation"},
    {"in not equals '#' operation", "undefined variable in '!=' operation"},
    {"in greater than '>' operation", nullptr},
    {"in less than '<' operation", nullptr},
    {"in greater than or equal '>=' operation", nullptr},
    {"in less than or equal '<=' operation", nullptr},
};

// For arrays, objects, windows and blocks > and < mean "another one", >= and <= "the same".
bool identity_holds(Relation relation, bool same) {
  return same == (relation == kEqual || relation == kExactlyEqual || relation == kGreaterEqual ||
                  relation == kLessEqual);
}

bool texts_hold(Relation relation, std::string_view a, std::string_view b) {
  const auto la = static_cast<std::int32_t>(a.size()), lb = static_cast<std::int32_t>(b.size());
  if (relation != kExactlyEqual) return holds(relation, nastrcmp(a.data(), b.data(), la, lb), 0);
  if (la != lb) return false;
  const Switched<bool> exact(settings().exact, true);
  return nastrcmp(a.data(), b.data(), la, lb) == 0;
}

bool numbers_hold(Relation relation, const Var* left, const Var* right) {
  if (left->type == 'L') return holds<int>(relation, left->i, truth_of(right) ? 1 : 0);
  return holds(relation, number_of(left), number_of(right));
}

bool comparable(const Var* left, const Var* right) {
  return left->type == right->type || (is_text(left) && is_text(right));
}

// Blocks of one piece of code are the same, whatever locals they have. Those that an evaluator runs share its
// function, and their first detached local is where their code stands.
bool same_code(const Var* left, const Var* right) {
  if (left->function != right->function) return false;
  const auto code = [](const Var* block) -> const void* {
    const SharedHeader* locals = block->shared;
    if (locals == nullptr || locals->count == 0 || locals->elements[0]->type != '?') return nullptr;
    return locals->elements[0]->raw;
  };
  return code(left) == code(right);
}

// A literal text beside a cell. `failure` is the text of a mismatch, which is not always that of
// the relation. Null: the cell is a text and the caller compares.
Var* refuse_text_operand(Relation relation, const Var* v, const char* failure) {
  if (relation != kGreater && is_nil(v) && v->sclass != 'U') return logical(relation == kNotEqual);
  return is_text(v) ? nullptr : RT_ERROR(201, failure);
}

Var* compare_literal_right(Relation relation, Var* left, const char* right) {
  Var* refused = refuse_text_operand(relation, left, kTexts[relation].mismatch);
  return refused != nullptr ? refused : logical(texts_hold(relation, text_of(left), right));
}

Var* compare_literal_left(Relation relation, const char* left, Var* right, const char* failure) {
  Var* refused = refuse_text_operand(relation, right, failure);
  return refused != nullptr ? refused : logical(texts_hold(relation, left, text_of(right)));
}

// A literal number beside a cell: an integer cell cuts the literal, any other is compared by the
// double that its payload holds.
Var* compare_number(Relation relation, double left, Var* right, const char* failure) {
  const bool equality = relation == kEqual || relation == kNotEqual;
  if (equality && is_nil(right) && right->sclass != 'U') return logical(relation == kNotEqual);
  if (!is_number_or_logical(right)) return RT_ERROR(201, failure);
  if (right->type == 'I') return logical(holds(relation, truncate_to_int(left), right->i));
  return logical(holds(relation, left, right->num));
}

int weight(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return weights != nullptr ? weights[byte] : byte;
}

// What the longer text's rest counts for when SET EXACT is on: nothing if it is all blanks or
// begins with one, else the weight of its first character.
int exact_tail(const char* rest, std::int32_t length) {
  const bool blank = std::all_of(rest, rest + length, [](char c) { return weight(c) == ' '; });
  const int first = blank ? 0 : weight(rest[0]);
  return first == ' ' ? 0 : first;
}

int compare_bytes(const char* a, const char* b, std::int32_t n) {
  if (weights == nullptr) return std::memcmp(a, b, static_cast<std::size_t>(n));
  for (std::int32_t i = 0; i < n; ++i)
    if (const int difference = weight(a[i]) - weight(b[i]); difference != 0) return difference;
  return 0;
}

Var* contains(std::string_view part, std::string_view whole) {
  return logical(!part.empty() && whole.find(part) != std::string_view::npos);
}

constexpr const char* kOnlyCharacter = "only character can do subset '$' on character";

}  // namespace

void set_collation(const unsigned char* table) {
  weights = table;
}
const unsigned char* collation() {
  return weights;
}

int nastrcmp(const char* a, const char* b, std::int32_t la, std::int32_t lb) {
  int tail = 0;
  std::int32_t shared = std::min(la, lb);
  if (!settings().exact) {
    if (lb == 0) return 0;
    if (lb > la) tail = weight(b[la]) == 0 ? -1 : -weight(b[la]);
    // An empty left text still stands with its end against the first character.
    if (la == 0) return weight(0) != weight(b[0]) ? weight(0) - weight(b[0]) : tail;
  } else {
    if (la < lb) tail = -exact_tail(b + la, lb - la);
    if (la > lb) tail = exact_tail(a + lb, la - lb);
    if (shared == 0) return tail;
  }
  const int difference = compare_bytes(a, b, shared);
  return difference != 0 ? difference : tail;
}

Var* detail::compare(Relation relation, Var* left, Var* right) {
  if (is_number_or_logical(left) && is_number_or_logical(right))
    return logical(numbers_hold(relation, left, right));
  const RelationTexts& texts = kTexts[relation];
  if (texts.undefined != nullptr) {
    if (left->sclass == 'U' || right->sclass == 'U') {
      RT_ERROR(901, texts.undefined);
      return false_value();
    }
    if (is_nil(left) || is_nil(right))
      return logical((left->type == right->type) == (relation != kNotEqual));
  }
  if (!comparable(left, right)) return RT_ERROR(201, texts.mismatch);
  switch (left->type) {
    case 'A':
    case 'O':
    case 'S':
    case 'b':
      return logical(identity_holds(relation, left->raw == right->raw));
    case 'B':
      return logical(identity_holds(relation, same_code(left, right)));
    case 'C':
    case 'M':
      return logical(texts_hold(relation, text_of(left), text_of(right)));
    case 'D':
      return logical(holds(relation, left->i, right->i));
    default:
      return error_value();
  }
}

Var* csuequc(Var* left, const char* right) {
  return compare_literal_right(kEqual, left, right);
}
Var* csuneqc(Var* left, const char* right) {
  return compare_literal_right(kNotEqual, left, right);
}
Var* cscequu(const char* left, Var* right) {
  return compare_literal_left(kEqual, left, right, kTexts[kEqual].mismatch);
}
Var* csceequu(const char* left, Var* right) {
  return compare_literal_left(kExactlyEqual, left, right, kTexts[kExactlyEqual].mismatch);
}
// The failure texts of these forms are not those of their relations; programs know them so.
Var* cscgtu(const char* left, Var* right) {
  return compare_literal_left(kGreater, left, right, kTexts[kLess].mismatch);
}
Var* csnequu(double left, Var* right) {
  return compare_number(kEqual, left, right, kTexts[kEqual].mismatch);
}
Var* csnequ(double left, Var* right) {
  return compare_number(kNotEqual, left, right, kTexts[kNotEqual].mismatch);
}
Var* csngtu(double left, Var* right) {
  return compare_number(kGreater, left, right, kTexts[kLess].mismatch);
}
Var* csnltu(double left, Var* right) {
  return compare_number(kLess, left, right, kTexts[kLess].mismatch);
}
Var* csngequ(double left, Var* right) {
  return compare_number(kGreaterEqual, left, right, kTexts[kLessEqual].mismatch);
}
Var* csnlequ(double left, Var* right) {
  return compare_number(kLessEqual, left, right, kTexts[kLessEqual].mismatch);
}

Var* csuinu(Var* left, Var* right) {
  if (!is_text(left) || !is_text(right)) return RT_ERROR(201, kOnlyCharacter);
  return contains(text_of(left), text_of(right));
}

Var* csucontc(Var* left, const char* right) {
  if (!is_text(left)) return RT_ERROR(201, kOnlyCharacter);
  return contains(text_of(left), right);
}

}  // namespace tarnel
