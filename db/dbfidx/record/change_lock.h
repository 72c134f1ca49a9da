// The lock under which one record is changed.
#pragma once

#include <cassert>
#include <cstdint>

#include "db/dbfidx/dbfidx.h"

namespace tarnel {

// May the record under the cursor be changed? The guard holds the automatic lock that a change takes when
// the record is not locked. Errors of checkReplace().
class ChangeLock {
 public:
  explicit ChangeLock(DbfIdx& dbf)
      : dbf_(dbf), same_(dbf), record_(dbf.recNo), state_(checkReplace(dbf)) {}
  // Left by break: neither the lock may stay nor, without it, a change that is not written.
  ~ChangeLock() {
    if (state_ <= 0 || !same_.holds()) return;
    if (dbf_.buffer.changed() && dbf_.buffer.number() == record_) dbf_.buffer.forget();
    unlockRecord(dbf_, record_);
  }
  ChangeLock(const ChangeLock&) = delete;
  ChangeLock& operator=(const ChangeLock&) = delete;

  bool granted() const { return state_ >= 0; }
  // Gives an automatic lock back, which writes the record. REQUIRES: the cursor stands on the record.
  void release() {
    assert(state_ <= 0 || !same_.holds() || dbf_.recNo == record_);
    if (state_ > 0 && same_.holds()) release_auto_lock(dbf_);
    state_ = 0;
  }

 private:
  DbfIdx& dbf_;
  const SameTable same_;
  const std::int32_t record_;
  int state_;
};

}  // namespace tarnel
