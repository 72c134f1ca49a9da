// A new table that is written record by record beside the place that it takes when it is whole: a record
// file and, with memo fields, a memo file.
//
// Two files can't be renamed at once. The memo file goes first and says to which record file it belongs; as
// long as that has its temporary name, whoever opens the table finishes the work (pair_recovery.h).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "db/dbfidx/format/format_dbf.h"
#include "db/dbfidx/format/format_dbt.h"
#include "lib/replacement_file.h"

namespace tarnel {

class TableWriter {
 public:
  // `memo_path` is empty for a table without memo fields.
  TableWriter(const std::string& path, const std::string& memo_path);

  // Begins with the whole header of a table; its count is put right at the end. False with errno set, here
  // and below; failed_file() tells which.
  [[nodiscard]] bool create(const std::vector<std::uint8_t>& header, mode_t mode);
  // Adds records as they are in a file, one behind the other.
  [[nodiscard]] bool add(const std::uint8_t* records, std::int32_t count) {
    count_ += count;
    return records_.append(records, static_cast<std::size_t>(count) * record_size_);
  }
  // Adds a memo text; the block where it begins, -1 on a failure. REQUIRES: the table has a memo file.
  std::int64_t add_memo(std::string_view text);
  std::int32_t count() const { return count_; }

  // All is there: the beginning of the header, of dbf::kHeaderPrefix bytes, as it is to be. Durable: on the
  // disk, too.
  [[nodiscard]] bool complete(const std::uint8_t* prefix, bool durable);
  // The same for a new table, with the count of records in the header that it was begun with.
  [[nodiscard]] bool complete();
  // What is complete takes the place of what was there. When it fails halfway, which errno no longer tells,
  // the files stay for whoever next opens the table; halfway() tells that.
  [[nodiscard]] bool take_place();
  bool halfway() const { return halfway_; }

  ReplacementFile& records() { return records_; }
  ReplacementFile& memos() { return *memos_; }
  bool has_memo() const { return memos_.has_value(); }
  const std::string& failed_file() const;

 private:
  bool close_memos(const std::uint8_t* prefix, bool durable);
  void stop_halfway();

  ReplacementFile records_;
  std::optional<ReplacementFile> memos_;
  std::vector<std::uint8_t> header_;
  std::size_t record_size_ = 0;
  std::int32_t count_ = 0;
  std::uint64_t next_block_ = 1;
  bool memo_failed_ = false, halfway_ = false;
};

}  // namespace tarnel
