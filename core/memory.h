// The one layer through which the runtime uses the heap. Every block carries its size and two guard
// bytes; debug levels add a table of live blocks and a trace line for each operation.
//
//   offset  bytes  content
//     0      4     size asked for, in bytes
//     4     12     padding: what is handed out stays aligned for every type
//    16    size    the caller's bytes
//    16+size 1     guard 0
//    17+size 1     guard 0xA7
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/source_line.h"

namespace tarnel {

constexpr std::size_t kMemHeader = 16;
constexpr std::size_t kMemOverhead = kMemHeader + 2;  // bytes of a block beyond those asked for

// What a block is for; named in the report when there is no memory. The numbers 1 to 16 are the
// failure classes.
enum class MemPurpose : std::uint8_t {
  kCell = 1,
  kText,
  kArray,
  kSymbols,
  kTemporaries,
  kVarStack,
  kFunctions,
  kAliases,
  kSettings,
  kMacro,
  kClass,
  kTable,
  kIndex,
  kOutput,
  kScreen,
  kOther,
};

// kMust: failure is reported and takes the exit road, so the result is never null.
// kMay: failure gives null and the caller answers for it.
enum class MemSeverity : std::uint8_t { kMay, kMust };

// A new block of `size` bytes (0 is valid), aligned for any type, contents undefined; the caller
// owns it and gives it back with MEM_FREE.
void* MEM_ALLOC(std::size_t size, MemPurpose purpose, MemSeverity severity = MemSeverity::kMust,
                SourceLine where = SourceLine::current());

// Changes the size of `block` (null: a new block), keeping its contents up to the smaller size.
// With kMay a failure gives null and leaves the old block as it was.
void* MEM_REALLOC(void* block, std::size_t size, MemPurpose purpose,
                  MemSeverity severity = MemSeverity::kMust,
                  SourceLine where = SourceLine::current());

// Gives a block back; null is ignored.
void MEM_FREE(void* block, SourceLine where = SourceLine::current());

// The forms for cells, traced with letters of their own.
void* MEM_ALLOC_VAR(std::size_t size, SourceLine where = SourceLine::current());
void MEM_FREE_VAR(void* block, SourceLine where = SourceLine::current());

// Size asked for when `block` was made or last resized. REQUIRES: block is not null.
std::size_t MEM_SIZE(const void* block);

// Tests the guards of a block; writes the trace line and returns false when they are overwritten.
bool MEM_CHECK(const void* block, SourceLine where = SourceLine::current());

// Levels: above 10 live blocks are kept in a table, above 20 guards are tested on each operation,
// above 30 operations are traced, from 41 on an overwritten block is dumped, above 50 freed bytes
// are filled with 0xA7. 0, the default, pays only for the guards. Returns the old level. To be set
// before the first allocation, since blocks made earlier are unknown to the table.
int set_memory_debug(int level);

// Descriptor that trace lines go to; -1, the default, drops them. Returns the old one.
int set_memory_trace(int fd);

// From now on blocks may take so many bytes together, 0: any. Those of more than a few KiB end 1 MiB below that, so
// that an error of a large one can be told. Where a block that must be is refused, `answer` is called, with no
// limit any more; when it returns the run ends.
void set_memory_limit(std::size_t bytes, void (*answer)());

// For tests: the nth allocation or resizing from now on finds no memory; 0: none. Returns how many were
// still to come until then, 0 when it has come.
std::uint64_t fail_allocation(std::uint64_t nth);
// Counts an allocation of another allocator: must it find no memory?
bool allocation_fails();

struct MemoryStats {
  std::size_t live_bytes;    // overhead included
  std::uint64_t operations;  // allocations, reallocations and frees so far
};
MemoryStats memory_stats();

}  // namespace tarnel
