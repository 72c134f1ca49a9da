// What differs between the records of two open tables, told line by line. Records are read where they lie; with a key
// 16 bytes of each are held, sorted, and a bit.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "db/dbfidx/dbfidx.h"
#include "db/table_rows.h"

namespace tarnel {

// A value by which records of two tables are the same. Numbers stand without zeros that say nothing.
struct DiffKey {
  CellKind kind = CellKind::kNothing;
  std::string text;
};

// One of the tables.
class DiffSide {
 public:
  struct Entry {
    std::uint64_t hash;
    std::int32_t record;
    auto operator<=>(const Entry&) const = default;
  };

  // The fields, by numbers, that both have, in one order.
  DiffSide(DbfIdx& dbf, std::string name, const std::vector<std::int32_t>& fields);

  const std::string& name() const { return name_; }
  const std::vector<std::string>& names() const { return names_; }  // of the fields
  DbfIdx& dbf() { return dbf_; }
  std::int32_t records() const { return records_; }
  std::int64_t unread_memos() const { return unread_memos_; }

  // The bytes of a record, null after an error; they last until the next.
  const std::uint8_t* record(std::int32_t n);
  const std::vector<RowCell>& cells(const std::uint8_t* record, std::int32_t n) {
    return cells_(record, n);
  }

  // The key is a field of the table or an expression. False after a complaint or an error. temps +2
  [[nodiscard]] bool set_key(std::string_view key);
  [[nodiscard]] std::optional<DiffKey> key(std::int32_t n);
  // Reads all keys. False after an error, or a complaint about two records of one key.
  [[nodiscard]] bool read_keys();
  const std::vector<Entry>& entries() const { return entries_; }
  // The record of a key, 0 for none; none after an error.
  [[nodiscard]] std::optional<std::int32_t> find(const DiffKey& key);

 private:
  bool keys_are_unique();
  RowRequest request(std::vector<std::int32_t> fields);

  DbfIdx& dbf_;
  const std::string name_;
  std::vector<std::string> names_;
  const std::int32_t records_;  // those that others add meanwhile don't count
  std::int64_t unread_memos_ = 0;
  RecordCells cells_, key_cells_;
  Var* key_block_ = nullptr;  // of a key that is no field
  std::vector<Entry> entries_;
};

struct DiffCounts {
  std::int64_t only_first = 0, only_second = 0, changed = 0, same = 0;
};

// Compares the records with equal keys, or, without keys, with equal numbers, delete marks included. `tell` gets the
// lines and gives false when nobody takes them any more. False when it could not go on; told.
using TellDifference = std::function<bool(const std::string& line)>;
[[nodiscard]] bool compare_by_number(DiffSide& first, DiffSide& second, const TellDifference& tell,
                                     DiffCounts& counts);
[[nodiscard]] bool compare_by_key(DiffSide& first, DiffSide& second, const TellDifference& tell,
                                  DiffCounts& counts);

}  // namespace tarnel
