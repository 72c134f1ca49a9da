// The cells by which the fields of open tables are reached under their names, whichever driver they belong to, and
// how the bytes of a record become their values.
#pragma once

#include <cstdint>

#include "core/memory.h"
#include "core/var.h"
#include "db/dbfidx/format/format_dbf.h"
#include "lib/dates.h"

namespace tarnel {

// A cell of field `number` (from 0) of an owner, empty; of an unknown type it is NIL.
Var* new_field_cell(const dbf::Field& field, std::int32_t number, FieldOwner* owner);
// The field's table closes: a cell that somebody still holds becomes an empty value.
void retire_field_cell(Var* cell);

// Puts a cell into the list of the cells of its name, and takes it out.
void list_field_cell(std::int32_t sym, Var* cell);
void unlist_field_cell(std::int32_t sym, Var* cell);

// --- Values. `at` is the field's place in a record. A cell of type C shows the record itself; nobody writes
// through it.
inline void show_text(Var* cell, const std::uint8_t* at) {
  cell->text = const_cast<char*>(reinterpret_cast<const char*>(at));
}
inline void show_date(Var* cell, const std::uint8_t* at, const dbf::Field& field) {
  const std::string_view bytes(reinterpret_cast<const char*>(at),
                               std::min<std::size_t>(field.length, dbf::kDateLength));
  put_word(cell, bytes.empty() || bytes.front() == ' ' ? 0 : ymdToDate(bytes));
}
inline void show_number(Var* cell, const std::uint8_t* at, const dbf::Field& field) {
  cell->num = dbf::parse_number(at, field.length);
}
inline void show_logical(Var* cell, const std::uint8_t* at, const dbf::Field& field) {
  put_word(cell, dbf::parse_logical(at, field.length) ? 1 : 0);
}

}  // namespace tarnel
