// Search and walking. The changes are in key_tree_change.cpp.
#include "db/dbfidx/order/key_tree.h"

#include <sys/stat.h>

#include <utility>

#include "core/file_ops.h"
#include "core/operators.h"

namespace tarnel {
namespace {

// Sectors that a header may count and the file not yet have: a crash can lie between the two.
constexpr std::uint32_t kUnwrittenSectors = 64;

}  // namespace

void KeyTree::attach(int fd, idx::Header header, bool exclusive) {
  *this = KeyTree();
  fd_ = fd;
  header_ = std::move(header);
  stride_ = header_.stride();
  pages_.open(fd, exclusive);
  stored_counts_ = counts();
  collation_ = collation();
  path_.reserve(32);
}

void KeyTree::forget() {
  pages_.forget();
  counts_fresh_ = false;
  leave();
}

void KeyTree::trim() {
  if (pages_.flush())
    forget();
  else
    fail(0);
}

bool KeyTree::flush() {
  if (!changed()) return true;
  bool written = pages_.flush();
  // A key that moves leaves the counts as they were.
  if (written && counts_changed_ && counts() != stored_counts_) {
    written = idx::write_counts(fd_, header_);
    if (written) stored_counts_ = counts();
  }
  if (written) counts_changed_ = false;  // else it is tried again
  return written;
}

void KeyTree::read_counts() {
  std::uint8_t bytes[idx::kCountsSize];
  if (pages_.fetch(bytes, sizeof bytes, idx::kCountsAt))
    idx::get_counts(bytes, header_);
  else
    fail(0);
  stored_counts_ = counts();
  counts_fresh_ = true;
}

// A count of sectors that the file could not have: no walk may be bounded by it.
void KeyTree::check_length() {
  struct stat status {};
  if (file_ops().fstat(fd_, &status) != 0) return;
  const std::int64_t sectors =
      status.st_size / static_cast<std::int64_t>(idx::kSectorSize) + kUnwrittenSectors;
  if (header_.nextSector > sectors && !exclusive())
    fail(header_.nextSector);
  else if (header_.nextSector > sectors && known_sectors_ == 0)
    fail(header_.nextSector);
  else
    known_sectors_ = static_cast<std::uint32_t>(
        std::max<std::int64_t>(header_.nextSector, std::min<std::int64_t>(sectors, UINT32_MAX)));
}

// --- Pages and the path.

std::nullptr_t KeyTree::fail(std::uint32_t sector) {
  if (failed_ < 0) failed_ = sector;
  leave();
  return nullptr;
}

void KeyTree::leave() {
  path_.clear();
  between_ = false;
  steps_ = 0;
}

std::uint8_t* KeyTree::page(std::uint32_t sector) {
  if (sector < idx::kFirstPage || sector >= header_.nextSector) return fail(sector);
  std::uint8_t* p = pages_.get(sector);
  return p != nullptr && idx::key_count(p) <= header_.maxKeys ? p : fail(sector);
}

// Goes down into a child of the cursor's place, mending the child's links to its parent.
std::uint8_t* KeyTree::enter(std::uint32_t sector) {
  // A path longer than the file has pages goes in a circle.
  if (path_.size() > header_.nextSector - idx::kFirstPage) return fail(sector);
  std::uint8_t* p = page(sector);
  if (p == nullptr) return nullptr;
  const Step up = path_.empty() ? Step{} : path_.back();
  if (idx::parent(p) != up.sector || idx::parent_place(p) != up.pos) {
    idx::set_parent(p, up.sector, up.pos);
    if (may_write_) pages_.touch(sector);
  }
  path_.push_back({sector, 0, exclusive() ? p : nullptr});
  return p;
}

// --- Search.

template <typename Compare>
KeyTree::Bound KeyTree::lower_bound(const std::uint8_t* page, Compare compare) const {
  Bound bound{0, false};
  for (std::uint32_t n = idx::key_count(page); n > 0;) {
    const std::uint32_t half = n / 2;
    const int result = compare(entry(page, bound.pos + half));
    if (result > 0) {
      bound.pos += half + 1;
      n -= half + 1;
    } else {
      bound.equal = result == 0;
      n = half;
    }
  }
  return bound;
}

template <typename Compare>
bool KeyTree::descend(Compare compare, Hit hit) {
  leave();
  std::size_t hit_depth = 0;
  for (std::uint32_t sector = failed_ < 0 ? header_.root : 0; sector != 0;) {
    const std::uint8_t* p = enter(sector);
    if (p == nullptr) return false;
    const Bound bound = lower_bound(p, compare);
    path_.back().pos = bound.pos;
    if (bound.equal) hit_depth = path_.size();
    if (bound.equal && hit == Hit::kAny) break;
    sector = idx::child(entry(p, bound.pos));
  }
  between_ = hit_depth == 0;
  if (hit_depth != 0) path_.resize(hit_depth);
  return hit_depth != 0;
}

bool KeyTree::seek(const KeyComparer& compare, Hit hit) {
  return descend([&](const std::uint8_t* e) { return compare(idx::key_of(e)); }, hit);
}

bool KeyTree::seek_exact(const KeyComparer& compare, std::uint32_t recno) {
  const auto with_record = [&](const std::uint8_t* e) {
    const int result = compare(idx::key_of(e));
    if (result != 0) return result;
    const std::uint32_t other = idx::record(e);
    return recno > other ? 1 : recno < other ? -1 : 0;
  };
  return descend(with_record, Hit::kAny);
}

// --- Walking.

// Down from the child before the cursor to its last key. False when no key is below; the cursor is
// then where it was.
bool KeyTree::last_below() {
  const std::size_t depth = path_.size();
  for (std::uint32_t sector = idx::child(here()); sector != 0;) {
    const std::uint8_t* p = enter(sector);
    if (p == nullptr) return false;
    path_.back().pos = idx::key_count(p);
    sector = idx::child(entry(p, path_.back().pos));
  }
  while (path_.size() > depth && path_.back().pos == 0) path_.pop_back();
  if (path_.size() == depth) return false;
  --path_.back().pos;
  return true;
}

// Down from the child before the cursor as far as it goes on the left.
bool KeyTree::first_below() {
  for (std::uint32_t sector = idx::child(here()); sector != 0;) {
    const std::uint8_t* p = enter(sector);
    if (p == nullptr) return false;
    sector = idx::child(entry(p, 0));
  }
  return true;
}

// From a place behind the last key of a page up to the next key.
bool KeyTree::settle_forward() {
  between_ = false;
  while (!path_.empty()) {
    const std::uint8_t* p = last_page();
    if (p == nullptr) return false;
    if (path_.back().pos < idx::key_count(p)) {
      // In a whole file no walk is longer than it has keys.
      if (++steps_ > header_.keyCount) fail(path_.back().sector);
      return failed_ < 0;
    }
    path_.pop_back();
  }
  return false;
}

bool KeyTree::step_anywhere() {
  if (path_.empty()) return false;
  if (!between_) {
    const std::uint8_t* p = last_page();
    if (p == nullptr) return false;
    Step& at = path_.back();
    if (at.pos < idx::key_count(p)) ++at.pos;
    if (!first_below()) return false;
  }
  return settle_forward();
}

bool KeyTree::to_previous() {
  if (path_.empty()) return false;
  between_ = false;
  if (here() == nullptr) return false;
  bool found = last_below();
  while (!found && !path_.empty()) {
    if (path_.back().pos > 0) {
      --path_.back().pos;
      found = true;
    } else {
      path_.pop_back();
    }
  }
  if (found && --steps_ < -std::int64_t{header_.keyCount}) fail(path_.back().sector);
  return found && failed_ < 0;
}

bool KeyTree::go_first() {
  refresh();
  leave();
  if (failed_ >= 0 || header_.keyCount == 0 || header_.root == 0) return false;
  return enter(header_.root) != nullptr && first_below() && settle_forward();
}

bool KeyTree::go_last() {
  refresh();
  leave();
  if (failed_ >= 0 || header_.keyCount == 0 || header_.root == 0) return false;
  const std::uint8_t* p = enter(header_.root);
  if (p == nullptr) return false;
  path_.back().pos = idx::key_count(p);
  return to_previous();
}

bool KeyTree::step_checked(Way way) {
  const bool comparable = on_key() && !foreign_ && collation_ == collation();
  std::uint8_t from[idx::kEntryHead + idx::kMaxKeyBytes];
  if (comparable) std::memcpy(from, here(), stride_);
  const bool forward = way == Way::kForward;
  if (!(forward ? step_in_leaf() || step_anywhere() : to_previous())) return false;
  const std::uint8_t* to = here();
  if (to == nullptr) return false;
  if (!comparable || entries_ascend(forward ? from : to, forward ? to : from, header_)) return true;
  return fail(path_.back().sector) != nullptr;
}

}  // namespace tarnel
