#include "db/field_cells.h"

#include <algorithm>

#include "core/memory.h"
#include "core/symbols.h"

namespace tarnel {

Var* new_field_cell(const dbf::Field& field, std::int32_t number, FieldOwner* owner) {
  Var* cell = NEW_VAR('f', letter_in(field.type, "CDFLMN") ? field.type : 'U');
  cell->bits = cell->bits2 = 0;
  cell->name = number;
  cell->owner = owner;
  if (cell->type == 'C')
    cell->length = field.length + 1;
  else if (cell->type != 'M' && cell->type != 'U')
    cell->length = dbf::stored_length(field.type, field.length);
  if (is_number(cell)) cell->decimals = field.decimals;
  return cell;
}

void retire_field_cell(Var* cell) {
  if (cell->refs > 1) {
    cell->type = 'U';
    cell->sclass = 'n';
    cell->level = 0;
    cell->name = -1;
  }
  DEL_VAR(cell);
}

void list_field_cell(std::int32_t sym, Var* cell) {
  note_names_changed();
  SharedHeader*& fields = symbol_at(sym).fields;
  if (fields == nullptr) fields = new_shared();
  const std::size_t count = fields->count;
  fields->elements = static_cast<Var**>(
      MEM_REALLOC(fields->elements, (count + 2) * sizeof(Var*), MemPurpose::kArray));
  ++cell->refs;
  fields->elements[count] = cell;
  fields->elements[count + 1] = nullptr;
  ++fields->count;
}

void unlist_field_cell(std::int32_t sym, Var* cell) {
  SharedHeader*& fields = symbol_at(sym).fields;
  if (fields == nullptr) return;
  Var** const end = fields->elements + fields->count;
  Var** const at = std::find(fields->elements, end, cell);
  if (at == end) return;
  note_names_changed();
  std::copy(at + 1, end, at);
  *(end - 1) = nullptr;
  DEL_VAR(cell);
  if (--fields->count > 0) return;
  release_shared(fields);
  fields = nullptr;
}

}  // namespace tarnel
