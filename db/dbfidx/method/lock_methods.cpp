// The methods that lock and unlock records and the file.
#include <algorithm>
#include <cstring>

#include "core/arrays.h"
#include "core/file_ops.h"
#include "core/stacks.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/method/methods.h"
#include "db/dbfidx/table_errors.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

// Other processes may have changed the record until the lock was held. Its latest state is read under
// the same internal lock as the header, so that the first field asked for costs nothing more.
void look_again(DbfIdx& dbf) {
  const InternalLock lock(dbf, LockMode::kShared);
  dbf.buffer.forget();
  if (!lock.held() || !refresh_header(dbf) || !has_record(dbf, dbf.recNo)) return;
  [[maybe_unused]] const bool told = fetchRecord(dbf, dbf.recNo);  // unreadable: refused to writers
}

// Gives up record n, or everything, after committing, and looks at the record anew.
bool unlock(DbfIdx& dbf, std::int32_t n) {
  if (dbf.exclusive()) {
    dbf.flags &= static_cast<std::uint8_t>(~kFileLocked);
    return true;
  }
  if (!dbf.isOpen()) return false;
  const SameTable same(dbf);
  const InternalLock lock(dbf, LockMode::kExclusive);
  if (!lock.held()) return false;
  const bool committed = (n != 0 && n != dbf.recNo) || commitRecord(dbf) != Commit::kFailed;
  if (!same.holds()) return false;
  const int result = n != 0 ? unlockRecord(dbf, n) : unlockAll(dbf);
  return commit_table(dbf) && committed && result == 0;
}

bool lock_record(DbfIdx& dbf, std::int32_t argc, Var** argv) {
  if (dbf.exclusive()) return true;
  if (!dbf.isOpen()) return false;
  std::int32_t n = arg_is(argc, argv, 1, kNumber) ? integer_of(argv[1]) : 0;
  if (n == 0) {
    if (dbf.locks.records.count() > 0 || dbf.is(kFileLocked) || dbf.buffer.changed())
      unlock(dbf, 0);
    n = dbf.recNo;
  }
  if (lockRecord(dbf, n) != 0) return false;
  if (n == dbf.recNo && !dbf.buffer.changed()) look_again(dbf);
  return true;
}

}  // namespace

Var* di_rlock(std::int32_t argc, Var** argv) {
  return logical(lock_record(dbf_of(argv[0]), argc, argv));
}

Var* di_lockcurrentrecord(std::int32_t, Var** argv) {
  Var* passed[] = {argv[0], TMP_INT(dbf_of(argv[0]).recNo)};
  return di_rlock(2, passed);
}

Var* di_flock(std::int32_t, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return false_value();
  if (dbf.exclusive()) {
    dbf.flags |= kFileLocked;
    return true_value();
  }
  if (dbf.is(kFileLocked)) return true_value();
  unlock(dbf, 0);
  if (lockFile(dbf) != 0) return false_value();
  look_again(dbf);
  return true_value();
}

Var* di_unlock(std::int32_t argc, Var** argv) {
  const std::int32_t n = arg_is(argc, argv, 1, kNumber) ? integer_of(argv[1]) : 0;
  return logical(unlock(dbf_of(argv[0]), n));
}

Var* di_rlockverify(std::int32_t, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return false_value();
  if (dbf.exclusive() || dbf.buffer.changed() || dbf.locks.records.holds(dbf.recNo))
    return true_value();
  if (is_buffered(dbf) && has_record(dbf, dbf.recNo)) {
    std::vector<std::uint8_t> now(dbf.recordSize);
    const InternalLock lock(dbf, LockMode::kShared);
    if (!lock.held() || !read_at(dbf.dbfFd, now.data(), now.size(), record_place(dbf, dbf.recNo)) ||
        std::memcmp(now.data(), dbf.buffer.data(), now.size()) != 0)
      return false_value();
  }
  return di_lockcurrentrecord(1, argv);
}

Var* di_rlocklist(std::int32_t, Var** argv) {
  const DbfIdx& dbf = dbf_of(argv[0]);
  Var* list = NEW_TEMP();
  cscreara(list, std::min(dbf.locks.records.count(), kMaxElements), kAllNil);
  for (std::int32_t i = 0; i < element_count(list); ++i)
    SET_INT(element(list, i + 1), dbf.locks.records.at(i));
  return list;
}

Var* di_concurrency(std::int32_t, Var** argv) {
  return TMP_INT(dbf_of(argv[0]).concurrency);
}

Var* di_set_concurrency(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!arg_is(argc, argv, 1, kNumber)) {
    dxerror(dbf, TableError::kConcurrencyAssign);
    return false_value();
  }
  dbf.concurrency = integer_of(argv[1]);
  return argv[1];
}

Var* di_usersdbf(std::int32_t, Var** argv) {
  return TMP_INT(other_holders(dbf_of(argv[0])));
}

}  // namespace tarnel
