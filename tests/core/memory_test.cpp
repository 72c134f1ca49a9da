// The memory layer: guards, the table of live blocks, traces.
#include "core/memory.h"

#include <unistd.h>

#include "core/checks.h"
#include "tests/support/test_runtime.h"

namespace tarnel::testing {
namespace {

TEST(Memory, BlocksAreCountedWithTheirOverhead) {
  const MemoryStats before = memory_stats();
  void* empty = MEM_ALLOC(0, MemPurpose::kOther);
  EXPECT_EQ(memory_stats().live_bytes, before.live_bytes + kMemOverhead);
  empty = MEM_REALLOC(empty, 100, MemPurpose::kOther);
  EXPECT_EQ(MEM_SIZE(empty), 100U);
  EXPECT_EQ(memory_stats().live_bytes, before.live_bytes + 100 + kMemOverhead);
  MEM_FREE(empty);
  EXPECT_EQ(memory_stats().live_bytes, before.live_bytes);
}

TEST(Memory, WhatCannotBeHadGivesNullAndLeavesTheOldBlock) {
  EXPECT_EQ(MEM_ALLOC(std::size_t{1} << 40, MemPurpose::kOther, MemSeverity::kMay), nullptr);
  auto* block = static_cast<char*>(MEM_ALLOC(4, MemPurpose::kOther));
  std::memcpy(block, "abc", 4);
  EXPECT_EQ(MEM_REALLOC(block, std::size_t{1} << 40, MemPurpose::kOther, MemSeverity::kMay),
            nullptr);
  EXPECT_STREQ(block, "abc");
  MEM_FREE(block);
}

#ifndef TARNEL_SANITIZE  // the sanitizer stops these faults before the guards see them
std::string trace_of(void (*work)()) {
  int ends[2];
  if (pipe(ends) != 0) return "no pipe";
  const int old_trace = set_memory_trace(ends[1]);
  const int old_level = set_memory_debug(41);
  work();
  set_memory_debug(old_level);
  set_memory_trace(old_trace);
  close(ends[1]);
  char text[4096];
  const ssize_t n = read(ends[0], text, sizeof text);
  close(ends[0]);
  return std::string(text, n > 0 ? static_cast<std::size_t>(n) : 0);
}

TEST(Memory, OneByteTooManyIsCaughtAtTheNextOperation) {
  const std::string trace = trace_of([] {
    auto* block = static_cast<char*>(MEM_ALLOC(3, MemPurpose::kOther));
    volatile std::size_t one_too_many = 3;
    block[one_too_many] = 'x';
    MEM_FREE(block);
  });
  EXPECT_NE(trace.find("MEMORY ERROR contents overwritten"), std::string::npos) << trace;
  EXPECT_NE(trace.find("memory_test.cpp:"), std::string::npos) << trace;
}

TEST(MemoryDeathTest, FreeingTwiceEndsTheRun) {
  EXPECT_EXIT(
      {
        set_memory_debug(11);
        void* block = MEM_ALLOC(8, MemPurpose::kOther);
        MEM_FREE(block);
        MEM_FREE(block);
      },
      ::testing::ExitedWithCode(1), "MEMORY ERROR not in table");
}
#endif

#ifdef TARNEL_CHECKS
TEST(ChecksDeathTest, StaleCellsAreNoticedAtTheEndOfTheProcedureOrWhenTheyAreTakenAgain) {
  EXPECT_DEATH(
      {
        Procedure p("test", "stale", 1, 0);
        PUT_CELL(p.local());
        p.end();
      },
      "CHECK FAILED: a cell has a type, in stale line 1");
  EXPECT_DEATH(
      {
        Var* freed = NEW_VAR('N', 'U');
        PUT_CELL(freed);
        freed->refs = 1;
        for (std::size_t i = 0; i <= kQuarantine + 1; ++i) GET_CELL();
      },
      "CHECK FAILED: a freed cell is left alone");
}
#endif

}  // namespace
}  // namespace tarnel::testing
