#include "db/dbfidx/bulk/field_plan.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "core/arrays.h"
#include "core/text.h"
#include "core/var.h"
#include "db/dbfidx/table_errors.h"

namespace tarnel {
namespace {

bool is_alike(const dbf::Field& a, const dbf::Field& b) {
  return a.type == b.type && a.length == b.length &&
         (a.decimals == b.decimals || a.type == 'C');  // of a text they belong to the length
}

bool is_blank(const std::uint8_t* at, std::uint16_t length) {
  return std::all_of(at, at + length, [](std::uint8_t c) { return c == ' '; });
}

}  // namespace

bool FieldPlan::add(const DbfIdx& source, std::int32_t number, const dbf::Field& to) {
  const dbf::Field& from = source.fields[static_cast<std::size_t>(number)];
  const bool text = from.type == 'C' && to.type == 'C';
  if (from.type == 'M' || to.type == 'M' || (!text && !is_alike(from, to))) {
    if (!types_agree(from.type, to.type)) return false;
    others_.push_back({number, from.type, to});
    return true;
  }
  const std::uint16_t length = std::min(from.length, to.length);
  // Neighbours move together.
  if (!runs_.empty()) {
    Run& last = runs_.back();
    if (last.from + last.length == from.offset && last.to + last.length == to.offset) {
      last.length = static_cast<std::uint16_t>(last.length + length);
      return true;
    }
  }
  runs_.push_back({from.offset, to.offset, length});
  return true;
}

bool FieldPlan::converts() const {
  return std::any_of(others_.begin(), others_.end(), [](const Other& other) {
    return other.from_type != 'M' && other.from_type != 'C';
  });
}

bool FieldPlan::fill_from(DbfIdx& source, const std::uint8_t* record, std::int32_t n,
                          std::uint8_t* target, const MemoSink& memos,
                          const char* operation) const {
  *target = *record;
  for (const Run& run : runs_) std::memcpy(target + run.to, record + run.from, run.length);
  for (const Other& other : others_)
    if (!put(source, other, record, n, target, memos, operation)) return false;
  return true;
}

bool FieldPlan::put(DbfIdx& source, const Other& other, const std::uint8_t* record, std::int32_t n,
                    std::uint8_t* target, const MemoSink& memos, const char* operation) {
  const dbf::Field& from = source.fields[static_cast<std::size_t>(other.from)];
  const std::uint8_t* at = record + from.offset;
  if (from.type != 'M' && is_blank(at, from.length)) return true;  // and so it stays
  MemoText memo;
  std::string_view text;
  if (from.type == 'M') {
    const std::uint32_t block = dbf::memo_block(at, from.length);
    if (block == 0) return true;
    if (!load_memo_text(source, block, memo)) return false;
    text = memo.view();
  } else if (from.type == 'C') {
    text = {reinterpret_cast<const char*>(at), from.length};
  }
  std::uint8_t* to = target + other.to.offset;
  if (other.to.type == 'M') {
    const std::int64_t block = memos.put(memos.target, text);
    if (block < 0) return false;
    dbf::put_block(to, other.to.length, static_cast<std::uint32_t>(block));
    return true;
  }
  if (from.type == 'M' || from.type == 'C') {
    dbf::put_text(to, other.to.length, text);
    return true;
  }
  assert(record == source.buffer.data());
  if (put_value(other.to, to, field_value(source, other.from))) return true;
  dxerror(source, TableError::kBulkOverflow, {operation, n, other.to.name});
  return false;
}

std::int32_t field_by_name(const DbfIdx& dbf, std::string_view name) {
  name = trim_blanks(name);
  if (const std::size_t arrow = name.find("->"); arrow != std::string_view::npos) {
    if (upper_text(trim_blanks(name.substr(0, arrow))) != dbf.aliasName) return -1;
    name = trim_blanks(name.substr(arrow + 2));
  }
  return name.empty() ? -1 : field_position(dbf, name) - 1;
}

bool selects_all(const Var* names) {
  return is_nil(names) || (names->type == 'A' && element_count(names) == 0);
}

bool read_field_list(DbfIdx& dbf, Var* names, const char* operation,
                     std::vector<std::int32_t>& fields) {
  fields.clear();
  const bool several = names->type == 'A';
  if (selects_all(names)) {
    for (std::int32_t i = 0; i < dbf.fieldCount; ++i) fields.push_back(i);
    return true;
  }
  for (std::int32_t i = 1; i <= (several ? element_count(names) : 1); ++i) {
    const Var* name = several ? element(names, i) : names;
    const std::int32_t field = is_text(name) ? field_by_name(dbf, text_of(name)) : -1;
    if (field < 0) {
      dxerror(dbf, TableError::kBulkNoField,
              {operation, dbf.aliasName, is_text(name) ? text_of(name) : std::string_view("?")});
      return false;
    }
    if (std::find(fields.begin(), fields.end(), field) == fields.end()) fields.push_back(field);
  }
  return true;
}

std::size_t lay_out(std::vector<dbf::Field>& fields) {
  std::size_t place = 1;
  for (dbf::Field& field : fields) {
    field.offset = static_cast<std::uint16_t>(place);
    place += field.length;
  }
  return place;
}

}  // namespace tarnel
