// Pack and zap: the table is written anew beside itself, and the new files take the places of the old ones.
// Records move as bytes; only memos, which get other blocks, are read.
#include <cerrno>
#include <utility>

#include "core/errors.h"
#include "core/file_ops.h"
#include "core/runtime.h"
#include "core/switched.h"
#include "db/dbfidx/bulk/bulk.h"
#include "db/dbfidx/bulk/record_pieces.h"
#include "db/dbfidx/bulk/table_writer.h"
#include "db/dbfidx/order/index_control.h"
#include "db/dbfidx/record/memo.h"
#include "db/dbfidx/table_errors.h"

namespace tarnel {
namespace {

class Rewriting {
 public:
  Rewriting(DbfIdx& dbf, const char* operation)
      : dbf_(dbf),
        operation_(operation),
        same_(dbf),
        writer_(dbf.fileName, dbf.hasMemo() ? dbf.memoName : std::string()),
        next_(dbf.header) {
    for (const dbf::Field& field : dbf.fields)
      if (field.type == 'M') memos_.push_back(&field);
  }

  bool begin() {
    std::vector<std::uint8_t> header(dbf_.header.size());
    if (!read_at(dbf_.dbfFd, header.data(), header.size(), 0)) {
      dxerror(dbf_, TableError::kHeaderUnreadable, {dbf_.fileName});
      return false;
    }
    if (writer_.create(header, 0600)) return true;
    set_dos_error(errno);
    dxerror(dbf_, TableError::kPackNoTempFile);
    return false;
  }

  bool copy_live_records() {
    RecordPieces pieces(dbf_, "pack");
    while (pieces.next())
      if (!add_live(pieces.data(), pieces.count())) return false;
    return !pieces.failed() && same_.holds();
  }

  // The new files take their places and become those of the open table, whose orders differ from then on.
  bool finish() {
    // Whoever missed this must see it: the counter goes on from the old one.
    next_.add_change();
    next_.apply_changes();
    next_.set_moved(false);
    next_.stamp(writer_.count(), today());
    if (!writer_.complete(next_.data(), true) || !claim_new_file()) return unwritable();
    const InterruptHold hold;
    bool placed;
    {
      const KeyChange differing(dbf_);
      if (!differing.begun()) return false;
      placed = writer_.take_place();
      if (placed) adopt();
    }
    return placed || not_placed();
  }

 private:
  bool unwritable() {
    set_dos_error(errno);
    dxerror(dbf_, TableError::kBulkUnwritable, {operation_, writer_.failed_file()});
    return false;
  }

  bool add_live(std::uint8_t* records, std::int32_t count) {
    for (std::int32_t i = 0, run = 0; i < count; i += run) {
      std::uint8_t* first = records + static_cast<std::size_t>(i) * dbf_.recordSize;
      run = 1;
      if (*first == dbf::kDeletedMark) continue;
      while (i + run < count &&
             first[static_cast<std::size_t>(run) * dbf_.recordSize] != dbf::kDeletedMark)
        ++run;
      if (!move_memos(first, run)) return false;
      if (!writer_.add(first, run)) return unwritable();
    }
    return true;
  }

  // Copies the memos of some records and puts their new blocks into them.
  bool move_memos(std::uint8_t* records, std::int32_t count) {
    if (memos_.empty()) return true;
    for (std::int32_t i = 0; i < count; ++i, records += dbf_.recordSize)
      for (const dbf::Field* field : memos_) {
        const std::uint32_t block = dbf::memo_block(records + field->offset, field->length);
        if (block == 0) continue;
        if (!load_memo_text(dbf_, block, text_) || !same_.holds()) return false;
        const std::int64_t moved = writer_.add_memo(text_.view());
        if (moved < 0) return unwritable();
        dbf::put_block(records + field->offset, field->length, static_cast<std::uint32_t>(moved));
      }
    return true;
  }

