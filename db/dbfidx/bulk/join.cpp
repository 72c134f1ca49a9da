// JOIN and UPDATE: the open table together with another open one.
#include "core/errors.h"
#include "core/operators.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/dbfidx/bulk/bulk.h"
#include "db/dbfidx/bulk/new_table.h"
#include "db/dbfidx/order/orders.h"
#include "db/dbfidx/record/change_lock.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/dbfidx/scan/relations.h"
#include "db/dbfidx/table_errors.h"

namespace tarnel {
namespace {

// A block or a text to be run; null after error 312, which a text that makes no block told already.
Var* needed_block(DbfIdx& dbf, Var* argument, const char* operation) {
  Var* block = block_of(argument);
  if (block == nullptr && !is_text(argument)) dxerror(dbf, TableError::kBulkNoBlock, {operation});
  return block;
}

// --- Join.

constexpr const char kJoin[] = "JOIN";

class Join {
 public:
  Join(DbfIdx& dbf, DbfIdx& other) : dbf_(dbf), other_(other), target_(dbf, kJoin) {}

  // Without names all fields, those of the other table only under new names; else the fields named,
  // looked for here and then there. False after error 306.
  bool choose(Var* names) {
    const bool several = names->type == 'A';
    if (selects_all(names)) {
      for (std::int32_t i = 0; i < dbf_.fieldCount; ++i) add(dbf_, i);
      for (std::int32_t i = 0; i < other_.fieldCount; ++i) add(other_, i);
      return true;
    }
    for (std::int32_t i = 1; i <= (several ? element_count(names) : 1); ++i) {
      const Var* name = several ? element(names, i) : names;
      const std::string_view text = is_text(name) ? text_of(name) : std::string_view("?");
      const std::int32_t here = field_by_name(dbf_, text);
      const std::int32_t there = here >= 0 ? -1 : field_by_name(other_, text);
      if (here < 0 && there < 0) {
        dxerror(dbf_, TableError::kBulkNoField, {kJoin, dbf_.aliasName, text});
        return false;
      }
      here >= 0 ? add(dbf_, here) : add(other_, there);
    }
    return true;
  }

  bool open(std::string_view file) {
    std::vector<dbf::Field> fields;
    for (const Source& source : sources_) fields.push_back(source.field());
    if (!target_.open(file, std::move(fields))) return false;
    for (std::size_t i = 0; i < sources_.size(); ++i)
      if (!plan_of(*sources_[i].dbf).add(*sources_[i].dbf, sources_[i].number, target_.fields()[i]))
        return false;
    return true;
  }

  // Adds the record under the cursor with each of the other table's for which the block holds.
  bool take(Var* block) {
    const SameTable here(dbf_), there(other_);
    go_top(other_);
    for (;;) {
      if (!here.holds() || !there.holds()) return false;
      if (other_.eofFlag != 0) return true;
      const Verdict verdict = judge(dbf_, block);
      if (verdict == Verdict::kFailed || !here.holds() || !there.holds()) return false;
      if (verdict == Verdict::kHolds && !add_pair()) return false;
      look_at_signals();
      if (skip_records(other_, 1) == 0 && (!there.holds() || other_.eofFlag == 0)) return false;
    }
  }

  bool finish() { return target_.finish(); }

 private:
  struct Source {
    DbfIdx* dbf;
    std::int32_t number;
    const dbf::Field& field() const { return dbf->fields[static_cast<std::size_t>(number)]; }
  };

  FieldPlan& plan_of(const DbfIdx& dbf) { return &dbf == &dbf_ ? here_ : there_; }

  void add(DbfIdx& dbf, std::int32_t number) {
    const Source added{&dbf, number};
    if (added.field().type == 'M') return;
    for (const Source& source : sources_)
      if (std::string_view(source.field().name) == added.field().name) return;
    sources_.push_back(added);
  }

  bool add_pair() {
    std::uint8_t* record = target_.blank_record();
    if (!fetch_current(dbf_) || !fetch_current(other_) ||
        !here_.fill(dbf_, record, target_.memos(), kJoin) ||
        !there_.fill(other_, record, target_.memos(), kJoin))
      return false;
    *record = dbf::kLiveMark;
    return target_.add();
  }

