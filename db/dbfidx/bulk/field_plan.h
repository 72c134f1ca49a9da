// What of a record goes where in a record of another structure. Fields of equal type, length and decimals
// move as bytes, and so do texts of any length; memos move with their texts, and what else can be
// assigned is converted.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/record/memo.h"

namespace tarnel {

// Takes memo texts of the target; the block of each, -1 after an error.
struct MemoSink {
  void* target;
  std::int64_t (*put)(void* target, std::string_view text);
};

class FieldPlan {
 public:
  // Adds a field of the source, by its number from 0. False when its values can't be assigned to the other.
  [[nodiscard]] bool add(const DbfIdx& source, std::int32_t from, const dbf::Field& to);
  // Is there a value that is neither bytes nor a memo? Then its record must be in the buffer.
  bool converts() const;
  // Is a record of the one as it stands a record of the other?
  bool is_identity(std::uint16_t source_size, std::uint16_t target_size) const {
    return source_size == target_size && others_.empty() && runs_.size() == 1 &&
           runs_[0].from == 1 && runs_[0].to == 1 && runs_[0].length == source_size - 1;
  }
  bool empty() const { return runs_.empty() && others_.empty(); }

  // Fills the fields of a blank record, and its delete mark, from the record under the source's cursor,
  // which must be in the buffer. False after an error: 205, which is told of the source under the name of
  // the operation, those of reading a memo and of the sink.
  [[nodiscard]] bool fill(DbfIdx& source, std::uint8_t* target, const MemoSink& memos,
                          const char* operation) const {
    return fill_from(source, source.buffer.data(), source.recNo, target, memos, operation);
  }
  // The same from the bytes of record n, of which nothing may have to be converted.
  [[nodiscard]] bool fill_from(DbfIdx& source, const std::uint8_t* record, std::int32_t n,
                               std::uint8_t* target, const MemoSink& memos,
                               const char* operation) const;

 private:
  struct Run {
    std::uint16_t from, to, length;
  };
  struct Other {
    std::int32_t from;
    char from_type;
    dbf::Field to;
  };
  static bool put(DbfIdx& source, const Other& other, const std::uint8_t* record, std::int32_t n,
                  std::uint8_t* target, const MemoSink& memos, const char* operation);

  std::vector<Run> runs_;
  std::vector<Other> others_;
};

// Does a list of names select all fields: NIL, or an empty array?
bool selects_all(const Var* names);
// The fields of a source, by numbers from 0, that a list of names selects: an array or one text, or all.
// A name may carry the alias of the table, and comes once. False after error 306, told under the name of
// the operation.
[[nodiscard]] bool read_field_list(DbfIdx& dbf, Var* names, const char* operation,
                                   std::vector<std::int32_t>& fields);
// Number from 0 of a field by such a name; -1 when there is none.
std::int32_t field_by_name(const DbfIdx& dbf, std::string_view name);

// Gives the fields of a new record their places. Its size, which may be too large for a record.
std::size_t lay_out(std::vector<dbf::Field>& fields);

}  // namespace tarnel
