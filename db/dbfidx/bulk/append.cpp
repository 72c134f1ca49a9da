// Records of another table, or of a text, behind those of this one.
#include <cstring>
#include <utility>

#include "core/errors.h"
#include "db/dbfidx/bulk/bulk.h"
#include "db/dbfidx/bulk/field_plan.h"
#include "db/dbfidx/bulk/record_pieces.h"
#include "db/dbfidx/bulk/source_table.h"
#include "db/dbfidx/bulk/text_file.h"
#include "db/dbfidx/order/orders.h"
#include "db/dbfidx/table_errors.h"
#include "db/progress.h"

namespace tarnel {
namespace {

constexpr const char kOperation[] = "APPEND FROM", kTextOperation[] = "APPEND SDF/DELIMITED";

// The lock of the whole table for the time of the operation, where nobody is in the way; without it each
// record is locked for itself.
class TargetLock {
 public:
  explicit TargetLock(DbfIdx& dbf) : dbf_(dbf), same_(dbf) {
    if (dbf.exclusive() || dbf.is(kFileLocked) || dbf.locks.records.count() > 0) return;
    taken_ = lockFile(dbf) == 0;
  }
  ~TargetLock() {
    if (taken_ && same_.holds()) unlockAll(dbf_);
  }
  TargetLock(const TargetLock&) = delete;
  TargetLock& operator=(const TargetLock&) = delete;

 private:
  DbfIdx& dbf_;
  const SameTable same_;
  bool taken_ = false;
};

bool target_locked(DbfIdx& dbf, const char* operation) {
  dxerror(dbf, TableError::kBulkTargetLocked, {operation, operation});
  return false;
}

bool may_append(DbfIdx& dbf, const char* operation) {
  if (dbf.readOnly()) {
    dxerror(dbf, TableError::kBulkReadOnly, {operation, dbf.aliasName});
    return false;
  }
  const bool alone = dbf.exclusive() || dbf.is(kFileLocked);
  return alone || !file_locked_elsewhere(dbf) || target_locked(dbf, operation);
}

// Fields of the target that the source has too, and that the list names.
bool make_plan(DbfIdx& target, DbfIdx& source, const BulkRequest& request, FieldPlan& plan) {
  std::vector<std::int32_t> numbers;
  if (!read_field_list(target, request.fields, kOperation, numbers)) return false;
  const bool all = selects_all(request.fields);
  for (const std::int32_t n : numbers) {
    const dbf::Field& to = target.fields[static_cast<std::size_t>(n)];
    const std::int32_t from = field_position(source, to.name) - 1;
    if (from >= 0 && plan.add(source, from, to)) continue;
    if (from >= 0)
      dxerror(target, TableError::kBulkTypeMismatch,
              {kOperation, to.name, to.type, source.fields[static_cast<std::size_t>(from)].type});
    else if (!all)
      dxerror(target, TableError::kBulkNoField, {kOperation, request.file, to.name});
    if (from >= 0 || !all) return false;
  }
  return true;
}

std::int64_t put_memo(void* target, std::string_view text) {
  return add_memo_text(*static_cast<DbfIdx*>(target), text);
}

// Takes the records for the target. Where it has nobody beside it and no orders they are written in runs,
// unless code of the language, which could look at it, runs between them.
class Appender {
 public:
  Appender(DbfIdx& target, bool in_runs, const char* operation)
      : target_(target),
        same_(target),
        in_runs_(in_runs && target.exclusive() && target.orderCount == 0),
        operation_(operation) {}
  // What waits when a handler leaves by break was read before its error, and belongs into the table.
  ~Appender() {
    const ErrorHold told_by_then;
    if (!same_.holds()) return;
    [[maybe_unused]] const bool written = write_run();
    if (same_.holds()) let_go();
  }
  Appender(const Appender&) = delete;
  Appender& operator=(const Appender&) = delete;

  bool add(const std::uint8_t* records, std::int32_t count) {
    if (!in_runs_) return add_each(records, count);
    run_.insert(run_.end(), records,
                records + static_cast<std::size_t>(count) * target_.recordSize);
    return run_.size() < kRun || write_run();
  }
  // Writes what waits, and stands on the last record that was added.
  bool finish() {
    const bool written = write_run();
    if (in_runs_ && target_.isOpen() && added_) {
      target_.recNo = target_.lastRec;
      target_.buffer.forget();
    }
    return written;
  }

 private:
  static constexpr std::size_t kRun = 64 * 1024;

  bool add_each(const std::uint8_t* records, std::int32_t count) {
    for (std::int32_t i = 0; i < count; ++i)
      if (!add_record(records + static_cast<std::size_t>(i) * target_.recordSize)) return false;
    return true;
  }
  // Where each record is locked for itself, the last one stays locked until the next one is: in between somebody
  // else could lock the table, and the append would end halfway.
  bool add_record(const std::uint8_t* record) {
    const InternalLock lock(target_, LockMode::kExclusive);
    if (!lock.held() || !refresh_header(target_)) return false;
    const bool alone = target_.exclusive() || target_.is(kFileLocked);
    const std::int32_t n = target_.lastRec + 1;
    const bool held = alone || target_.locks.records.holds(n);
    if (!alone && lockRecord(target_, n) != 0) return target_locked(target_, operation_);
    const bool added = append_record(target_, false, record);
    if (!same_.holds()) return false;
    if (!held) {
      let_go();
      locked_ = n;
    }
    return added;
  }
  void let_go() {
    if (const std::int32_t n = std::exchange(locked_, 0); n != 0) unlockRecord(target_, n);
  }

