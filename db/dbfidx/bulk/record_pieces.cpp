#include "db/dbfidx/bulk/record_pieces.h"

#include <algorithm>

#include "core/file_ops.h"
#include "core/settings.h"
#include "core/signals.h"
#include "db/dbfidx/table_errors.h"

namespace tarnel {
namespace {

constexpr std::size_t kPiece = 128 * 1024;

std::size_t records_in_piece(const DbfIdx& dbf) {
  return std::max<std::size_t>(kPiece / dbf.recordSize, 1);
}

}  // namespace

RecordPieces::RecordPieces(DbfIdx& dbf, const char* work)
    : dbf_(dbf),
      same_(dbf),
      bytes_(records_in_piece(dbf) * dbf.recordSize),
      progress_(work, dbf.lastRec) {}

bool RecordPieces::suit(const DbfIdx& dbf, const Scope& scope) {
  return scope.forBlock == nullptr && scope.whileBlock == nullptr && scope.count == kScopeAll &&
         dbf.currentOrder == 0 && dbf.scan.filterBlock == nullptr && !settings().deleted;
}

bool RecordPieces::next() {
  if (failed_ || !same_.holds()) return false;
  if (count_ > 0) {
    progress_.to(first_ + count_ - 1);
    look_at_signals();
  }
  first_ += count_;
  count_ = 0;
  failed_ = !read() || !same_.holds();
  return !failed_ && count_ > 0;
}

bool RecordPieces::read() {
  const InternalLock lock(dbf_, LockMode::kShared);
  if (!lock.held() || !refresh_header(dbf_) || !flush_records(dbf_)) return false;
  const std::int32_t wanted =
      std::min(static_cast<std::int32_t>(records_in_piece(dbf_)), dbf_.lastRec - first_ + 1);
  if (wanted <= 0) return true;
  const std::int64_t got =
      read_some_at(dbf_.dbfFd, bytes_.data(), static_cast<std::size_t>(wanted) * dbf_.recordSize,
                   record_place(dbf_, first_));
  const std::int64_t whole = std::max<std::int64_t>(got, 0) / dbf_.recordSize;
  count_ = wanted;
  if (whole == wanted) return true;
  dxerror(dbf_, TableError::kRecordUnreadable, {first_ + whole, dbf_.fileName});
  return false;
}

}  // namespace tarnel
