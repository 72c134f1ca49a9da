// The record and the memo file of a table that a process was to replace together, when it ended between the
// two. See TableWriter and dbt::PairMark.
#pragma once

#include <cstdint>
#include <string>

namespace tarnel {

struct DbfIdx;

// Whole: the two belong together. Unfinished: the memo file is new, and its record file waits under its
// temporary name. Foreign: there is no such file. A mark that was left behind is wiped out.
enum class Pair : std::uint8_t { kWhole, kUnfinished, kForeign, kUnreadable };
// REQUIRES: both files are open and the header was read.
Pair look_at_pair(const DbfIdx& dbf);
// The same for files that no table has open; nothing is wiped out. `marked`: is there a mark at all?
struct PairFiles {
  const std::string& table;    // its path
  const std::uint8_t* header;  // its first bytes
  std::uint64_t inode;         // of it
  int memo_fd;
};
Pair look_at_pair(const PairFiles& files, bool& marked);
// Puts the record file in its place; the table must then be opened anew. False with errno set. REQUIRES:
// look_at_pair() said unfinished, and nobody else has the table open.
[[nodiscard]] bool finish_pair(const DbfIdx& dbf);
[[nodiscard]] bool finish_pair(const PairFiles& files);

}  // namespace tarnel
