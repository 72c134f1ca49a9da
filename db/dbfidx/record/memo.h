// The texts of memo fields.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "db/dbfidx/dbfidx.h"

namespace tarnel {

// Length of the text at a block in bytes, or, whole, the bytes of the blocks it fills. 0 for block
// 0 and for a text without an end (error 301) or an unreadable one (103).
std::size_t memoSize(DbfIdx& dbf, std::uint32_t block, bool whole);
// A text as it was read, with the rest of its last block.
struct MemoText {
  std::vector<std::uint8_t> bytes;
  std::size_t length = 0;
  std::size_t blocks = 0;

  std::string_view view() const { return {reinterpret_cast<const char*>(bytes.data()), length}; }
};
// Reads the text at a block; false after error 414, 301 or 103.
[[nodiscard]] bool load_memo_text(DbfIdx& dbf, std::uint32_t block, MemoText& memo);
// Reads the text at a block into a memo field's cell. False after error 414, 301 or 103; the cell
// is then empty.
bool memoRead(DbfIdx& dbf, std::uint32_t block, Var* cell);
// Writes a text, new as it is, at the end of the file. Its block, 0 for an empty text; -1 after error 413 or 104.
std::int64_t add_memo_text(DbfIdx& dbf, std::string_view text);
// Writes a text at a block if it fits there, else at the end of the file, and into the cell. The
// block now used, 0 when none is needed; -1 after error 413 or 104. A text that fills its blocks to
// the last byte stays where it is, and its end mark falls into the block behind: texts that grow to
// a multiple of 512 bytes can cost their neighbour its first byte. The format leaves no other place
// for it.
std::int64_t memoWrite(DbfIdx& dbf, std::uint32_t block, std::string_view text, Var* cell);

// Gives a memo field's cell a copy of a text. The cell owns its buffer.
void set_memo_text(Var* cell, std::string_view text);
// Frees the buffer.
void clear_memo_text(Var* cell);

}  // namespace tarnel
