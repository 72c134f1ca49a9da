// A table with memos and orders whose files can be put back, for tests that let calls fail.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/db/table_files.h"
#include "tests/db/table_test.h"

namespace tarnel::testing {

using Records = std::vector<std::string>;

class OrderedTable : public TableTest {
 protected:
  // The table t, left open for this process alone; record i has 10 * i, "wi" and this memo.
  void make(int records, const std::function<std::string(int)>& note) {
    ASSERT_TRUE(create("t", {{"n", "N", 5, 0}, {"who", "C", 6, 0}, {"note", "M", 10, 0}}));
    ASSERT_TRUE(open("t", Use::kExclusive));
    for (int i = 1; i <= records; ++i) {
      call("dbappend");
      put("n", integer(10 * i));
      put("who", text("w" + std::to_string(i)));
      put("note", text(note(i)));
    }
  }
  void put_back() {
    close_all_areas();
    write_files(saved_);
  }
  static void expect_orders_agree_or_differ(const Records& records) {
    EXPECT_EQ(order_fault("byn.idx", "t.dbf", records, {1, 5}), "");
    EXPECT_EQ(order_fault("bywho.idx", "t.dbf", records, {6, 6}), "");
  }

  Files saved_;
};

}  // namespace tarnel::testing
