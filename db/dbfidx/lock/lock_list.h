// Who holds which locks on an open table, for a person to see.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "db/dbfidx/dbfidx.h"

namespace tarnel {

struct HeldLock {
  pid_t process = 0;   // below 1: on another machine, or hidden
  bool waits = false;  // for others that hold it
  std::string what;    // "open", "alone", "record 7", "records 7 to 9", "file", "reads", "writes"
};

// By process; all that the system tells, those of this process among them. Where the system has no list of
// locks, or the holders are on other machines, one of several that share a range is told.
// REQUIRES: the table is open.
std::vector<HeldLock> locks_on(const DbfIdx& dbf);

}  // namespace tarnel
