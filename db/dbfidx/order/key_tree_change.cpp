// Insertion and removal of keys. A removed key's page is never merged with a neighbour: an empty
// page disappears and its parent takes over the subtree that is left of it.
#include <algorithm>
#include <cstring>

#include "core/operators.h"
#include "db/dbfidx/order/key_tree.h"

namespace tarnel {
namespace {

// A page with one key too many, and the child behind.
constexpr std::size_t kOverfullPage = 1024;

}  // namespace

// --- Sectors.

// A sector for a new page, 0 on failure.
std::uint32_t KeyTree::allocate() {
  counts_changed_ = true;
  const std::uint32_t sector = header_.freeList;
  if (sector == 0) {
    if (header_.nextSector == UINT32_MAX) fail(header_.nextSector);
    return failed_ < 0 ? header_.nextSector++ : 0;
  }
  const bool in_use = std::any_of(path_.begin(), path_.end(),
                                  [=](const Step& step) { return step.sector == sector; });
  if (in_use || sector < idx::kFirstPage || sector >= header_.nextSector) {
    fail(sector);
    return 0;
  }
  const std::uint8_t* p = pages_.get(sector);
  const std::uint32_t next = p != nullptr ? idx::next_free(p) : sector;
  if (next != 0 && (next < idx::kFirstPage || next >= header_.nextSector || next == sector)) {
    fail(sector);
    return 0;
  }
  header_.freeList = next;
  return sector;
}

void KeyTree::release(std::uint32_t sector, std::uint8_t* page) {
  idx::set_next_free(page, header_.freeList);
  pages_.touch(sector);
  header_.freeList = sector;
  counts_changed_ = true;
}

// Frees pages that hold no keys; each has but one child.
bool KeyTree::release_keyless(std::uint32_t sector) {
  while (sector != 0) {
    std::uint8_t* p = page(sector);
    if (p == nullptr) return false;
    if (idx::key_count(p) != 0) return fail(sector) != nullptr;
    const std::uint32_t next = idx::child(entry(p, 0));
    release(sector, p);
    sector = next;
  }
  return true;
}

// --- Insertion.

bool KeyTree::insert(const Key& key, std::uint32_t recno) {
  if (failed_ >= 0) return false;
  Item item{0, 0, recno, bytes_to_store(key, header_), {}};
  std::memcpy(item.key, key.bytes, item.size);
  counts_changed_ = true;
  if (header_.root == 0) {
    header_.keyCount = 1;
    return make_root(item);
  }
  assert(between_ && !path_.empty());
  const std::uint8_t* e = here();
  if (e == nullptr) return false;
  ++header_.keyCount;
  item.left = item.right = idx::child(e);
  const bool done = put(item);
  leave();
  if constexpr (kChecked) check_tree();
  return done;
}

bool KeyTree::make_root(const Item& item) {
  if (header_.root == 0) header_.root = allocate();
  if (header_.root == 0) return false;
  put_in(pages_.fresh(header_.root), 0, item);
  pages_.touch(header_.root);
  return true;
}

// Moves the entries from `pos` on one place up and puts the item between its subtrees. Bytes of the
// place that a short key does not cover stay as they were.
void KeyTree::put_in(std::uint8_t* page, std::uint32_t pos, const Item& item) const {
  const std::uint32_t count = idx::key_count(page);
  std::uint8_t* gap = entry(page, pos);
  idx::set_child(gap, item.right);
  std::memmove(entry(page, pos + 1), gap, (count - pos) * stride_ + 4);
  idx::set_child(gap, item.left);
  idx::set_record(gap, item.recno);
  std::memcpy(idx::key_of(gap), item.key, item.size);
  idx::set_key_count(page, count + 1);
}

// Puts the item where the cursor stands, and what splits raise into the pages above.
bool KeyTree::put(Item& item) {
  for (std::size_t level = path_.size(); level-- > 0;) {
    const Step at = path_[level];
    std::uint8_t* p = page(at.sector);
    if (p == nullptr) return false;
    if (idx::key_count(p) < capacity()) {
      put_in(p, at.pos, item);
      pages_.touch(at.sector);
      return true;
    }
    std::uint8_t full[kOverfullPage] = {};
    std::memcpy(full, p, idx::kSectorSize);
    put_in(full, at.pos, item);
    if (!split(level, p, full, item)) return false;
  }
  return make_root(item);
}

// Parts an overfull page in two, with one key raised between them. A new root takes its sector
// before the right page does.
bool KeyTree::split(std::size_t level, std::uint8_t* page, std::uint8_t* full, Item& raised) {
  const std::uint32_t sector = path_[level].sector;
  Step up = level > 0 ? path_[level - 1] : Step{};
  if (level == 0) {
    up.sector = header_.root = allocate();
    if (up.sector == 0) return false;
  }
  const std::uint32_t staying = idx::key_count(full) - 1, mid = staying / 2;
  const std::uint8_t* middle = entry(full, mid);
  raised.left = raised.right = sector;
  raised.recno = idx::record(middle);
  raised.size = header_.keySize;
  std::memcpy(raised.key, idx::key_of(middle), raised.size);
  std::uint8_t* right = page;
  if (mid > 0) {
    idx::set_key_count(full, mid);
    idx::set_parent(full, up.sector, up.pos);
    std::memcpy(page, full, idx::kSectorSize);
    pages_.touch(sector);
    raised.right = allocate();
    if (raised.right == 0) return false;
    right = pages_.fresh(raised.right);
  } else {
    // Pages of one key: no empty page is left behind, the page itself becomes the right one.
    raised.left = idx::child(middle);
  }
  const std::uint32_t moved = staying - mid;
  std::memmove(entry(full, 0), entry(full, mid + 1), moved * stride_ + 4);
  idx::set_key_count(full, moved);
  idx::set_parent(full, up.sector, up.pos + 1);
  idx::set_child(entry(full, moved + 1), 0);
  std::memcpy(right, full, idx::kSectorSize);
  pages_.touch(raised.right);
  return true;
}

// --- Removal.

bool KeyTree::set_record(std::uint32_t recno) {
  assert(on_key());
  idx::set_record(here(), recno);
  pages_.touch(path_.back().sector);
  return true;
}

// The checks build walks small trees after each change.
void KeyTree::check_tree() {
  constexpr std::uint32_t kMost = 200;
  if (damaged_orders || failed_ >= 0 || foreign_ || header_.keyCount > kMost ||
      collation_ != collation())
    return;
  std::uint8_t before[idx::kEntryHead + idx::kMaxKeyBytes];
  std::uint32_t n = 0;
  for (bool on = go_first(); on; on = exclusive() ? step_anywhere() : step_forward(), ++n) {
    const std::uint8_t* at = here();
    if (at == nullptr) return;
    check(n == 0 || entries_ascend(before, at, header_), "key tree: keys out of order");
    std::memcpy(before, at, stride_);
  }
  check(failed_ >= 0 || n == header_.keyCount, "key tree: another number of keys than counted");
  leave();
}

bool KeyTree::remove() {
  assert(on_key());
  std::uint8_t* e = here();
  if (e == nullptr) return false;
  const std::size_t depth = path_.size();
  bool done = true;
  if (const std::uint32_t below = idx::child(e); below != 0) {
    if (last_below()) {
      done = take_predecessor(depth);
    } else {
      done = failed_ < 0 && release_keyless(below);
      if (done) idx::set_child(here(), 0);
    }
  }
  done = done && drop_entry();
  leave();
  if constexpr (kChecked) check_tree();
  return done;
}

// The key under the cursor, the last one below the entry at the end of the path's first `depth`
// steps, takes that entry's place; it is itself to be dropped then.
bool KeyTree::take_predecessor(std::size_t depth) {
  const std::uint8_t* e = here();
  const std::uint32_t recno = idx::record(e);
  std::uint8_t key[idx::kMaxKeyBytes];
  std::memcpy(key, idx::key_of(e), header_.keySize);
  // Whatever is behind the last key holds none.
  Step& at = path_.back();
  ++at.pos;
  const std::uint32_t behind = idx::child(here());
  if (behind != 0) idx::set_child(here(), 0);
  --at.pos;
  if (behind != 0 && !release_keyless(behind)) return false;
  const Step& target = path_[depth - 1];
  std::uint8_t* p = page(target.sector);
  if (p == nullptr) return false;
  std::uint8_t* freed = entry(p, target.pos);
  idx::set_record(freed, recno);
  std::memcpy(idx::key_of(freed), key, header_.keySize);
  pages_.touch(target.sector);
  return true;
}

// Takes the entry under the cursor out of its page, and the page out of the tree when it was the
// last one there.
bool KeyTree::drop_entry() {
  const Step at = path_.back();
  std::uint8_t* p = page(at.sector);
  if (p == nullptr) return false;
  const std::uint32_t count = idx::key_count(p);
  if (at.pos >= count) return fail(at.sector) != nullptr;
  std::uint8_t* e = entry(p, at.pos);
  const std::uint32_t left = idx::child(e);
  std::memmove(e, entry(p, at.pos + 1), (count - at.pos - 1) * stride_ + 4);
  // The entry that moves up may have nothing below: what was below the dropped one is its now.
  if (idx::child(e) == 0) idx::set_child(e, left);
  idx::set_key_count(p, count - 1);
  pages_.touch(at.sector);
  counts_changed_ = true;
  if (header_.keyCount > 0) --header_.keyCount;
  if (count > 1 || path_.size() == 1) return true;
  const std::uint32_t rest = idx::child(entry(p, 0));
  release(at.sector, p);
  const Step up = path_[path_.size() - 2];
  p = page(up.sector);
  if (p == nullptr) return false;
  idx::set_child(entry(p, up.pos), rest);
  pages_.touch(up.sector);
  return true;
}

void KeyTree::clear() {
  pages_.forget();
  header_.keyCount = header_.root = header_.freeList = 0;
  header_.nextSector = idx::kFirstPage;
  counts_changed_ = true;
  stored_counts_ = {};
  failed_ = -1;
  leave();
}

}  // namespace tarnel
