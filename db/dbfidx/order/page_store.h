// The pages of one .idx file in memory.
//
// A file that others may change keeps a few pages, for the time of one internal lock: what was read
// under it cannot have changed. An exclusive one keeps every page that was asked for, in chunks of
// neighbours, and writes the changed ones when it is flushed.
//
// A page is the first 512 bytes of what a pointer given here names. In shared use it stays valid
// while fewer than kSlots other pages are asked for, in exclusive use until forget().
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "db/dbfidx/format/idx_format.h"
#include "db/mapped_file.h"

namespace tarnel {

class PageStore {
 public:
  void open(int fd, bool exclusive);
  bool exclusive() const { return exclusive_; }

  // The page of a sector; null when the file does not have it.
  std::uint8_t* get(std::uint32_t sector) {
    if (!exclusive_) return get_slot(sector);
    const std::size_t c = sector / kChunkPages;
    if (c < chunks_.size() && chunks_[c] != nullptr && (chunks_[c]->loaded & bit(sector)) != 0)
      return page_in(*chunks_[c], sector);
    return load(sector);
  }
  // A page of zeros for a sector whose contents do not matter.
  std::uint8_t* fresh(std::uint32_t sector);
  // The page was changed. REQUIRES: it is in memory.
  void touch(std::uint32_t sector);
  bool changed() const { return changed_; }

  // Bytes of the file as they stand there now.
  bool fetch(void* to, std::size_t n, std::int64_t at);

  // Writes the changed pages; false when one could not be written.
  bool flush();
  // Forgets all pages, the changed ones too.
  void forget();
  // Exclusive use: too many pages are in memory. After a flush they can be forgotten.
  bool crowded() const { return chunk_count_ > kMostChunks; }

 private:
  static constexpr std::uint32_t kChunkPages = 32;
  static constexpr std::size_t kSlots = 16;
  static constexpr std::size_t kMostChunks = 32 * 1024;  // 512 MiB

  struct Chunk {
    std::uint32_t loaded = 0, dirty = 0;  // a bit for each page
    std::uint8_t pages[kChunkPages * idx::kSectorSize];
  };
  static std::uint32_t bit(std::uint32_t sector) { return 1U << sector % kChunkPages; }
  static std::uint8_t* page_in(Chunk& chunk, std::uint32_t sector) {
    return chunk.pages + sector % kChunkPages * idx::kSectorSize;
  }

  std::uint8_t* load(std::uint32_t sector);
  Chunk& chunk_of(std::uint32_t sector);
  std::size_t slot_of(std::uint32_t sector) const;
  std::size_t take_slot(std::uint32_t sector);
  std::uint8_t* page_in_slot(std::size_t slot) { return &slot_pages_[slot * idx::kSectorSize]; }
  bool write_slot(std::size_t slot);
  std::uint8_t* get_slot(std::uint32_t sector);
  bool write_chunk(std::uint32_t first, Chunk& chunk);

  int fd_ = -1;
  bool exclusive_ = false;
  MappedFile mapped_;  // shared use
  bool changed_ = false;
  bool failed_ = false;  // a changed page could not be written
  std::vector<std::unique_ptr<Chunk>> chunks_;
  std::size_t chunk_count_ = 0;
  std::vector<std::uint32_t> dirty_chunks_;
  std::array<std::uint32_t, kSlots> slot_sectors_{};  // 0: free
  std::uint32_t slots_dirty_ = 0;                     // a bit for each slot
  std::array<std::uint64_t, kSlots> slot_used_{};     // when it was last asked for
  std::uint64_t clock_ = 0;
  std::vector<std::uint8_t> slot_pages_;
};

}  // namespace tarnel