  bool write_run() {
    if (run_.empty()) return true;
    const auto count = static_cast<std::int32_t>(run_.size() / target_.recordSize);
    // The handler of an error may have opened an order meanwhile.
    const bool written = target_.orderCount == 0 ? append_run(target_, run_.data(), count)
                                                 : add_each(run_.data(), count);
    added_ = added_ || written;
    run_.clear();
    return written;
  }

  DbfIdx& target_;
  const SameTable same_;
  const bool in_runs_;
  const char* const operation_;
  bool added_ = false;
  std::int32_t locked_ = 0;  // the record that was added last, 0 none
  std::vector<std::uint8_t> run_;
};

class Append {
 public:
  Append(DbfIdx& target, DbfIdx& source, const FieldPlan& plan, const Scope& scope)
      : target_(target),
        source_(source),
        plan_(plan),
        scope_(scope),
        same_(target),
        appender_(target, scope.forBlock == nullptr && scope.whileBlock == nullptr, kOperation),
        record_(target.recordSize) {}

  // What could be added stays, whatever happens.
  bool run() {
    const bool plain = RecordPieces::suit(source_, scope_) && !plan_.converts();
    const bool moved = plain ? move_pieces() : move_records();
    return same_.holds() && appender_.finish() && moved;
  }

 private:
  bool move_pieces() {
    const bool whole = plan_.is_identity(source_.recordSize, target_.recordSize);
    RecordPieces pieces(source_, "append");
    while (pieces.next()) {
      if (whole && !appender_.add(pieces.data(), pieces.count())) return false;
      for (std::int32_t i = 0; !whole && i < pieces.count(); ++i)
        if (!move(pieces.data() + static_cast<std::size_t>(i) * source_.recordSize,
                  pieces.first() + i))
          return false;
    }
    return !pieces.failed();
  }

  bool move_records() {
    ScopeWalk walk(source_, scope_, "append");
    for (bool on = walk.begin(); on; on = walk.next())
      if (!same_.holds() || !fetch_current(source_) || !move(source_.buffer.data(), source_.recNo))
        walk.fail();
    return !walk.failed() && walk.same();
  }

  bool move(const std::uint8_t* record, std::int32_t n) {
    std::fill(record_.begin(), record_.end(), std::uint8_t{' '});
    return plan_.fill_from(source_, record, n, record_.data(), {&target_, put_memo}, kOperation) &&
           same_.holds() && appender_.add(record_.data(), 1);
  }

  DbfIdx &target_, &source_;
  const FieldPlan& plan_;
  const Scope& scope_;
  const SameTable same_;
  Appender appender_;
  std::vector<std::uint8_t> record_;
};

// Lines of a text, whose fields are those of the table in the order of `to`.
bool append_lines(DbfIdx& target, TextTable& source, const std::vector<dbf::Field>& to) {
  const SameTable same(target);
  Appender appender(target, !source.has_conditions(), kTextOperation);
  bool added = true;
  std::vector<std::uint8_t> record(target.recordSize, ' ');
  Progress progress("append", 0);
  while (added && source.next()) {
    progress.step();
    for (std::size_t i = 0; i < to.size(); ++i)
      std::memcpy(record.data() + to[i].offset, source.record().data() + source.fields()[i].offset,
                  to[i].length);
    added = same.holds() && appender.add(record.data(), 1);
  }
  return same.holds() && appender.finish() && added && !source.failed() && source.is_open();
}

// Readies the table for what is appended, and afterwards brings file and header up to date.
template <typename Work>
bool append_all(DbfIdx& dbf, Work append) {
  const SameTable same(dbf);
  if (commitRecord(dbf) == Commit::kFailed || !same.holds()) return false;
  dbf.bofFlag = dbf.eofFlag = 0;
  dbf.found = false;
  bool done;
  {
    const TargetLock lock(dbf);
    done = append();
  }
  return same.holds() && commit_table(dbf) && done;
}

}  // namespace

bool append_from(DbfIdx& dbf, const BulkRequest& request) {
  if (!may_append(dbf, kOperation)) return false;
  SourceTable source;
  if (!source.open(dbf, request.file)) {
    dxerror(dbf, TableError::kBulkNoSource, {kOperation, kOperation, request.file});
    return false;
  }
  FieldPlan plan;
  Scope scope;
  if (!make_plan(dbf, source.dbf(), request, plan) ||
      !read_scope(source.dbf(), request.scope, scope))
    return false;
  if (plan.empty()) return true;
  return append_all(dbf, [&] { return Append(dbf, source.dbf(), plan, scope).run(); });
}

bool append_text(DbfIdx& dbf, const BulkRequest& request, TextFormat format) {
  std::vector<dbf::Field> to;
  if (!may_append(dbf, kTextOperation) ||
      !read_text_fields(dbf, request.fields, kTextOperation, to))
    return false;
  std::vector<dbf::Field> from = to;
  lay_out(from);
  TextScope scope;
  const StatementScope& given = request.scope;
  if (!read_text_scope(kTextOperation, given.forCondition, given.whileCondition, given.next,
                       given.record, scope))
    return false;
  TextInput source;
  if (!source.open(dbf, request.file, kTextOperation, std::move(from), format, std::move(scope)))
    return false;
  return to.empty() || append_all(dbf, [&] { return append_lines(dbf, source.table(), to); });
}

}  // namespace tarnel
