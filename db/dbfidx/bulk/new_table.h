// The table that an operation makes of records of an open one: nobody else may be using a file of its
// name, and it appears when it is whole.
//
//   NewTable target(dbf, "COPY TO");
//   if (!target.open(file, fields)) return false;
//   ... plan.fill(dbf, target.blank_record(), target.memos(), ...) && target.add() ...
//   return target.finish();
//
// Its errors are told of the open table under the name of the operation.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "db/dbfidx/bulk/field_plan.h"
#include "db/dbfidx/bulk/table_writer.h"

namespace tarnel {

class NewTable {
 public:
  NewTable(DbfIdx& source, const char* operation) : source_(source), operation_(operation) {}
  ~NewTable() noexcept(false);  // gives up the claim, whose errors reach a handler
  NewTable(const NewTable&) = delete;
  NewTable& operator=(const NewTable&) = delete;

  // False after errors 104, 105, 320, 322.
  [[nodiscard]] bool open(std::string_view file, std::vector<dbf::Field> fields);
  const std::vector<dbf::Field>& fields() const { return fields_; }
  std::uint16_t record_size() const { return static_cast<std::uint16_t>(record_.size()); }
  MemoSink memos() { return {this, put_memo}; }

  // The place where the next record is to be made, blank.
  std::uint8_t* blank_record();
  // Adds it, or records that are as they are to be. False after error 104.
  [[nodiscard]] bool add() { return add(record_.data(), 1); }
  [[nodiscard]] bool add(const std::uint8_t* records, std::int32_t count);
  // False after error 104.
  [[nodiscard]] bool finish();

 private:
  static std::int64_t put_memo(void* target, std::string_view text);
  bool claim(const std::string& path);
  std::vector<std::uint8_t> header() const;
  bool unwritable();

  DbfIdx& source_;
  const char* const operation_;
  Var* claim_ = nullptr;  // a driver object that has the former table open, held
  std::vector<dbf::Field> fields_;
  std::vector<std::uint8_t> record_;
  std::optional<TableWriter> writer_;
};

}  // namespace tarnel
