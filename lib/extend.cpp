#include "lib/extend.h"

#include "core/arrays.h"
#include "core/memory.h"

namespace tarnel {
namespace {

constexpr int kMaxDepth = 10;

struct ExtendState {
  std::int32_t argc = 0;
  Var** argv = nullptr;
} state;

constexpr char kNoParameter[1] = "", kNoElement[1] = "", kNoText[1] = "";

struct TypeMask {
  const char* letters;
  std::int32_t mask;
};
constexpr TypeMask kMasks[] = {
    {"C", kParCharacter}, {"NFI", kParNumeric}, {"L", kParLogical},
    {"D", kParDate},      {"M", kParMemo},      {"A", kParArray},
    {"S", kParWindow},    {"Ou", kParObject},   {"Bb", kParBlock},
};

std::int32_t mask_of(const Var* cell) {
  std::int32_t mask = kParNil;
  for (const TypeMask& row : kMasks)
    if (letter_in(cell->type, row.letters)) mask = row.mask;
  if (letter_in(cell->sclass, "SsPpMmCcNnLl")) mask |= kParByReference;
  return mask;
}

Var* parameter(std::int32_t n) {
  return n < 1 || n > state.argc ? nullptr : state.argv[n - 1];
}

// Where a walk ended. `cell` is null when the parameter or an element does not exist.
struct Reached {
  Var* cell;
  bool wants_count;  // the last index was 0
};

Reached walk(std::int32_t n, Indices indices) {
  Var* cell = parameter(n);
  int depth = 0;
  for (const std::int32_t index : indices) {
    if (cell == nullptr || index == -1 || !letter_in(cell->type, "AO")) break;
    if (depth++ == kMaxDepth) break;
    if (index == 0) return {cell, true};
    const bool inside = index > 0 && index <= element_count(cell);
    cell = inside ? element(cell, index) : nullptr;
  }
  return {cell, false};
}

// A text that lies elsewhere is copied into the cell, so that what is handed out lives as long as
// it. The texts of fields belong to their record.
void own_text(Var* cell) {
  if (owns_payload(cell) || cell->sclass == 'f') return;
  const auto text = text_of(cell);
  auto* copy = static_cast<char*>(MEM_ALLOC(text.size() + 1, MemPurpose::kText));
  std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = 0;
  cell->text = copy;
  cell->sclass = upper_class(cell->sclass);
}

Var* typed(std::int32_t n, Indices indices, const char* types) {
  Var* cell = walk(n, indices).cell;
  return cell != nullptr && letter_in(cell->type, types) ? cell : nullptr;
}

}  // namespace

ExtendCall::ExtendCall(std::int32_t argc, Var** argv)
    : saved_argc_(state.argc), saved_argv_(state.argv) {
  state = {argc, argv};
}

ExtendCall::~ExtendCall() {
  state = {saved_argc_, saved_argv_};
}

std::int32_t PARINFO(std::int32_t n) {
  return n == 0 ? state.argc : PARINFA(n, {});
}

std::int32_t PARINFA(std::int32_t n, Indices indices) {
  const Reached reached = walk(n, indices);
  if (reached.cell == nullptr) return kParMissing;
  return reached.wants_count ? element_count(reached.cell) : mask_of(reached.cell);
}

const char* no_parameter_text() {
  return kNoParameter;
}
const char* no_element_text() {
  return kNoElement;
}
const char* no_text() {
  return kNoText;
}

const char* PAR_TEXT(std::int32_t n, Indices indices) {
  if (parameter(n) == nullptr) return kNoParameter;
  Var* cell = walk(n, indices).cell;
  if (cell == nullptr) return kNoElement;
  if (!is_text(cell)) return kNoText;
  if (cell->type == 'C') own_text(cell);
  return cell->text;
}

std::int32_t PAR_LEN(std::int32_t n, Indices indices) {
  const Var* cell = typed(n, indices, "CM");
  return cell != nullptr ? static_cast<std::int32_t>(text_of(cell).size()) : 0;
}

double PAR_NUM(std::int32_t n, Indices indices) {
  const Var* cell = typed(n, indices, "NFIL");
  return cell != nullptr ? number_of(cell) : 0;
}

std::int32_t PAR_INT(std::int32_t n, Indices indices) {
  const Var* cell = typed(n, indices, "NFIL");
  return cell != nullptr ? integer_of(cell) : 0;
}

bool PAR_LOG(std::int32_t n, Indices indices) {
  const Var* cell = typed(n, indices, "NFIL");
  return cell != nullptr && truth_of(cell);
}

std::int32_t PAR_DATE(std::int32_t n, Indices indices) {
  const Var* cell = typed(n, indices, "D");
  return cell != nullptr ? cell->i : 0;
}

}  // namespace tarnel
