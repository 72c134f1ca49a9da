#include "core/memory.h"

#include <unistd.h>

#include <cassert>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "core/frame.h"
#include "core/output.h"
#include "core/runtime.h"
#include "core/text.h"

#ifdef TARNEL_SANITIZE
#include <sanitizer/asan_interface.h>
#endif

namespace tarnel {
namespace {

constexpr int kTableLevel = 10, kCheckLevel = 20, kTraceLevel = 30, kDumpLevel = 40,
              kFillLevel = 50;
constexpr unsigned char kGuard[2] = {0, 0xA7};
constexpr unsigned char kFreed = 0xA7;
constexpr std::size_t kTableStep = 1024;
constexpr std::size_t kReserve = std::size_t{1} << 20, kSmallBlock = std::size_t{4} << 10;

struct MemoryState {
  int level = 0;
  int trace_fd = -1;
  std::size_t live_bytes = 0;
  std::uint64_t operations = 0;
  std::size_t limit = 0;  // of live_bytes, 0 none
  void (*limit_answer)() = nullptr;
  std::uint64_t until_failure = 0;  // allocations up to the one that fails, 0 none does
  unsigned char** table = nullptr;  // live blocks, free entries null
  std::size_t table_size = 0;
} state;

constexpr const char* kPurposes[] = {"",
                                     "cells",
                                     "text",
                                     "to create array memory var(s)",
                                     "symbols",
                                     "temporaries",
                                     "variable stack",
                                     "\n\nFATAL ERROR: No memory space for function table !!!\n\n",
                                     "aliases",
                                     "settings",
                                     "macro",
                                     "classes",
                                     "table",
                                     "index",
                                     "output",
                                     "screen",
                                     "other"};
static_assert(sizeof(kPurposes) / sizeof(kPurposes[0]) ==
              static_cast<std::size_t>(MemPurpose::kOther) + 1);

unsigned char* block_of(const void* user) {
  return static_cast<unsigned char*>(const_cast<void*>(user)) - kMemHeader;
}
unsigned char* user_of(unsigned char* block) {
  return block + kMemHeader;
}

std::uint32_t size_of(const unsigned char* block) {
  std::uint32_t size;
  std::memcpy(&size, block, sizeof size);
  return size;
}

// The guards lie inside the block that the sanitizer knows, so it is told that they are off limits.
void guard_access(unsigned char* block, bool open) {
#ifdef TARNEL_SANITIZE
  unsigned char* guard = user_of(block) + size_of(block);
  if (open)
    __asan_unpoison_memory_region(guard, 2);
  else
    __asan_poison_memory_region(guard, 2);
#else
  static_cast<void>(block);
  static_cast<void>(open);
#endif
}

void seal(unsigned char* block, std::uint32_t size) {
  std::memcpy(block, &size, sizeof size);
  std::memcpy(user_of(block) + size, kGuard, sizeof kGuard);
  guard_access(block, false);
}

[[gnu::format(printf, 1, 2)]] void trace(const char* format, ...) {
  if (state.trace_fd < 0) return;
  char line[512];
  va_list args;
  va_start(args, format);
  const int n = std::vsnprintf(line, sizeof line, format, args);
  va_end(args);
  if (n > 0)
    write_fully(state.trace_fd,
                {line, static_cast<std::size_t>(n) < sizeof line ? static_cast<std::size_t>(n)
                                                                 : sizeof line - 1});
}

enum class Operation { kAlloc, kReallocOld, kReallocNew, kFree, kAllocVar, kFreeVar, kCheckFailed };

void trace_operation(Operation op, const unsigned char* block, SourceLine where) {
  if (state.trace_fd < 0) return;
  const auto address = reinterpret_cast<unsigned long>(block + kMemHeader);
  const auto size = static_cast<long>(size_of(block));
  const auto total = static_cast<long>(state.live_bytes);
  const auto count = static_cast<long>(state.operations);
  const Frame* f = current_frame();
  const char* file = base_name(where.file).data();
  switch (op) {
    case Operation::kCheckFailed:
      return trace("%8lx %8ld C %8ld %s:%s:%d %s:%d\n", address, size, total, f->module, f->proc,
                   f->line, file, where.line);
    case Operation::kAlloc:
      return trace("%8lx %8ld M %8ld%8ld %s:%s:%d %s:%d\n", address, size, total, count, f->module,
                   f->proc, f->line, file, where.line);
    case Operation::kReallocOld:
      return trace("%8lx %8ld FR%8ld%8ld %s:%s:%d %s:%d\n", address, size, total, count, f->module,
                   f->proc, f->line, file, where.line);
    case Operation::kReallocNew:
      return trace("%8lx %8ld MR%8ld%8ld %s:%s:%d %s:%d\n", address, size, total, count, f->module,
                   f->proc, f->line, file, where.line);
    case Operation::kFree:
      return trace("%8lx %8ld F %s:%s:%d %s:%d\n", address, size, f->module, f->proc, f->line, file,
                   where.line);
    case Operation::kAllocVar:
      return trace("%8lx %8ld MV %8ld%8ld %s:%s:%d\n", address, size, total, count, f->module,
                   f->proc, f->line);
    case Operation::kFreeVar:
      return trace("%8lx %8ld FV %s:%s:%d\n", address, size, f->module, f->proc, f->line);
  }
}

// A damaged or contradictory table ends the run: what follows could only do more harm.
[[noreturn]] void table_failure(const char* text, const unsigned char* block) {
  char line[80];
  std::snprintf(line, sizeof line, "MEMORY ERROR %s", text);
  char full[120];
  const int n = block == nullptr
                    ? std::snprintf(full, sizeof full, "%s\n", line)
                    : std::snprintf(full, sizeof full, "%s %8lx\n", line,
                                    reinterpret_cast<unsigned long>(block + kMemHeader));
  write_fully(STDERR_FILENO, {full, static_cast<std::size_t>(n)});
  state.level = 0;
  QUIT_RUN(1);
}

std::size_t find_entry(const unsigned char* block) {
  for (std::size_t i = 0; i < state.table_size; ++i)
    if (state.table[i] == block) return i;
  return state.table_size;
}

void enter(unsigned char* block) {
  if (state.level <= kFillLevel && find_entry(block) != state.table_size)
    table_failure("double entry", block);
  std::size_t slot = find_entry(nullptr);
  if (slot == state.table_size) {
    const std::size_t size = state.table_size + kTableStep;
    auto** grown = static_cast<unsigned char**>(std::realloc(state.table, size * sizeof(void*)));
    if (grown == nullptr) table_failure("no space", nullptr);
    std::memset(grown + state.table_size, 0, kTableStep * sizeof(void*));
    state.table = grown;
    state.table_size = size;
  }
  state.table[slot] = block;
}

void leave(unsigned char* block) {
  const std::size_t slot = find_entry(block);
  if (slot == state.table_size) table_failure("not in table", block);
  state.table[slot] = nullptr;
}

void dump_neighbourhood(const unsigned char* block) {
  const unsigned char* last = user_of(const_cast<unsigned char*>(block)) + size_of(block) + 2;
  for (const unsigned char* p = block; p < last; p += 16) {
    char line[80];
    int n = std::snprintf(line, sizeof line, "%8lx ", reinterpret_cast<unsigned long>(p));
    for (const unsigned char* q = p; q < p + 16 && q < last; ++q)
      n += std::snprintf(line + n, sizeof line - static_cast<std::size_t>(n), " %02x", *q);
    trace("%s\n", line);
  }
}

bool guards_sound(unsigned char* block) {
  guard_access(block, true);
  const unsigned char* user = user_of(block);
  const std::uint32_t size = size_of(block);
  bool sound = std::memcmp(user + size, kGuard, sizeof kGuard) == 0;
  if (!sound && state.level > kFillLevel) {
    sound = true;
    for (std::uint32_t i = 0; i < size && sound; ++i) sound = user[i] == kFreed;
  }
  guard_access(block, false);
  return sound;
}

// Would so many bytes more be too many?
bool over_limit(std::size_t size) {
  if (state.limit == 0) return false;
  const std::size_t kept = size > kSmallBlock ? kReserve : 0;
  return state.live_bytes + size + kept > state.limit;
}

[[noreturn]] void report_no_memory(MemPurpose purpose) {
  if (state.limit != 0) {
    state.limit = 0;
    state.limit_answer();
  }
  const char* text = kPurposes[static_cast<int>(purpose)];
  if (purpose == MemPurpose::kFunctions) {
    write_fully(STDERR_FILENO, text);
    _exit(1);
  }
  write_fully(STDERR_FILENO, "\n\r\n\rNot enough memory error\n\r");
  write_fully(STDERR_FILENO, text);
  write_fully(STDERR_FILENO, "\n\r\n\r");
  QUIT_RUN(1);
}

void* refuse(MemPurpose purpose, MemSeverity severity) {
  if (severity == MemSeverity::kMust) report_no_memory(purpose);
  return nullptr;
}

// Accounts for a new block and makes it known to the table and the trace.
void* admit(unsigned char* block, std::size_t size, Operation op, SourceLine where) {
  seal(block, static_cast<std::uint32_t>(size));
  state.live_bytes += size + kMemOverhead;
  if (state.level > kTableLevel) enter(block);
  if (state.level > kTraceLevel) trace_operation(op, block, where);
  return user_of(block);
}

void* allocate(std::size_t size, MemPurpose purpose, MemSeverity severity, Operation op,
               SourceLine where) {
  ++state.operations;
  if (size > UINT32_MAX - kMemOverhead || over_limit(size) || allocation_fails())
    return refuse(purpose, severity);
  auto* block = static_cast<unsigned char*>(std::malloc(size + kMemOverhead));
  if (block == nullptr) return refuse(purpose, severity);
  return admit(block, size, op, where);
}

void release(void* user, Operation op, SourceLine where) {
  if (user == nullptr) return;
  ++state.operations;
  unsigned char* block = block_of(user);
  const std::uint32_t size = size_of(block);
  if (state.level > kTableLevel && state.level <= kFillLevel) leave(block);
  if (state.level > kCheckLevel) MEM_CHECK(user, where);
  state.live_bytes -= size + kMemOverhead;
  if (state.level > kTraceLevel) trace_operation(op, block, where);
  guard_access(block, true);
  if (state.level > kFillLevel) {
    const std::size_t slot = find_entry(block);
    if (slot != state.table_size) state.table[slot] = nullptr;
    std::memset(user, kFreed, size);
  }
  std::free(block);
}

}  // namespace

void* MEM_ALLOC(std::size_t size, MemPurpose purpose, MemSeverity severity, SourceLine where) {
  return allocate(size, purpose, severity, Operation::kAlloc, where);
}

void* MEM_ALLOC_VAR(std::size_t size, SourceLine where) {
  return allocate(size, MemPurpose::kCell, MemSeverity::kMust, Operation::kAllocVar, where);
}

void* MEM_REALLOC(void* user, std::size_t size, MemPurpose purpose, MemSeverity severity,
                  SourceLine where) {
  if (user == nullptr) return MEM_ALLOC(size, purpose, severity, where);
  ++state.operations;
  const bool grows = size > MEM_SIZE(user);
  if (size > UINT32_MAX - kMemOverhead || (grows && over_limit(size - MEM_SIZE(user))) ||
      allocation_fails())
    return refuse(purpose, severity);
  unsigned char* block = block_of(user);
  if (state.level > kTableLevel) leave(block);
  if (state.level > kCheckLevel) MEM_CHECK(user, where);
  const std::uint32_t old_size = size_of(block);
  if (state.level > kTraceLevel) trace_operation(Operation::kReallocOld, block, where);
  guard_access(block, true);
  auto* moved = static_cast<unsigned char*>(std::realloc(block, size + kMemOverhead));
  if (moved == nullptr) {
    guard_access(block, false);
    if (state.level > kTableLevel) enter(block);
    return refuse(purpose, severity);
  }
  state.live_bytes -= old_size + kMemOverhead;
  return admit(moved, size, Operation::kReallocNew, where);
}

void MEM_FREE(void* user, SourceLine where) {
  release(user, Operation::kFree, where);
}
void MEM_FREE_VAR(void* user, SourceLine where) {
  release(user, Operation::kFreeVar, where);
}

std::size_t MEM_SIZE(const void* user) {
  assert(user != nullptr);
  return size_of(block_of(user));
}

bool MEM_CHECK(const void* user, SourceLine where) {
  unsigned char* block = block_of(user);
  if (guards_sound(block)) return true;
  trace_operation(Operation::kCheckFailed, block, where);
  trace("MEMORY ERROR contents overwritten\n");
  if (state.level > kDumpLevel) dump_neighbourhood(block);
  return false;
}

int set_memory_debug(int level) {
  const int old = state.level;
  state.level = level;
  return old;
}

int set_memory_trace(int fd) {
  const int old = state.trace_fd;
  state.trace_fd = fd;
  return old;
}

void set_memory_limit(std::size_t bytes, void (*answer)()) {
  state.limit = bytes;
  state.limit_answer = answer;
}

std::uint64_t fail_allocation(std::uint64_t nth) {
  return std::exchange(state.until_failure, nth);
}
bool allocation_fails() {
  return state.until_failure != 0 && --state.until_failure == 0;
}

MemoryStats memory_stats() {
  return {state.live_bytes, state.operations};
}

}  // namespace tarnel
