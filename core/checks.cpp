#include "core/checks.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "core/frame.h"
#include "core/memory.h"
#include "core/stacks.h"
#include "core/symbols.h"

namespace tarnel {
namespace {

constexpr std::uint32_t kMostElements = 20;  // of an array, that one check looks at
constexpr const char* kTypes = "CMNFILDAOBbS?UE";
constexpr const char* kClasses = "TtNnSsVvFfUCLlMmPp";

void check_body(const SharedHeader* body, int depth) {
  check(body != nullptr && body->refs > 0, "a body has references");
  check(body->count <= static_cast<std::uint32_t>(kMaxElements), "a body has its bounds");
  check(MEM_CHECK(body->elements), "a vector keeps to its room");
  check(MEM_SIZE(body->elements) >= (body->count + 1) * sizeof(Var*),
        "a vector holds its elements");
  if (depth == 0) return;
  for (std::uint32_t i = 0; i < std::min(body->count, kMostElements); ++i)
    check_cell(body->elements[i], depth - 1);
}

void check_text(const Var* cell) {
  check(cell->length >= 1 && cell->text != nullptr, "a text has room for its end");
  // A field, or a cell that shows it, has its text in the record, where another field begins behind it.
  if (cell->sclass == 'F' || !owns_payload(cell)) return;
  check(cell->text[cell->length - 1] == 0, "a text ends in a NUL");
  if (cell->sclass == 'C') return;
  check(MEM_CHECK(cell->text), "a text keeps to its room");
  check(MEM_SIZE(cell->text) >= static_cast<std::size_t>(cell->length), "a text lies in its room");
}

}  // namespace

void check_failed(const char* what) {
  std::fprintf(stderr, "CHECK FAILED: %s, in %s line %d\n", what, current_frame()->proc,
               current_frame()->line);
  std::abort();
}

void check_cell(const Var* cell, int depth) {
  check(cell != nullptr, "a cell is there");
  check(letter_in(cell->type, kTypes), "a cell has a type");
  check(letter_in(cell->sclass, kClasses), "a cell has a class");
  check(cell->refs > 0, "a cell has references");
  switch (cell->type) {
    case 'C':
    case 'M':
      return check_text(cell);
    case 'A':
    case 'O':
    case 'B':
    case 'b':
      return check_body(cell->shared, depth);
    default:
      return;
  }
}

void check_runtime() {
  const Frame* f = current_frame();
  check(f->temp_entry <= f->temp_mark && f->temp_mark <= temp_top(),
        "temporaries lie over their mark");
  check(f->var_entry <= varstack_top(), "bindings lie over their mark");
  check(f->prev == nullptr || activation_level() == f->saved_level + 1, "a frame is one level");
  for (std::int32_t i = f->temp_entry; i < temp_top(); ++i)
    if (const Var* cell = temp_at(i); cell != nullptr) check_cell(cell);
  for (std::int32_t i = std::max(f->var_entry + 1, 0); i <= varstack_top(); ++i) {
    const VarStackEntry& entry = varstack_entry(i);
    check(entry.sym > 0 && entry.sym < symbol_count(), "a binding has a name");
    check_cell(entry.shadowed);
    check_cell(symbol_var(entry.sym));
  }
  if (f->result != nullptr) check_cell(f->result);
}

}  // namespace tarnel
