// The methods that lock and unlock records and the file.
#include <algorithm>
#include <cstring>

#include "core/arrays.h"
#include "core/stacks.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/method/methods.h"
#include "db/dbfidx/table_errors.h"
#include "db/file_ops.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

// Other processes may have changed the record until the lock was held. The latest state is read
// under the same internal lock as the header, so that the first field asked for costs nothing more.
void look_again(DbfIdx& dbf) {
  const InternalLock lock(dbf, LockMode::kShared);
  refresh_header(dbf);
  if (has_record(dbf, dbf.recNo)) {
    fetchRecord(dbf, dbf.recNo);
    dbf.prefetchedRec = dbf.bufferedRec;
  }
  dbf.bufferedRec = 0;
  stale_fields(dbf);
}

// Gives up record n, or everything, after committing, and looks at the record anew.
bool unlock(DbfIdx& dbf, std::int32_t n) {
  if (dbf.exclusive()) {
    dbf.flags &= static_cast<std::uint8_t>(~kFileLocked);
    return true;
  }
  if (!dbf.isOpen()) return false;
  const InternalLock lock(dbf, LockMode::kExclusive);
  if (n == 0 || n == dbf.recNo) commitRecord(dbf);
  const int result = n != 0 ? unlockRecord(dbf, n) : unlockAll(dbf);
  commit_table(dbf);
  return result == 0;
}

bool lock_record(DbfIdx& dbf, std::int32_t argc, Var** argv) {
  if (dbf.exclusive()) return true;
  if (!dbf.isOpen()) return false;
  std::int32_t n = arg_is(argc, argv, 1, kNumber) ? integer_of(argv[1]) : 0;
  if (n == 0) {
    if (dbf.lockList.count() > 0 || dbf.is(kFileLocked) || dbf.dirty) unlock(dbf, 0);
    n = dbf.recNo;
  }
  if (lockRecord(dbf, n) != 0) return false;
  if (n == dbf.recNo && !dbf.dirty) look_again(dbf);
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
  if (dbf.exclusive() || dbf.dirty || dbf.lockList.holds(dbf.recNo)) return true_value();
  if (dbf.bufferedRec == dbf.recNo && dbf.recNo <= dbf.lastRec) {
    dbf.backup.resize(dbf.record.size());
    const InternalLock lock(dbf, LockMode::kShared);
    if (!read_at(dbf.dbfFd, dbf.backup.data(), dbf.recordSize,
                 dbf::record_offset(dbf.headerSize, dbf.recordSize, dbf.recNo)) ||
        std::memcmp(dbf.backup.data(), dbf.record.data(), dbf.recordSize) != 0)
      return false_value();
  }
  return di_lockcurrentrecord(1, argv);
}

Var* di_rlocklist(std::int32_t, Var** argv) {
  const DbfIdx& dbf = dbf_of(argv[0]);
  Var* list = NEW_TEMP();
  cscreara(list, std::min(dbf.lockList.count(), kMaxElements), kAllNil);
  for (std::int32_t i = 0; i < element_count(list); ++i)
    SET_INT(element(list, i + 1), dbf.lockList.at(i));
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
