// The other half of fail_each_call(): the process dies before the nth call of the file operations.
#pragma once

#include "tests/db/table_test.h"
#include "tests/support/fail_nth.h"

namespace tarnel::testing {

// For every n a process of its own runs prepare() and then `operation`, and dies before the nth call of that;
// then comes check(n), here. Ends with the process that lives to the end, where `operation` gives true.
template <typename Prepare, typename Operation, typename Check>
void die_at_each_call(Prepare prepare, Operation operation, Check check) {
  bool finished = false;
  for (int n = 1; !finished && !::testing::Test::HasFatalFailure(); ++n) {
    SCOPED_TRACE(n);
    ASSERT_LT(n, 1000);
    finished = elsewhere([&] {
      prepare();
      const FailNth dying(kKill, n);
      return operation() && !FailNth::struck();
    });
    check(n);
  }
}

}  // namespace tarnel::testing
