// The cells of fields: how the bytes of the buffered record become values, lazily, and values
// bytes.
#include <algorithm>
#include <cctype>
#include <cstring>

#include "core/memory.h"
#include "core/symbols.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/record/memo.h"
#include "db/dbfidx/table_errors.h"
#include "lib/dates.h"

namespace tarnel {
namespace {

// Values that a field of another type takes: first letter the field's, second the value's.
constexpr const char* kAllowedPairs[] = {"IN", "CM", "FI", "FL", "FN", "IF", "IL",
                                         "LF", "LI", "LN", "MC", "NF", "NI", "NL"};

bool accepts(char field, char value) {
  return field == value ||
         std::any_of(std::begin(kAllowedPairs), std::end(kAllowedPairs),
                     [=](const char* pair) { return pair[0] == field && pair[1] == value; });
}

std::uint8_t* place(DbfIdx& dbf, const dbf::Field& field) {
  return dbf.record.data() + field.offset;
}

const dbf::Field& field_at(const DbfIdx& dbf, std::int32_t i) {
  return dbf.fields[static_cast<std::size_t>(i)];
}

// The block that a memo field names; 0 when it names none that could be.
std::uint32_t memo_block(DbfIdx& dbf, const dbf::Field& field) {
  const std::int64_t block = dbf::parse_block(place(dbf, field), field.length);
  return block > 0 && block <= UINT32_MAX ? static_cast<std::uint32_t>(block) : 0;
}

std::string_view bytes_of(DbfIdx& dbf, const dbf::Field& field) {
  return {reinterpret_cast<const char*>(place(dbf, field)), field.length};
}

// Fills the cell from the record. False for a type that no field has.
bool convert(DbfIdx& dbf, const dbf::Field& field, Var* cell) {
  const std::uint8_t* at = place(dbf, field);
  switch (field.type) {
    case 'C':
      cell->text = reinterpret_cast<char*>(place(dbf, field));
      return true;
    case 'D':
      put_word(cell, field.length == 0 || *at == ' '
                         ? 0
                         : ymdToDate(bytes_of(dbf, field).substr(0, dbf::kDateLength)));
      return true;
    case 'F':
    case 'N':
      cell->num = dbf::parse_number(at, field.length);
      return true;
    case 'L':
      put_word(cell, dbf::parse_logical(at, field.length) ? 1 : 0);
      return true;
    case 'M':
      if (const std::uint32_t block = memo_block(dbf, field); block != 0)
        memoRead(dbf, block, cell);
      else
        set_memo_text(cell, {});
      return true;
    default:
      return false;
  }
}

bool store_memo(DbfIdx& dbf, const dbf::Field& field, Var* cell, const Var* value) {
  const std::int64_t block = memoWrite(dbf, memo_block(dbf, field), text_of(value), cell);
  if (block < 0) return false;
  dbf::put_block(place(dbf, field), field.length, static_cast<std::uint32_t>(block));
  return true;
}

// Puts the value into the record and, as it can be read back from there, into the cell.
bool put_value(DbfIdx& dbf, const dbf::Field& field, Var* cell, const Var* value) {
  std::uint8_t* at = place(dbf, field);
  switch (field.type) {
    case 'C':
      dbf::put_text(at, field.length, text_of(value));
      return convert(dbf, field, cell);
    case 'M':
      return store_memo(dbf, field, cell, value);
    case 'D':
      dbf::put_text(at, field.length, dateToYmd(value->i));
      put_word(cell, value->i);
      return true;
    case 'F':
      dbf::put_float(at, field.length, number_of(value));
      return convert(dbf, field, cell);
    case 'N':
      if (!dbf::put_fixed(at, field.length, field.decimals, number_of(value))) {
        put_word(cell, 0);
        dxerror(dbf, TableError::kNumericOverflow);
        return dbf.isOpen();
      }
      return convert(dbf, field, cell);
    case 'L':
      dbf::put_logical(at, field.length, truth_of(value));
      put_word(cell, truth_of(value) ? 1 : 0);
      return true;
    default:
      dxerror(dbf, TableError::kPutFieldType, {field.type});
      return false;
  }
}

bool store_checked(DbfIdx& dbf, std::int32_t i, Var* cell, const Var* value) {
  const dbf::Field& field = field_at(dbf, i);
  if (!accepts(field.type, value->type)) {
    dxerror(dbf, TableError::kPutTypeMismatch, {field.type, value->type});
    return false;
  }
  if (field.type == 'M' && text_of(value).empty() && memo_block(dbf, field) == 0) return true;
  if (!dbf.dirty) dbf.backup = dbf.record;
  if (!put_value(dbf, field, cell, value) || !dbf.isOpen()) return false;
  dbf.dirty = true;
  dbf.fieldStamps[static_cast<std::size_t>(i)] = dbf.bufferStamp;
  return true;
}

// --- The lists of field cells under their names.

void list_cell(std::int32_t sym, Var* cell) {
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

void unlist_cell(std::int32_t sym, Var* cell) {
  SharedHeader*& fields = symbol_at(sym).fields;
  if (fields == nullptr) return;
  Var** const end = fields->elements + fields->count;
  Var** const at = std::find(fields->elements, end, cell);
  if (at == end) return;
  std::copy(at + 1, end, at);
  *(end - 1) = nullptr;
  DEL_VAR(cell);
  if (--fields->count > 0) return;
  release_shared(fields);
  fields = nullptr;
}

Var* new_cell(DbfIdx& dbf, std::int32_t i) {
  const dbf::Field& field = field_at(dbf, i);
  const bool known = letter_in(field.type, "CDFLMN");
  Var* cell = NEW_VAR('f', known ? field.type : 'U');
  cell->bits = cell->bits2 = 0;
  cell->name = i;
  cell->owner = &dbf.area->owner;
  switch (cell->type) {
    case 'C':
      cell->text = reinterpret_cast<char*>(place(dbf, field));
      cell->length = field.length + 1;
      break;
    case 'M':
      set_memo_text(cell, {});
      break;
    case 'D':
      cell->length = dbf::kDateLength;
      break;
    case 'L':
      cell->length = 1;
      break;
    case 'U':
      break;
    default:
      cell->length = field.length;
      cell->decimals = field.decimals;
  }
  return cell;
}

// A cell that somebody still holds when its table closes becomes an empty value.
void retire_cell(Var* cell) {
  if (cell->type == 'M') clear_memo_text(cell);
  if (cell->refs > 1) {
    cell->type = 'U';
    cell->sclass = 'n';
    cell->level = 0;
    cell->name = -1;
  }
  DEL_VAR(cell);
}

}  // namespace

Var* field_value(DbfIdx& dbf, std::int32_t i) {
  const auto at = static_cast<std::size_t>(i);
  if (at >= dbf.fieldCells.size()) return nil_value();
  Var* cell = dbf.fieldCells[at];
  if (dbf.recNo == dbf.bufferedRec && dbf.fieldStamps[at] == dbf.bufferStamp) return cell;
  if (dbf.recNo != dbf.bufferedRec) refreshRecord(dbf, true);
  if (!dbf.isOpen()) return nil_value();  // an error's handler closed it
  dbf.fieldStamps[at] = dbf.bufferStamp;
  const dbf::Field& field = dbf.fields[at];
  if (field.type == 'N') {  // asked for most, so without the choice among all types
    cell->num = dbf::parse_number(place(dbf, field), field.length);
    return cell;
  }
  const bool known = convert(dbf, field, cell);
  if (known && dbf.isOpen()) return cell;
  if (!known) dxerror(dbf, TableError::kGetFieldType, {field.type});
  return nil_value();
}

Var* store_field(DbfIdx& dbf, std::int32_t i, Var* value) {
  const int may = checkReplace(dbf);
  if (may < 0) return nil_value();
  if (dbf.recNo != dbf.bufferedRec) refreshRecord(dbf, true);
  if (static_cast<std::size_t>(i) >= dbf.fieldCells.size()) return nil_value();
  Var* cell = dbf.fieldCells[static_cast<std::size_t>(i)];
  const bool stored = store_checked(dbf, i, cell, value);
  if (may > 0) release_auto_lock(dbf);
  return stored && dbf.isOpen() ? cell : nil_value();
}

std::int32_t field_position(const DbfIdx& dbf, std::string_view name) {
  name = name.substr(0, dbf::kNameField);
  while (!name.empty() && name.back() == ' ') name.remove_suffix(1);
  const auto same = [](char a, char b) {
    return std::toupper(static_cast<unsigned char>(a)) == static_cast<unsigned char>(b);
  };
  for (std::size_t i = 0; i < dbf.fields.size(); ++i) {
    const std::string_view known = dbf.fields[i].name;
    if (std::equal(name.begin(), name.end(), known.begin(), known.end(), same))
      return static_cast<std::int32_t>(i) + 1;
  }
  return 0;
}

void attach_field_cells(DbfIdx& dbf) {
  for (std::int32_t i = 0; i < dbf.fieldCount; ++i) {
    Var* cell = new_cell(dbf, i);
    const std::int32_t sym = ADD_SYMBOL(field_at(dbf, i).name);
    if (sym > 0) list_cell(sym, cell);
    dbf.fieldCells.push_back(cell);
    dbf.fieldSymbols.push_back(sym);
  }
}

void detach_field_cells(DbfIdx& dbf) {
  for (std::size_t i = 0; i < dbf.fieldCells.size(); ++i) {
    if (dbf.fieldSymbols[i] > 0) unlist_cell(dbf.fieldSymbols[i], dbf.fieldCells[i]);
    retire_cell(dbf.fieldCells[i]);
  }
  dbf.fieldCells.clear();
  dbf.fieldSymbols.clear();
}

}  // namespace tarnel