  // Before it has the table's name: who waits for the table must not find it free.
  bool claim_new_file() {
    const Switched<int> switched(dbf_.dbfFd, writer_.records().fd());
    return claim_table(dbf_, true);
  }

  void adopt() {
    const int former = std::exchange(dbf_.dbfFd, writer_.records().release());
    dbf_.mapped = MappedFile(dbf_.dbfFd);
    dbf_.device = writer_.records().device();
    dbf_.inode = writer_.records().inode();
    dxClose(former);
    if (writer_.has_memo()) dxClose(std::exchange(dbf_.dbtFd, writer_.memos().release()));
    dbf_.header = next_;
    dbf_.lastRec = writer_.count();
    dbf_.window.reset();
    dbf_.ahead.forget();
    dbf_.buffer.forget();
    dbf_.locks.records.clear();
    dbf_.found = false;
    dbf_.changed = true;
    dbf_.appended = false;
    dbf_.recNo = 1;
    dbf_.bofFlag = dbf_.eofFlag = 0;
  }

  // Old records and new memos: nobody may work on those until the next open has finished the work.
  bool not_placed() {
    const bool halfway = writer_.halfway();
    unwritable();
    if (halfway && same_.holds()) close_table(dbf_);
    return false;
  }

  DbfIdx& dbf_;
  const char* const operation_;
  const SameTable same_;
  TableWriter writer_;
  TableHeader next_;
  std::vector<const dbf::Field*> memos_;
  MemoText text_;
};

// For the life of the guard no condition waits for the next order: the builds have those of their orders.
class ConditionKept {
 public:
  explicit ConditionKept(DbfIdx& dbf) : dbf_(dbf), kept_(std::exchange(dbf.newOrder, {})) {}
  ~ConditionKept() { dbf_.newOrder = kept_; }
  ConditionKept(const ConditionKept&) = delete;
  ConditionKept& operator=(const ConditionKept&) = delete;

 private:
  DbfIdx& dbf_;
  const OrderCondition kept_;
};

bool may_rewrite(DbfIdx& dbf, const char* operation, TableError not_exclusive) {
  if (!dbf.exclusive())
    dxerror(dbf, not_exclusive);
  else if (dbf.readOnly())
    dxerror(dbf, TableError::kBulkReadOnly, {operation, dbf.aliasName});
  else
    return true;
  return false;
}

// Has every order its keys? A build goes on past a record that it can't read.
bool all_built(const DbfIdx& dbf) {
  for (std::int32_t n = 1; n <= dbf.orderCount; ++n)
    if (dbf.orders[n]->state.agreement == Agreement::kDiffers) return false;
  return true;
}

bool rebuild(DbfIdx& dbf) {
  const SameTable same(dbf);
  const std::int32_t order = dbf.currentOrder;
  bool built = true;
  if (dbf.orderCount > 0) {
    const ConditionKept kept(dbf);
    built = rebuild_orders(dbf) && all_built(dbf);
  }
  if (!same.holds()) return false;
  dbf.currentOrder = order <= dbf.orderCount ? order : 0;
  go_top(dbf);
  return built && same.holds() && !is_unreadable(dbf);
}

bool rewrite(DbfIdx& dbf, const char* operation, bool with_records) {
  const SameTable same(dbf);
  if (commitRecord(dbf) == Commit::kFailed || !flush_records(dbf) || !same.holds()) return false;
  {
    Rewriting rewriting(dbf, operation);
    if (!rewriting.begin() || (with_records && !rewriting.copy_live_records()) ||
        !rewriting.finish())
      return false;
  }
  return rebuild(dbf);
}

}  // namespace

bool pack_table(DbfIdx& dbf) {
  return may_rewrite(dbf, "Pack()", TableError::kPackNotExclusive) && rewrite(dbf, "Pack()", true);
}
bool zap_table(DbfIdx& dbf) {
  return may_rewrite(dbf, "Zap()", TableError::kZapNotExclusive) && rewrite(dbf, "Zap()", false);
}

}  // namespace tarnel