  DbfIdx &dbf_, &other_;
  NewTable target_;
  std::vector<Source> sources_;
  FieldPlan here_, there_;
};

// --- Update.

constexpr const char kUpdate[] = "UPDATE";

class Update {
 public:
  Update(DbfIdx& dbf, DbfIdx& other, Var* key, Var* block)
      : dbf_(dbf), other_(other), key_(key), block_(block) {}

  // For each record of the other table the block is run at the record here that has its key, if any.
  bool run(bool random) {
    const SameTable here(dbf_), there(other_);
    Progress progress("update", other_.lastRec);
    if (!random) go_top(dbf_);
    go_top(other_);
    while (here.holds() && there.holds() && other_.eofFlag == 0) {
      const std::int32_t mark = temp_top();
      Var* key = value_of_record(other_, key_);
      if (key->type == 'E' || is_unreadable(other_) || !here.holds() || !there.holds())
        return false;
      const Found found = random ? seek(key) : walk_to(key);
      if (found == Found::kFailed || (found == Found::kYes && !change())) return false;
      POP_TEMPS(mark);
      progress.step();
      look_at_signals();
      if (!there.holds() ||
          (skip_records(other_, 1) == 0 && (!there.holds() || other_.eofFlag == 0)))
        return false;
    }
    return here.holds() && there.holds();
  }

 private:
  enum class Found : std::uint8_t { kNo, kYes, kFailed };

  Found seek(Var* key) {
    const SameTable same(dbf_);
    const bool found = seek_record(dbf_, key, false);
    if (!same.holds() || (found && is_unreadable(dbf_))) return Found::kFailed;
    return found ? Found::kYes : Found::kNo;
  }

  // Both tables ascend by the key.
  Found walk_to(Var* key) {
    const SameTable same(dbf_);
    while (dbf_.eofFlag == 0) {
      Var* own = value_of_record(dbf_, key_);
      if (own->type == 'E' || is_unreadable(dbf_) || !same.holds()) return Found::kFailed;
      const Var* equal = csueequu(own, key);
      const Var* below = equal->type != 'E' && !truth_of(equal) ? csultu(own, key) : equal;
      if (equal->type == 'E' || below->type == 'E') return Found::kFailed;
      if (truth_of(equal)) return Found::kYes;
      if (!truth_of(below)) return Found::kNo;
      if (skip_records(dbf_, 1) == 0 && (!same.holds() || dbf_.eofFlag == 0)) return Found::kFailed;
    }
    return Found::kNo;
  }

  bool change() {
    ChangeLock lock(dbf_);
    if (!lock.granted()) return false;
    const SameTable same(dbf_);
    const std::int32_t n = dbf_.recNo;
    const Var* result = value_of_record(dbf_, block_);
    if (!same.holds()) return false;
    const bool good = commitRecord(dbf_) != Commit::kFailed && result->type != 'E';
    if (!same.holds() || dbf_.recNo != n) return false;
    lock.release();
    return good && same.holds();
  }

  DbfIdx &dbf_, &other_;
  Var *const key_, *const block_;
};

}  // namespace

bool join_tables(DbfIdx& dbf, DbfIdx& other, std::string_view file, Var* names, Var* condition) {
  Var* block = needed_block(dbf, condition, kJoin);
  if (block == nullptr) return false;
  const KeepObject keep(other.object);
  const SameTable there(other);
  Join join(dbf, other);
  if (!join.choose(names) || !join.open(file)) return false;
  bool joined;
  {
    const KeepCursor cursor(other);
    ScopeWalk walk(dbf, Scope(), "join");
    for (bool on = walk.begin(); on; on = walk.next())
      if (!join.take(block)) walk.fail();
    joined = !walk.failed() && walk.same() && there.holds();
  }
  if (there.holds()) runRelations(other);
  return joined && join.finish();
}

bool update_table(DbfIdx& dbf, DbfIdx& other, Var* key, bool random, Var* block) {
  Var* key_block = needed_block(dbf, key, kUpdate);
  if (key_block == nullptr) return false;
  if (!is_block(block)) {
    dxerror(dbf, TableError::kBulkNoBlock, {kUpdate});
    return false;
  }
  if (random && dbf.currentOrder == 0) {
    dxerror(dbf, TableError::kSeekNoOrder, {dbf.aliasName});
    return false;
  }
  const KeepObject keep(other.object);
  const SameTable there(other);
  bool updated;
  {
    const KeepCursor cursor(other);
    updated = Update(dbf, other, key_block, block).run(random);
  }
  if (there.holds()) runRelations(other);
  return updated;
}

}  // namespace tarnel
