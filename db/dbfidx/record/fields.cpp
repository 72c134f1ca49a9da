// The cells of fields: how the bytes of the buffered record become values, lazily, and values
// bytes.
#include <algorithm>
#include <array>
#include <cstring>

#include "core/memory.h"
#include "core/symbols.h"
#include "core/text.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/record/change_lock.h"
#include "db/dbfidx/record/memo.h"
#include "db/dbfidx/table_errors.h"
#include "db/field_cells.h"
#include "lib/dates.h"

namespace tarnel {
namespace {

const std::uint8_t* place(const DbfIdx& dbf, const dbf::Field& field) {
  return dbf.buffer.data() + field.offset;
}

const dbf::Field& field_at(const DbfIdx& dbf, std::int32_t i) {
  return dbf.fields[static_cast<std::size_t>(i)];
}

std::uint32_t memo_block(const DbfIdx& dbf, const dbf::Field& field) {
  return dbf::memo_block(place(dbf, field), field.length);
}

// --- The types of fields. Loading fills a field's cell from the buffered record; false after an
// error. Storing puts a value that the type takes into the record and, as it can be read back from
// there, into the cell; false when it was refused.

using Field = dbf::Field;

bool load_text(DbfIdx& dbf, const Field& field, Var* cell) {
  show_text(cell, place(dbf, field));
  return true;
}
bool load_date(DbfIdx& dbf, const Field& field, Var* cell) {
  show_date(cell, place(dbf, field), field);
  return true;
}
bool load_number(DbfIdx& dbf, const Field& field, Var* cell) {
  show_number(cell, place(dbf, field), field);
  return true;
}
bool load_logical(DbfIdx& dbf, const Field& field, Var* cell) {
  show_logical(cell, place(dbf, field), field);
  return true;
}
bool load_memo(DbfIdx& dbf, const Field& field, Var* cell) {
  const std::uint32_t block = memo_block(dbf, field);
  if (block != 0) return memoRead(dbf, block, cell);
  set_memo_text(cell, {});
  return true;
}

std::uint8_t* change(DbfIdx& dbf, const Field& field) {
  return dbf.buffer.begin_change() + field.offset;
}

template <bool (*load)(DbfIdx&, const Field&, Var*)>
bool store_plain(DbfIdx& dbf, const Field& field, Var* cell, const Var* value) {
  if (put_value(field, change(dbf, field), value)) return load(dbf, field, cell);
  const SameTable same(dbf);
  put_word(cell, 0);
  dxerror(dbf, TableError::kNumericOverflow);
  return same.holds();
}
bool store_date(DbfIdx& dbf, const Field& field, Var* cell, const Var* value) {
  static_cast<void>(put_value(field, change(dbf, field), value));  // every date fits
  put_word(cell, value->i);
  return true;
}
// The text first: a record never names a block that has no text. An empty one needs no block.
bool store_memo(DbfIdx& dbf, const Field& field, Var* cell, const Var* value) {
  const std::uint32_t former = memo_block(dbf, field);
  if (text_of(value).empty() && former == 0) return load_memo(dbf, field, cell);
  const std::uint64_t stamp = dbf.buffer.stamp();
  const std::int64_t block = memoWrite(dbf, former, text_of(value), cell);
  if (block < 0 || dbf.buffer.stamp() != stamp) return false;  // or a handler moved the cursor
  dbf::put_block(change(dbf, field), field.length, static_cast<std::uint32_t>(block));
  return true;
}

struct FieldType {
  char letter;
  bool (*load)(DbfIdx& dbf, const Field& field, Var* cell);
  bool (*store)(DbfIdx& dbf, const Field& field, Var* cell, const Var* value);
};
constexpr FieldType kTypes[] = {
    {'C', load_text, store_plain<load_text>},
    {'D', load_date, store_date},
    {'F', load_number, store_plain<load_number>},
    {'L', load_logical, store_plain<load_logical>},
    {'M', load_memo, store_memo},
    {'N', load_number, store_plain<load_number>},
};

// The place of each letter in the table, 0 for those that name no type, else one more.
constexpr auto kTypeAt = [] {
  std::array<std::uint8_t, 256> places{};
  for (const FieldType& type : kTypes)
    places[static_cast<std::uint8_t>(type.letter)] =
        static_cast<std::uint8_t>(&type - std::begin(kTypes) + 1);
  return places;
}();

const FieldType* type_of(char letter) {
  const std::uint8_t at = kTypeAt[static_cast<std::uint8_t>(letter)];
  return at != 0 ? &kTypes[at - 1] : nullptr;
}

bool store_checked(DbfIdx& dbf, std::int32_t i, Var* cell, const Var* value) {
  const Field& field = field_at(dbf, i);
  const FieldType* type = type_of(field.type);
  if (type == nullptr && (field.type == value->type || field.type == 'I')) {
    dxerror(dbf, TableError::kPutFieldType, {field.type});
    return false;
  }
  if (type == nullptr || !types_agree(value->type, field.type)) {
    dxerror(dbf, TableError::kPutTypeMismatch, {field.type, value->type});
    return false;
  }
  const SameTable same(dbf);
  if (!type->store(dbf, field, cell, value) || !same.holds()) return false;
  dbf.fieldStamps[static_cast<std::size_t>(i)] = dbf.buffer.stamp();
  return true;
}

// --- Cells.

Var* new_cell(DbfIdx& dbf, std::int32_t i) {
  const Field& field = field_at(dbf, i);
  Var* cell = new_field_cell(field, i, &dbf.area->owner);
  if (cell->type == 'C') show_text(cell, place(dbf, field));
  if (cell->type == 'M') set_memo_text(cell, {});
  return cell;
}

void retire_cell(Var* cell) {
  if (cell->type == 'M') clear_memo_text(cell);
  retire_field_cell(cell);
}

}  // namespace

bool put_value(const dbf::Field& field, std::uint8_t* at, const Var* value) {
  switch (field.type) {
    case 'C':
      dbf::put_text(at, field.length, text_of(value));
      return true;
    case 'D':
      dbf::put_text(at, field.length, dateToYmd(value->i));
      return true;
    case 'F':
      dbf::put_float(at, field.length, number_of(value));
      return true;
    case 'L':
      dbf::put_logical(at, field.length, truth_of(value));
      return true;
    default:
      assert(field.type == 'N');
      return dbf::put_fixed(at, field.length, field.decimals, number_of(value));
  }
}

Var* field_value(DbfIdx& dbf, std::int32_t i) {
  const auto at = static_cast<std::size_t>(i);
  if (at >= dbf.fieldCells.size()) return nil_value();
  Var* cell = dbf.fieldCells[at];
  const SameTable same(dbf);
  const bool buffered = is_buffered(dbf);
  if (buffered && dbf.fieldStamps[at] == dbf.buffer.stamp()) return cell;
  // What could not be read shows as blanks.
  if (!buffered && !bringRecord(dbf, true) && !(same.holds() && is_unreadable(dbf)))
    return nil_value();
  const dbf::Field& field = dbf.fields[at];
  if (const FieldType* type = type_of(field.type); type != nullptr) {
    dbf.fieldStamps[at] = dbf.buffer.stamp();
    if (type->load(dbf, field, cell) || same.holds()) return cell;
  } else {
    dxerror(dbf, TableError::kGetFieldType, {field.type});
  }
  return nil_value();
}

Var* store_field(DbfIdx& dbf, std::int32_t i, Var* value) {
  ChangeLock lock(dbf);
  if (!lock.granted()) return nil_value();
  const SameTable same(dbf);
  bool stored = refreshRecord(dbf, true) && same.holds() && dbf.buffer.writable() &&
                static_cast<std::size_t>(i) < dbf.fieldCells.size();
  Var* cell = stored ? dbf.fieldCells[static_cast<std::size_t>(i)] : nil_value();
  stored = stored && store_checked(dbf, i, cell, value);
  lock.release();
  return stored && same.holds() ? cell : nil_value();
}

std::int32_t field_position(const DbfIdx& dbf, std::string_view name) {
  const std::string wanted = upper_text(trim_right(name.substr(0, dbf::kNameField)));
  for (std::size_t i = 0; i < dbf.fields.size(); ++i)
    if (wanted == dbf.fields[i].name) return static_cast<std::int32_t>(i) + 1;
  return 0;
}

void attach_field_cells(DbfIdx& dbf) {
  // Room for both first: a run that finds none ends here, and closes the table on its way out.
  const auto count = static_cast<std::size_t>(dbf.fieldCount);
  dbf.fieldCells.reserve(count);
  dbf.fieldSymbols.reserve(count);
  for (std::int32_t i = 0; i < dbf.fieldCount; ++i) {
    Var* cell = new_cell(dbf, i);
    const std::int32_t sym = ADD_SYMBOL(field_at(dbf, i).name);
    if (sym > 0) list_field_cell(sym, cell);
    dbf.fieldCells.push_back(cell);
    dbf.fieldSymbols.push_back(sym);
  }
}

void detach_field_cells(DbfIdx& dbf) {
  for (std::size_t i = 0; i < dbf.fieldCells.size(); ++i) {
    if (dbf.fieldSymbols[i] > 0) unlist_field_cell(dbf.fieldSymbols[i], dbf.fieldCells[i]);
    retire_cell(dbf.fieldCells[i]);
  }
  dbf.fieldCells.clear();
  dbf.fieldSymbols.clear();
}

}  // namespace tarnel
