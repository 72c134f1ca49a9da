#include "db/dbfidx/format/format_dbt.h"

#include <algorithm>
#include <cstring>

#include "core/file_ops.h"
#include "db/codec.h"

namespace tarnel::dbt {
namespace {

constexpr std::uint32_t kFirstBlock = 1;
constexpr std::size_t kFirstRead = 8;  // blocks; most texts are short

}  // namespace

std::vector<std::uint8_t> new_first_block() {
  std::vector<std::uint8_t> block(kBlockSize, 0);
  put_u32le(block.data(), kFirstBlock);
  return block;
}

bool read_next_free(int fd, std::uint32_t& block) {
  std::uint8_t word[kNextFreeSize];
  if (!read_at(fd, word, sizeof word, 0)) return false;
  block = get_u32le(word);
  return true;
}

bool write_next_free(int fd, std::uint32_t block) {
  std::uint8_t word[kNextFreeSize];
  put_u32le(word, block);
  return write_at(fd, word, sizeof word, 0);
}

int find_end(int fd, std::uint32_t block, std::vector<std::uint8_t>& text, std::size_t& length,
             std::size_t& blocks) {
  text.clear();
  for (std::size_t step = kFirstRead; text.size() < kMaxBlocks * kBlockSize;
       step = kMaxBlocks - text.size() / kBlockSize) {
    const std::size_t before = text.size();
    text.resize(before + step * kBlockSize);
    const std::int64_t got = read_some_at(fd, text.data() + before, step * kBlockSize,
                                          block_offset(block) + static_cast<std::int64_t>(before));
    if (got < 0) return -1;
    text.resize(before + static_cast<std::size_t>(got));
    const auto end =
        std::find(text.begin() + static_cast<std::ptrdiff_t>(before), text.end(), kEndMark);
    if (end != text.end()) {
      length = static_cast<std::size_t>(end - text.begin());
      blocks = length / kBlockSize + 1;
      return 1;
    }
    if (static_cast<std::size_t>(got) < step * kBlockSize) return 0;
  }
  return 0;
}

bool write_text(int fd, std::uint32_t block, const void* text, std::size_t n) {
  const std::size_t size = (n / kBlockSize + 1) * kBlockSize;
  std::vector<std::uint8_t> bytes(size, 0);
  if (n > 0) std::memcpy(bytes.data(), text, n);
  bytes[n] = kEndMark;
  return write_at(fd, bytes.data(), size, block_offset(block));
}

}  // namespace tarnel::dbt
