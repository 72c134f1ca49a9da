// The one loop of the operations over many records:
//
//   ScopeWalk walk(dbf, scope, "count");
//   for (bool on = walk.begin(); on; on = walk.next()) ...        a record that FOR selects
//   return !walk.failed();
//
// Anything may run between the records: the walk keeps no pointer into the table, and ends, as at the last
// record, when the table was closed meanwhile.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/switched.h"
#include "db/dbfidx/dbfidx.h"
#include "db/progress.h"

namespace tarnel {

// The records of a scan. The blocks are null or temporaries.
struct Scope {
  Var *forBlock = nullptr, *whileBlock = nullptr;
  std::int32_t count = kScopeAll;
};

// The arguments that make one: FOR and WHILE, blocks or texts, and a number of records or true for REST.
struct ScopeArguments {
  Var *forCondition, *whileCondition, *extent;

  ScopeArguments(Var* for_condition, Var* while_condition, Var* records)
      : forCondition(for_condition), whileCondition(while_condition), extent(records) {}
  // Arguments first, first + 1 and first + 2.
  ScopeArguments(std::int32_t argc, Var** argv, std::int32_t first);
  bool absent() const;  // all NIL
};
// The scope that the arguments make; when they are absent, the one stored with the table. False after error
// 312, which numbers the wrong ones from 2 on behind those in `wrong`.
[[nodiscard]] bool read_scope(DbfIdx& dbf, const ScopeArguments& arguments, Scope& scope,
                              std::string wrong = {});

class ScopeWalk {
 public:
  // Along an order a walk goes on from wherever the record at hand is by then. Where records are changed, by
  // it or by others, that misses some and comes twice to others; a fixed path is taken from the order at the
  // beginning (4 bytes a record) and has each record once, those appended since left out.
  enum class Path : bool { kSteps, kFixed };
  // `work` names it where progress is shown, and must last. The scope's blocks must outlive the walk.
  ScopeWalk(DbfIdx& dbf, const Scope& scope, const char* work, Path path = Path::kSteps);
  ScopeWalk(const ScopeWalk&) = delete;
  ScopeWalk& operator=(const ScopeWalk&) = delete;

  // To the first record, or the next; false at the end. next() releases the temporaries of the record.
  bool begin();
  bool next();
  // The walk is to end with the record at hand, as a failure.
  void fail() { failed_ = true; }
  // Did a condition give the error value, did a move fail, or was fail() called?
  bool failed() const { return failed_; }
  // Is the table still the one that the walk began with?
  bool same() const { return same_.holds(); }

 private:
  bool take_path(bool from_top);
  bool find();
  bool step();
  bool move_on();
  bool move_along_path();
  bool holds(Var* condition);

  DbfIdx& dbf_;
  const SameTable same_;
  const Scope scope_;
  std::int32_t left_;  // records to go; below 0 without limit
  const std::int32_t mark_;
  bool failed_ = false;
  const bool fixed_;
  std::vector<std::int32_t> path_;  // the records to come
  std::size_t passed_ = 0;          // of them
  Progress progress_;
  const Switched<Progress*> shown_;
};

}  // namespace tarnel
