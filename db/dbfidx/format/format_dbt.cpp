#include "db/dbfidx/format/format_dbt.h"

#include <algorithm>
#include <cstring>

#include "core/file_ops.h"
#include "db/codec.h"

namespace tarnel::dbt {
namespace {

constexpr std::uint32_t kFirstBlock = 1;
constexpr char kPairSign[] = {'T', 'N', 'P', 'A', 'I', 'R', 0x1A, 0x01};
constexpr std::size_t kSignAt = 4, kSizeAt = 12, kInodeAt = 20, kHeaderAt = 28, kLengthAt = 60,
                      kNameAt = 61;
static_assert(kNameAt + kMostPairName == kBlockSize && kMostPairName > UINT8_MAX);
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

void put_pair_mark(std::uint8_t* first_block, const PairMark& mark) {
  std::memcpy(first_block + kSignAt, kPairSign, sizeof kPairSign);
  put_u64le(first_block + kSizeAt, mark.size);
  put_u64le(first_block + kInodeAt, mark.inode);
  std::memcpy(first_block + kHeaderAt, mark.header.data(), mark.header.size());
  const std::size_t length = std::min<std::size_t>(mark.name.size(), UINT8_MAX);
  first_block[kLengthAt] = static_cast<std::uint8_t>(length);
  std::memcpy(first_block + kNameAt, mark.name.data(), length);
}

int read_pair_mark(int fd, PairMark& mark) {
  std::uint8_t block[kBlockSize];
  const std::int64_t got = read_some_at(fd, block, sizeof block, 0);
  if (got < 0) return -1;
  if (got < static_cast<std::int64_t>(sizeof block) ||
      std::memcmp(block + kSignAt, kPairSign, sizeof kPairSign) != 0)
    return 0;
  mark.size = get_u64le(block + kSizeAt);
  mark.inode = get_u64le(block + kInodeAt);
  std::memcpy(mark.header.data(), block + kHeaderAt, mark.header.size());
  mark.name.assign(reinterpret_cast<const char*>(block) + kNameAt, block[kLengthAt]);
  return 1;
}

bool clear_pair_mark(int fd) {
  const std::uint8_t nothing[kBlockSize - kSignAt] = {};
  return write_at(fd, nothing, sizeof nothing, kSignAt);
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
