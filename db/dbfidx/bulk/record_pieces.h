// All records of a table in natural order, many at a time, for work that needs nothing but their bytes.
//
//   RecordPieces pieces(dbf, "copy");
//   while (pieces.next()) ... pieces.data(), pieces.first(), pieces.count() ...
//   return !pieces.failed();
#pragma once

#include <cstdint>
#include <vector>

#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/scan/walk.h"
#include "db/progress.h"

namespace tarnel {

class RecordPieces {
 public:
  // `work` names it where progress is shown, and must last.
  RecordPieces(DbfIdx& dbf, const char* work);
  RecordPieces(const RecordPieces&) = delete;
  RecordPieces& operator=(const RecordPieces&) = delete;

  // Would a walk of this scope come to all records in natural order, and run no code on the way?
  static bool suit(const DbfIdx& dbf, const Scope& scope);

  // The next piece, which the caller may change; false at the end or after error 103.
  bool next();
  std::uint8_t* data() { return bytes_.data(); }
  std::int32_t first() const { return first_; }
  std::int32_t count() const { return count_; }
  bool failed() const { return failed_; }

 private:
  bool read();

  DbfIdx& dbf_;
  const SameTable same_;
  std::vector<std::uint8_t> bytes_;
  std::int32_t first_ = 1, count_ = 0;
  bool failed_ = false;
  Progress progress_;
};

}  // namespace tarnel
