// Does a file system keep the locks that tables need? Two processes take, refuse and give back every kind of
// lock on a file of their own.
#pragma once

#include <string>

#include "db/dbfidx/check/findings.h"

namespace tarnel {

struct LockTestResult {
  int system_error = 0;  // why nothing could be tried, 0 none
  int passed = 0, failed = 0;
  double own = 0;        // microseconds to take a lock and give it back
  double handed_on = 0;  // microseconds until who waits for a lock has it
};

// Tries them in a directory, where it makes a file that is removed again. A line for each kind of lock.
LockTestResult test_locks(const std::string& directory, const TellLine& tell);

}  // namespace tarnel
