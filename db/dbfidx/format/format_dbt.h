// The .dbt file beside a table with memo fields, in blocks of 512 bytes. Integers are
// little-endian.
//
//   block 0   offset 0, 4 bytes: the next free block, 1 in a new file; the rest means nothing, but
//             while a pair of files takes the place of another one (see PairMark):
//                4   8  "TNPAIR\x1A\x01"
//               12   8  size of the record file that belongs to this file
//               20   8  its inode
//               28  32  the beginning of its header
//               60   1  length of its temporary name, which follows
//   block n   a text from its first byte on, through whole blocks, ended by the byte 0x1A; the rest
//             of the last block means nothing
//
// A text has no length and its blocks no list: the end mark alone ends it, within 128 blocks. A
// block is used once; the space of a text that outgrew its blocks is lost until the table is
// packed.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tarnel::dbt {

constexpr std::size_t kBlockSize = 512;
constexpr std::uint8_t kEndMark = 0x1A;
constexpr std::size_t kMaxBlocks = 128;   // of one text, its end mark included
constexpr std::size_t kNextFreeSize = 4;  // also the range that is locked while a block is taken

inline std::int64_t block_offset(std::uint32_t block) {
  return static_cast<std::int64_t>(block) * static_cast<std::int64_t>(kBlockSize);
}
// Blocks that a text of n bytes takes when it is written anew.
constexpr std::uint32_t blocks_needed(std::size_t n) {
  return static_cast<std::uint32_t>((n + kBlockSize) / kBlockSize);
}
static_assert(blocks_needed(0) == 1 && blocks_needed(511) == 1 && blocks_needed(512) == 2);

// Block 0 of a new file.
std::vector<std::uint8_t> new_first_block();

// The next-free word; false on a system error or a file too short to have one.
bool read_next_free(int fd, std::uint32_t& block);
bool write_next_free(int fd, std::uint32_t block);

// What a memo file says of its record file while both take the places of former ones. The memo file is
// renamed first; who then meets it beside the former record file can finish the work.
struct PairMark {
  std::uint64_t size = 0, inode = 0;
  std::array<std::uint8_t, 32> header{};
  std::string name;  // without directory
};
constexpr std::size_t kMostPairName = kBlockSize - 61;
void put_pair_mark(std::uint8_t* first_block, const PairMark& mark);
// 1: there is one, 0: none, -1: system error.
int read_pair_mark(int fd, PairMark& mark);
bool clear_pair_mark(int fd);

// Finds the end of a text. 1: found, `length` bytes before it in `blocks` blocks; 0: none within
// 128 blocks or the file's end; -1: system error. `text` receives the blocks read, end mark and
// rest too.
int find_end(int fd, std::uint32_t block, std::vector<std::uint8_t>& text, std::size_t& length,
             std::size_t& blocks);

// Writes a text with its end mark, in whole blocks, from a block on. False on a system error.
bool write_text(int fd, std::uint32_t block, const void* text, std::size_t n);

}  // namespace tarnel::dbt
