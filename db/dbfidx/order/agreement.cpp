#include "db/dbfidx/order/agreement.h"

#include <algorithm>
#include <cassert>

#include "db/dbfidx/order/index_control.h"
#include "db/dbfidx/table_errors.h"

namespace tarnel {
namespace {

constexpr std::uint8_t kUnknownCounter = 0, kMark = 1, kFarCounter = 255;

[[maybe_unused]] bool may_look(const DbfIdx& dbf) {
  return dbf.exclusive() || is_locked(dbf);
}

// The counter in the order's file; -1 when it can't be read.
int read_counter(IndexControl& index) {
  std::uint8_t bytes[idx::kCounterSize];
  return index.tree.fetch(bytes, sizeof bytes, idx::kExtensionAt) ? idx::get_counter(bytes) : -1;
}

[[nodiscard]] bool store(IndexControl& index, std::uint8_t counter) {
  if (index.state.stored == counter) return true;
  const bool written = idx::write_counter(index.fd, counter);
  index.state.stored = written ? counter : -1;
  return written;
}

[[nodiscard]] bool store_mark(const DbfIdx& dbf, IndexControl& index) {
  return store(index, difference_mark(dbf.header.counter()));
}

[[nodiscard]] bool store_agreement(const DbfIdx& dbf, IndexControl& index) {
  if (index.state.changes > 0) return store_mark(dbf, index);
  switch (index.state.agreement) {
    case Agreement::kAgrees:
      return store(index, dbf.header.counter());
    case Agreement::kUnknown:
      return store(index, kUnknownCounter);
    case Agreement::kDiffers:
      break;
  }
  return store_mark(dbf, index);
}

Agreement agreement_of(int stored, std::uint8_t counter) {
  return stored == kUnknownCounter ? Agreement::kUnknown
         : stored == counter       ? Agreement::kAgrees
                                   : Agreement::kDiffers;
}

// A change begins. In use by others nothing is written for an order that agrees: the table's counter
// goes on without it.
[[nodiscard]] bool begin_change(DbfIdx& dbf, IndexControl& index) {
  const Agreement now = look_at_agreement(dbf, index);
  if (index.state.changes == 0) index.state.unwritten = false;
  if (index.state.changes++ > 0 || index.readOnly) return true;
  return (!index.exclusive() && now == Agreement::kAgrees) || store_mark(dbf, index);
}

[[nodiscard]] bool end_change(DbfIdx& dbf, IndexControl& index, bool whole) {
  if (!whole) set_different(index);
  if (--index.state.changes > 0 || index.readOnly) return true;
  index.state.counter = dbf.header.counter();
  return index.exclusive() ? store_mark(dbf, index) : store_agreement(dbf, index);
}

bool unwritable(DbfIdx& dbf, const IndexControl& index) {
  dxerror(dbf, TableError::kIndexUnwritable, {index.fileName});
  return false;
}

}  // namespace

std::uint8_t difference_mark(std::uint8_t table_counter) {
  return table_counter == kMark ? kFarCounter : kMark;
}

Agreement look_at_agreement(DbfIdx& dbf, IndexControl& index) {
  assert(may_look(dbf));
  AgreementState& state = index.state;
  if (state.changes > 0) return state.agreement;  // inside a change: what it will leave
  if (!index.exclusive()) {
    state.stored = read_counter(index);
    state.agreement = agreement_of(state.stored, dbf.header.counter());
  } else if (!dbf.exclusive() && state.counter != dbf.header.counter()) {
    set_different(index);
  }
  return state.agreement;
}

void begin_agreement(DbfIdx& dbf, IndexControl& index, std::uint8_t stored) {
  assert(may_look(dbf));
  index.state = {agreement_of(stored, dbf.header.counter()), stored, dbf.header.counter(), 0};
}

void set_different(IndexControl& index) {
  index.state.agreement = Agreement::kDiffers;
}

void set_unwritten(IndexControl& index) {
  set_different(index);
  index.state.unwritten = true;
}

// --- Building and writing.

bool begin_build(DbfIdx& dbf, IndexControl& index) {
  assert(may_look(dbf));
  set_different(index);
  index.state.counter = dbf.header.counter();
  return store_mark(dbf, index) || unwritable(dbf, index);
}

bool end_build(DbfIdx& dbf, IndexControl& index) {
  index.state.agreement = Agreement::kAgrees;
  return flush_index(dbf, index);
}

bool flush_index(DbfIdx& dbf, IndexControl& index) {
  if (index.readOnly || !index.exclusive() || index.tree.failed_sector() >= 0) return true;
  const InternalLock lock(dbf, LockMode::kShared);
  // Changes that are only pending would not be seen by who opens the order next.
  if (!lock.held() || !refresh_header(dbf) || !updateHeader(dbf) || index.closed) return false;
  look_at_agreement(dbf, index);
  return (index.tree.flush() && store_agreement(dbf, index)) || unwritable(dbf, index);
}

void leave_index(DbfIdx& dbf, IndexControl& index) {
  if (index.state.changes > 0) set_different(index);  // the change will not reach it
  if (index.exclusive()) {
    [[maybe_unused]] const bool told = flush_index(dbf, index);
    return;
  }
  if (index.state.agreement != Agreement::kDiffers || index.readOnly) return;
  if (!dbf.exclusive() && is_locked(dbf) && dbf.locks.writers == 0) return;  // never on the way up
  const InternalLock lock(dbf, LockMode::kExclusive);
  if (!lock.held() || !refresh_header(dbf)) return;
  const bool differs =
      index.state.changes > 0 || look_at_agreement(dbf, index) == Agreement::kDiffers;
  if (differs && !store_mark(dbf, index)) unwritable(dbf, index);
}

bool flush_orders(DbfIdx& dbf) {
  index_synchronize(dbf, kSyncMove);
  const SameOrders same(dbf);
  bool written = true;
  for (std::int32_t n = 1; same.holds() && n <= dbf.orderCount; ++n)
    written = flush_index(dbf, *dbf.orders[n]) && written;
  return written && same.holds();
}

void index_records_lost(DbfIdx& dbf) {
  for (std::int32_t n = 1; n <= dbf.orderCount; ++n) {
    IndexControl& index = *dbf.orders[n];
    set_different(index);
    // If that fails too, the next flush tries again and tells.
    [[maybe_unused]] const bool marked = index.readOnly || store_mark(dbf, index);
    index.oldKey.type = 'U';
  }
  dbf.orders.keysPending = false;
}

IndexState check_index(DbfIdx& dbf, IndexControl& index) {
  if (index.plain() && index.tree.keys() != static_cast<std::uint32_t>(dbf.lastRec))
    return kKeyCountMismatch;
  return look_at_agreement(dbf, index) == Agreement::kDiffers ? kCounterMismatch : kIndexGood;
}

// --- The bracket around a change.

KeyChange::KeyChange(DbfIdx& dbf)
    : dbf_(dbf), same_(dbf), counter_(dbf.header.counter()), pending_(dbf.header.pending()) {
  assert(dbf.exclusive() || dbf.locks.writers > 0);
  IndexControl* failed = nullptr;
  for (std::int32_t n = 1; n <= dbf.orderCount && failed == nullptr; ++n) {
    taken_[count_++] = dbf.orders[n];
    if (!begin_change(dbf, *dbf.orders[n])) failed = dbf.orders[n];
  }
  differing_ = count_differing();
  begun_ = failed == nullptr || unwritable(dbf, *failed);
}

KeyChange::~KeyChange() {
  [[maybe_unused]] const IndexControl* failed = end(false);  // the next change looks again
}

// The first order that refused its counter, null when none did.
IndexControl* KeyChange::end(bool whole) {
  IndexControl* failed = nullptr;
  const bool nothing_done = !begun_ || (same_.holds() && dbf_.header.counter() == counter_ &&
                                        dbf_.header.pending() == pending_);
  while (count_ > 0) {
    IndexControl* index = taken_[--count_];
    if (!index->closed && !end_change(dbf_, *index, whole || nothing_done)) failed = index;
  }
  return failed;
}

std::ptrdiff_t KeyChange::count_differing() const {
  return std::count_if(taken_, taken_ + count_, [](const IndexControl* index) {
    return index->closed || index->state.agreement == Agreement::kDiffers;
  });
}

bool KeyChange::complete() {
  assert(begun_);
  const bool all_kept = count_differing() == differing_ &&
                        std::none_of(taken_, taken_ + count_, [](const IndexControl* index) {
                          return index->state.unwritten;
                        });
  const IndexControl* failed = end(true);
  return (failed == nullptr || unwritable(dbf_, *failed)) && all_kept && same_.holds();
}

}  // namespace tarnel
