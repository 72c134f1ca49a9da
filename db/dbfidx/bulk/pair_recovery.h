// The record and the memo file of a table that a process was to replace together, when it ended between the
// two. See TableWriter and dbt::PairMark.
#pragma once

#include <cstdint>

namespace tarnel {

struct DbfIdx;

// Whole: the two belong together. Unfinished: the memo file is new, and its record file waits under its
// temporary name. Foreign: there is no such file. A mark that was left behind is wiped out.
enum class Pair : std::uint8_t { kWhole, kUnfinished, kForeign, kUnreadable };
// REQUIRES: both files are open and the header was read.
Pair look_at_pair(const DbfIdx& dbf);
// Puts the record file in its place; the table must then be opened anew. False with errno set. REQUIRES:
// look_at_pair() said unfinished, and nobody else has the table open.
[[nodiscard]] bool finish_pair(const DbfIdx& dbf);

}  // namespace tarnel
