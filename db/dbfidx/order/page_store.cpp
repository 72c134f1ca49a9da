#include "db/dbfidx/order/page_store.h"

#include <algorithm>
#include <cassert>

#include "core/file_ops.h"

namespace tarnel {
namespace {

std::int64_t place_of(std::uint32_t sector) {
  return std::int64_t{sector} * static_cast<std::int64_t>(idx::kSectorSize);
}

}  // namespace

void PageStore::open(int fd, bool exclusive) {
  *this = PageStore();
  fd_ = fd;
  exclusive_ = exclusive;
  if (exclusive) return;
  mapped_ = MappedFile(fd);
  slot_pages_.resize(kSlots * idx::kSectorSize);
}

// --- Exclusive use.

PageStore::Chunk& PageStore::chunk_of(std::uint32_t sector) {
  const std::size_t c = sector / kChunkPages;
  if (c >= chunks_.size()) chunks_.resize(c + 1);
  if (chunks_[c] == nullptr) {
    chunks_[c] = std::make_unique_for_overwrite<Chunk>();
    chunks_[c]->loaded = chunks_[c]->dirty = 0;
    ++chunk_count_;
  }
  return *chunks_[c];
}

// A chunk of which nothing is in memory is read whole.
std::uint8_t* PageStore::load(std::uint32_t sector) {
  std::uint8_t probe = 0;
  // Only for sectors that the file has: a damaged number must not cost memory.
  if (sector / kChunkPages >= chunks_.size() && !read_at(fd_, &probe, 1, place_of(sector + 1) - 1))
    return nullptr;
  Chunk& chunk = chunk_of(sector);
  if (chunk.loaded == 0) {
    const std::uint32_t first = sector - sector % kChunkPages;
    const std::int64_t got = read_some_at(fd_, chunk.pages, sizeof chunk.pages, place_of(first));
    const std::int64_t whole = got / static_cast<std::int64_t>(idx::kSectorSize);
    for (std::uint32_t i = 0; i < whole; ++i) chunk.loaded |= 1U << i;
  } else if (read_at(fd_, page_in(chunk, sector), idx::kSectorSize, place_of(sector))) {
    chunk.loaded |= bit(sector);
  }
  return (chunk.loaded & bit(sector)) != 0 ? page_in(chunk, sector) : nullptr;
}

bool PageStore::write_chunk(std::uint32_t first, Chunk& chunk) {
  for (std::uint32_t i = 0; i < kChunkPages;) {
    if ((chunk.dirty >> i & 1) == 0) {
      ++i;
      continue;
    }
    const std::uint32_t start = i;
    while (i < kChunkPages && (chunk.dirty >> i & 1) != 0) ++i;
    if (!write_at(fd_, chunk.pages + start * idx::kSectorSize, (i - start) * idx::kSectorSize,
                  place_of(first + start)))
      return false;
  }
  chunk.dirty = 0;
  return true;
}

// --- Shared use.

// The slot of a sector, kSlots for none.
std::size_t PageStore::slot_of(std::uint32_t sector) const {
  std::size_t slot = 0;
  while (slot < kSlots && slot_sectors_[slot] != sector) ++slot;
  return slot;
}

bool PageStore::write_slot(std::size_t slot) {
  if ((slots_dirty_ >> slot & 1) == 0) return true;
  slots_dirty_ &= ~(1U << slot);
  return write_at(fd_, page_in_slot(slot), idx::kSectorSize, place_of(slot_sectors_[slot]));
}

std::size_t PageStore::take_slot(std::uint32_t sector) {
  const auto oldest = std::min_element(slot_used_.begin(), slot_used_.end());
  const auto slot = static_cast<std::size_t>(oldest - slot_used_.begin());
  if (!write_slot(slot)) failed_ = true;
  slot_used_[slot] = ++clock_;
  slot_sectors_[slot] = sector;
  return slot;
}

std::uint8_t* PageStore::get_slot(std::uint32_t sector) {
  std::size_t slot = slot_of(sector);
  if (slot < kSlots) {
    slot_used_[slot] = ++clock_;
    return page_in_slot(slot);
  }
  slot = take_slot(sector);
  if (fetch(page_in_slot(slot), idx::kSectorSize, place_of(sector))) return page_in_slot(slot);
  slot_sectors_[slot] = 0;
  return nullptr;
}

// --- Both.

bool PageStore::fetch(void* to, std::size_t n, std::int64_t at) {
  return mapped_.read(to, n, at) || read_at(fd_, to, n, at);
}

std::uint8_t* PageStore::fresh(std::uint32_t sector) {
  std::uint8_t* page;
  if (exclusive_) {
    Chunk& chunk = chunk_of(sector);
    chunk.loaded |= bit(sector);
    page = page_in(chunk, sector);
  } else {
    const std::size_t slot = slot_of(sector);
    page = page_in_slot(slot < kSlots ? slot : take_slot(sector));
  }
  std::memset(page, 0, idx::kSectorSize);
  return page;
}

void PageStore::touch(std::uint32_t sector) {
  changed_ = true;
  if (exclusive_) {
    assert(sector / kChunkPages < chunks_.size() && chunks_[sector / kChunkPages] != nullptr);
    Chunk& chunk = *chunks_[sector / kChunkPages];
    if (chunk.dirty == 0) dirty_chunks_.push_back(sector / kChunkPages);
    chunk.dirty |= bit(sector);
  } else {
    const std::size_t slot = slot_of(sector);
    assert(slot < kSlots);
    slots_dirty_ |= 1U << slot;
  }
}

bool PageStore::flush() {
  if (!changed_) return true;
  bool written = !failed_;
  for (std::size_t slot = 0; slots_dirty_ != 0; ++slot) written &= write_slot(slot);
  std::sort(dirty_chunks_.begin(), dirty_chunks_.end());
  std::erase_if(dirty_chunks_, [&](std::uint32_t c) {
    const bool done = write_chunk(c * kChunkPages, *chunks_[c]);
    written &= done;
    return done;
  });
  changed_ = !dirty_chunks_.empty();  // tried again
  failed_ = false;
  return written;
}

void PageStore::forget() {
  slot_sectors_.fill(0);
  slots_dirty_ = 0;
  chunks_.clear();
  dirty_chunks_.clear();
  chunk_count_ = 0;
  changed_ = failed_ = false;
}

}  // namespace tarnel
