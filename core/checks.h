// The checks build (cmake --preset checks): small limits make rare paths common, and state that is not
// what it should be ends the run at once. All of its switches stand here, or name this file.
//
//   kTempStep, kVarStep, kSymbolStep   the growing tables move at almost every push
//   kSlabCells, kQuarantine            freed cells are poisoned and lie for a while before they are used
//                                      again, so that a stale pointer meets the poison
//   kMaxReleaseDepth                   bodies are put off instead of released by recursion
//   kMostKeysAPage                     pages of orders are split at three keys
//   KeyTree::check_tree                keys and their count, after each change of a small tree; not for damaged_orders
//   check_runtime                      cells, stacks and frames, at the end of each procedure
//   RecordBuffer::check_invariant      the record in memory, after each of its transitions
//   check_table (lock/locks.cpp)       what is believed of a shared table, when its lock is given back
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarnel {

#ifdef TARNEL_CHECKS
inline constexpr bool kChecked = true;
#else
inline constexpr bool kChecked = false;
#endif

inline constexpr std::int32_t kTempStep = kChecked ? 2 : 128;
inline constexpr std::int32_t kVarStep = kChecked ? 1 : 100;
inline constexpr std::int32_t kSymbolStep = kChecked ? 1 : 64;
inline constexpr std::size_t kSlabCells = kChecked ? 3 : 64;
inline constexpr std::size_t kQuarantine = kChecked ? 5000 : 0;
inline constexpr std::uint32_t kMostKeysAPage = kChecked ? 3 : 0xFFFFFFFF;
inline constexpr int kMaxReleaseDepth = kChecked ? 3 : 200;

// Orders are damaged on purpose: nobody knows what keys are then in them.
inline bool damaged_orders = false;

// Says what does not hold, and aborts.
[[noreturn]] void check_failed(const char* what);
inline void check(bool holds, const char* what) {
  if (!holds) check_failed(what);
}

struct Var;
struct SharedHeader;

// A live cell: letters that exist, a reference, a payload that is there. `depth`: how many levels of
// elements are looked at.
void check_cell(const Var* cell, int depth = 1);
// The temporaries and bindings of the running procedure, and the chain of frames.
void check_runtime();

}  // namespace tarnel
