// The keys of one order: the B-tree in its .idx file, with a cursor on one of its keys. It knows
// nothing of tables and raises no errors: what fails, because the file can't be read or contradicts
// itself, is told by failed_sector(), and from then on nothing is found.
//
// Equal keys stand in ascending order of their records. The way from the root to the cursor is kept
// as a path; the links to parents that stand in the pages are mended on the way down and otherwise
// not used.
#pragma once

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdint>
#include <vector>

#include "core/checks.h"
#include "db/dbfidx/format/idx_format.h"
#include "db/dbfidx/order/key.h"
#include "db/dbfidx/order/page_store.h"

namespace tarnel {

enum class Hit : bool { kAny, kFirst };

class KeyTree {
 public:
  // Takes a file whose header was read and found good. Exclusive: nobody else uses the file, and
  // changes reach it with flush().
  void attach(int fd, idx::Header header, bool exclusive);

  // From now on nothing is found.
  void close() {
    forget();
    failed_ = 0;
  }

  // Begins the work under one internal lock: what others may have changed meanwhile is forgotten.
  // `may_write`: changed pages, mended links among them, may go to the file.
  void begin(bool may_write) {
    may_write_ = may_write;
    if (!exclusive())
      forget();
    else if (pages_.crowded())
      trim();
  }
  void allow_writes(bool may_write) { may_write_ = may_write; }
  // Writes what was changed under the lock, in exclusive use all that was changed. False on a
  // write error.
  bool flush();

  const idx::Header& header() const { return header_; }
  idx::Header& header() { return header_; }
  bool exclusive() const { return pages_.exclusive(); }
  bool changed() const { return counts_changed_ || pages_.changed(); }
  // The collation in force is not that of the keys: their order can't be looked at.
  void keys_are_foreign() { foreign_ = true; }
  // Reads the counts in the header anew, once under a lock.
  void refresh() {
    if (!exclusive() && !counts_fresh_) read_counts();
    if (header_.nextSector > known_sectors_) check_length();
  }
  std::uint32_t keys() const { return header_.keyCount; }
  // No sector failed: -1.
  std::int64_t failed_sector() const { return failed_; }

  // Bytes of the file as they stand there now. False when it does not have them.
  bool fetch(void* to, std::size_t n, std::int64_t at) { return pages_.fetch(to, n, at); }

  // --- Search. On a miss the cursor stands between two keys.
  bool seek(const KeyComparer& compare, Hit hit);
  bool seek_exact(const KeyComparer& compare, std::uint32_t recno);

  // --- Walking. False when there is no further key; the cursor is then nowhere. In shared use a step
  // that does not go on in the order of the keys is a failure: a damaged file could lead a walk of many
  // operations in a circle, and others may add keys for ever, so that no number of steps is too many.
  bool go_first();
  bool go_last();
  // The usual step, to the next key of a leaf. False: nothing was done.
  bool step_in_leaf() {
    if (path_.empty() || between_ || steps_ >= header_.keyCount) return false;
    Step& at = path_.back();
    const std::uint8_t* p = last_page();
    if (p == nullptr || at.pos + 1 >= idx::key_count(p) || idx::child(entry(p, at.pos + 1)) != 0)
      return false;
    ++at.pos;
    ++steps_;
    return true;
  }
  bool step_forward() {
    return exclusive() ? step_in_leaf() || step_anywhere() : step_checked(Way::kForward);
  }
  bool step_back() { return exclusive() ? to_previous() : step_checked(Way::kBack); }

  // The cursor is nowhere; a step finds nothing.
  void leave();

  // Does the cursor stand on a key, on that of this record?
  bool on_key() {
    if (path_.empty() || between_) return false;
    const std::uint8_t* p = last_page();
    return p != nullptr && path_.back().pos < idx::key_count(p);
  }
  bool on_record(std::uint32_t recno) { return on_key() && record() == recno; }
  // REQUIRES: on_key()
  std::uint32_t record() { return assert(on_key()), idx::record(here()); }
  const std::uint8_t* key() { return assert(on_key()), idx::key_of(here()); }

  // --- Changes. False on failure.
  // Puts a key where the cursor stands. REQUIRES: a search for it just missed.
  bool insert(const Key& key, std::uint32_t recno);
  // REQUIRES: on_key()
  bool set_record(std::uint32_t recno);
  bool remove();
  // Drops all keys.
  void clear();

 private:
  struct Step {
    std::uint32_t sector;
    std::uint32_t pos;   // of the key, or of the child gone down into
    std::uint8_t* page;  // exclusive use: pages stay where they are; else null
  };
  struct Item {  // a key on its way into a page, and the subtrees on its two sides
    std::uint32_t left, right, recno;
    std::size_t size;
    std::uint8_t key[idx::kMaxKeyBytes];
  };
  struct Bound {
    std::uint32_t pos;
    bool equal;
  };

  template <typename Page>
  Page* entry(Page* page, std::uint32_t i) const {
    return idx::entry(page, stride_, i);
  }
  std::uint8_t* page(std::uint32_t sector);
  std::uint8_t* last_page() {  // that of the cursor
    const Step& at = path_.back();
    return at.page != nullptr ? at.page : page(at.sector);
  }
  // Keys that a page takes before it is split.
  std::uint32_t capacity() const { return std::min(header_.maxKeys, kMostKeysAPage); }
  void check_tree();  // keys ascend, and there are as many as the header says
  std::array<std::uint32_t, 4> counts() const {
    return {header_.keyCount, header_.root, header_.freeList, header_.nextSector};
  }
  std::uint8_t* here() {
    std::uint8_t* p = last_page();
    return p != nullptr ? entry(p, path_.back().pos) : nullptr;
  }
  void forget();
  void trim();
  void read_counts();
  void check_length();
  std::nullptr_t fail(std::uint32_t sector);
  std::uint8_t* enter(std::uint32_t sector);
  template <typename Compare>
  Bound lower_bound(const std::uint8_t* page, Compare compare) const;
  template <typename Compare>
  bool descend(Compare compare, Hit hit);
  bool first_below();
  bool last_below();
  bool step_anywhere();
  bool settle_forward();
  bool to_previous();
  enum class Way : bool { kForward, kBack };
  bool step_checked(Way way);

  std::uint32_t allocate();
  void release(std::uint32_t sector, std::uint8_t* page);
  bool release_keyless(std::uint32_t sector);
  bool make_root(const Item& item);
  void put_in(std::uint8_t* page, std::uint32_t pos, const Item& item) const;
  bool put(Item& item);
  bool split(std::size_t level, std::uint8_t* page, std::uint8_t* full, Item& raised);
  bool take_predecessor(std::size_t depth);
  bool drop_entry();

  idx::Header header_;
  std::size_t stride_ = idx::kEntryHead;
  PageStore pages_;
  int fd_ = -1;
  bool may_write_ = false;
  bool foreign_ = false;
  const unsigned char* collation_ = nullptr;  // when the file was opened
  bool counts_fresh_ = false, counts_changed_ = false;
  std::array<std::uint32_t, 4> stored_counts_{};  // as they stand in the file
  std::uint32_t known_sectors_ = 0;               // the file was seen to be about that long
  std::int64_t failed_ = -1;

  std::vector<Step> path_;  // from the root; empty: nowhere
  bool between_ = false;    // the cursor stands before the key at the end of the path
  std::int64_t steps_ = 0;  // forward less backward, since the cursor was placed
};

}  // namespace tarnel
