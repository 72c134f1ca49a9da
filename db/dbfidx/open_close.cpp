// Opening, creating and closing a table.
#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <cerrno>

#include "core/arrays.h"
#include "core/errors.h"
#include "core/file_ops.h"
#include "core/open_files.h"
#include "core/runtime.h"
#include "core/settings.h"
#include "core/text.h"
#include "db/dbfidx/bulk/pair_recovery.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/format/format_dbt.h"
#include "db/dbfidx/order/orders.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/dbfidx/scan/relations.h"
#include "db/dbfidx/table_errors.h"
#include "db/open_manner.h"
#include "lib/file_names.h"
#include "lib/files.h"

namespace tarnel {
namespace {

constexpr std::uint8_t kVersionFourMemo = 0x8B, kVersionFoxMemo = 0xF5;
constexpr mode_t kMandatoryLock = S_ISGID;

void refuse_version(DbfIdx& dbf, std::uint8_t version) {
  switch (version) {
    case kVersionFourMemo:
      return dxerror(dbf, TableError::kVersionFour);
    case kVersionFoxMemo:
      return dxerror(dbf, TableError::kVersionFox);
    default:
      return dxerror(dbf, TableError::kVersionOther, {std::int32_t{version}});
  }
}

// What is wrong with the fixed part of a header, null when nothing.
const char* contradiction(const std::uint8_t* header, std::int64_t file_size) {
  const std::int64_t size = dbf::header_size(header), record = dbf::record_size(header);
  if (size <= static_cast<std::int64_t>(dbf::kHeaderPrefix)) return "header too short";
  if (size > file_size) return "header longer than the file";
  if (record == 0) return "record size 0";
  if (dbf::record_count(header) > kMaxRecords) return "more records than a table can have";
  // A crash can leave one record counted that was never written.
  if (dbf::record_count(header) > (file_size - size + record - 1) / record + 1)
    return "more records than the file holds";
  return nullptr;
}

// The descriptors of a damaged header may be read, as far as they lie inside the record, but what they
// say is not written by: an append would write records of another width than the file has.
bool read_structure(DbfIdx& dbf, bool to_write) {
  const bool fits = dbf::read_fields(dbf.header.bytes(), dbf.fields);
  if (fits || !to_write) return true;
  dxerror(dbf, TableError::kHeaderDamaged, {dbf.fileName, "fields do not add up to the record"});
  return false;
}

bool read_header(DbfIdx& dbf, const OpenRequest& request) {
  std::uint8_t prefix[dbf::kHeaderPrefix];
  struct stat status {};
  if (!read_at(dbf.dbfFd, prefix, sizeof prefix, 0) || file_ops().fstat(dbf.dbfFd, &status) != 0) {
    dxerror(dbf, TableError::kHeaderUnreadable, {dbf.fileName});
    return false;
  }
  if (!dbf::is_table(dbf::version(prefix))) {
    refuse_version(dbf, dbf::version(prefix));
    return false;
  }
  if (const char* wrong = contradiction(prefix, status.st_size); wrong != nullptr) {
    dxerror(dbf, TableError::kHeaderDamaged, {dbf.fileName, wrong});
    return false;
  }
  dbf.recordSize = dbf::record_size(prefix);
  dbf.lastRec = static_cast<std::int32_t>(dbf::record_count(prefix));
  std::vector<std::uint8_t> bytes(dbf::header_size(prefix));
  if (!read_at(dbf.dbfFd, bytes.data(), bytes.size(), 0)) {
    dxerror(dbf, TableError::kHeaderUnreadable, {dbf.fileName});
    return false;
  }
  std::copy(std::begin(prefix), std::end(prefix), bytes.begin());
  dbf.header.adopt(std::move(bytes));
  return read_structure(dbf, !request.read_only && !request.internal);
}

bool open_memo(DbfIdx& dbf) {
  if (!dbf::has_memo(dbf::version(dbf.header.data()))) return true;
  dbf.memoName = memo_path(dbf.fileName);
  ForgivingOpen* forgiving = forgiving_open();
  if (forgiving != nullptr) dbf.memoName = in_any_case(dbf.memoName);
  const int fd = dxOpen(dbf.memoName, nullptr, dbf.readOnly() ? 0 : 2);
  if (fd > 0) {
    dbf.dbtFd = fd;
    return true;
  }
  set_dos_error(errno);
  if (errno == ENOENT && forgiving != nullptr) {
    forgiving->miss(dbf.memoName);
    if (dbf.readOnly()) return true;
  }
  dxerror(dbf, TableError::kOpenFailed, {dbf.fileName});
  return false;
}

// The claims of other areas and processes allow this open.
bool claim(DbfIdx& dbf, bool exclusive) {
  const Ring ring = ringCheck(dbf, exclusive ? RingUse::kExclusiveOpen : RingUse::kSharedOpen);
  if (ring == Ring::kConflict) return false;
  return (ring == Ring::kCompatible && !exclusive) || claim_table(dbf, exclusive);
}

bool open_file_of(DbfIdx& dbf, const OpenRequest& request) {
  std::string name;
  const int mode = request.read_only ? 0 : 2;
  const int fd = defaultExtension(name, request.file, dbf.dbfExt, kPathLimit + 1)
                     ? dxOpen(name, &dbf.fileName, mode)
                     : -1;
  struct stat status {};
  if (fd < 0 || dbf.fileName.size() > kPathLimit || file_ops().fstat(fd, &status) != 0) {
    const int reason = errno;
    if (fd >= 0) dxClose(fd);
    set_dos_error(reason);
    if (reason != EAGAIN) dxerror(dbf, TableError::kOpenFailed, {request.file});
    return false;
  }
  dbf.dbfFd = fd;
  dbf.mapped = MappedFile(fd);
  dbf.device = status.st_dev;
  dbf.inode = status.st_ino;
  if ((status.st_mode & kMandatoryLock) != 0) dxerror(dbf, TableError::kMandatoryLock);
  return true;
}

void give_up_files(DbfIdx& dbf) {
  if (dbf.dbtFd > 0) dxClose(dbf.dbtFd);
  if (dbf.dbfFd > 0) dxClose(dbf.dbfFd);
}

bool attach_area(DbfIdx& dbf) {
  if (ogannali(dbf.object, dbf.fileName, &dbf.aliasName) < 0) return false;
  dbf.area = area_by_server(dbf.object);
  if (dbf.area != nullptr) attach_field_cells(dbf);
  return dbf.area != nullptr;
}

// A table that is shared must lie before the ranges of the other locks.
bool can_be_used(DbfIdx& dbf, const OpenRequest& request) {
  if (request.exclusive || can_lock_record(dbf, dbf.lastRec)) return true;
  dxerror(dbf, TableError::kOpenTooLarge, {dbf.fileName, lockable_end(dbf.lock40)});
  return false;
}

// What another attempt to open may change.
enum class Retry : std::uint8_t { kNothing, kFileReplaced, kPairUnfinished };

// Does the name still lead to the file that was opened? Whoever packs the table puts another one there.
bool is_replaced(DbfIdx& dbf, Retry& retry) {
  struct stat status {};
  if (file_ops().stat(dbf.fileName.c_str(), &status) != 0) {
    dxerror(dbf, TableError::kOpenFailed, {dbf.fileName});
    return true;
  }
  if (status.st_dev == dbf.device && status.st_ino == dbf.inode) return false;
  retry = Retry::kFileReplaced;
  return true;
}

// Do record and memo file belong together? Two that a process left halfway are put right by who has the
// table alone.
bool is_pair(DbfIdx& dbf, bool exclusive, Retry& retry) {
  if (!dbf.hasMemo()) return true;
  switch (look_at_pair(dbf)) {
    case Pair::kWhole:
      return true;
    case Pair::kUnfinished:
      retry = exclusive && finish_pair(dbf) ? Retry::kFileReplaced : Retry::kPairUnfinished;
      return false;
    case Pair::kForeign:
      dxerror(dbf, TableError::kHeaderDamaged,
              {dbf.fileName, "its memo file belongs to another record file"});
      return false;
    case Pair::kUnreadable:
      break;
  }
  dxerror(dbf, TableError::kHeaderUnreadable, {dbf.memoName});
  return false;
}

// All but the area, under the internal lock.
bool prepare(DbfIdx& dbf, const OpenRequest& request, Retry& retry) {
  dbf.lock40 = settings().lock40comp;
  if (request.read_only) dbf.flags |= kReadOnly;
  if (!readLock(dbf)) return false;
  join_ring(dbf);
  const bool ok = claim(dbf, request.exclusive) && !is_replaced(dbf, retry) &&
                  read_header(dbf, request) && can_be_used(dbf, request) && open_memo(dbf) &&
                  is_pair(dbf, request.exclusive, retry);
  unlockInternal(dbf);
  return ok;
}

void make_buffers(DbfIdx& dbf) {
  dbf.fieldCount = static_cast<std::int32_t>(dbf.fields.size());
  dbf.buffer.lay_out(dbf.recordSize);
  dbf.fieldStamps.assign(dbf.fields.size(), 0);
}

// What an attempt to open took goes back unless it succeeds, also when a handler leaves by break.
class OpenAttempt {
 public:
  explicit OpenAttempt(DbfIdx& dbf) : dbf_(dbf) { dbf.opening = true; }
  ~OpenAttempt() noexcept(false) {
    dbf_.opening = false;
    if (done_) return;
    bbneterr(true);
    if (dbf_.isOpen()) {
      close_table(dbf_);
    } else {
      drop_internal(dbf_);
      leave_ring(dbf_);
      give_up_files(dbf_);
      dbf_.reset();
    }
  }
  OpenAttempt(const OpenAttempt&) = delete;
  OpenAttempt& operator=(const OpenAttempt&) = delete;

  bool succeed() {
    bbneterr(false);
    return done_ = true;
  }

 private:
  DbfIdx& dbf_;
  bool done_ = false;
};

void place_cursor(DbfIdx& dbf) {
  dbf.recNo = 1;
  dbf.bofFlag = dbf.eofFlag = 0;
  if (dbf.lastRec > 0) return;
  phantom(dbf);
  dbf.bofFlag = 1;
}

// An exclusive table leaves with a true header and nothing behind its last record. One that was only
// read is left alone, date included.
void finish_exclusive(DbfIdx& dbf) {
  if (!dbf.exclusive() || dbf.readOnly() || !dbf.changed) return;
  // What can't be cut off counts for nobody.
  if (write_header(dbf) && dbf.appended) [[maybe_unused]]
    const bool cut = set_size(dbf.dbfFd, record_place(dbf, dbf.lastRec) + dbf.recordSize);
}

// --- Creating.

// The checked structure of a new table, or false after an error.
class Structure {
 public:
  Structure(DbfIdx& dbf, const Var* rows) : dbf_(dbf), rows_(rows) {}

  bool check() {
    for (std::int32_t i = 1; i <= element_count(rows_); ++i)
      if (!add(element(rows_, i))) return false;
    const std::size_t size = dbf::kHeaderPrefix + fields_.size() * dbf::kDescriptorSize + 1;
    return size <= UINT16_MAX || fail(TableError::kCreateFieldCount);
  }

  const std::vector<dbf::Field>& fields() const { return fields_; }
  bool has_memo() const { return memo_; }

 private:
  bool fail(TableError error, std::initializer_list<Fact> facts = {}) {
    dxerror(dbf_, error, facts);
    return false;
  }

  static bool well_typed(const Var* row) {
    return element_count(row) >= 4 && element(row, 1)->type == 'C' &&
           element(row, 2)->type == 'C' && is_number(element(row, 3)) && is_number(element(row, 4));
  }

  bool add(const Var* row) {
    if (row->type != 'A') return fail(TableError::kCreateArgumentType);
    if (!well_typed(row)) return fail(TableError::kCreateElementType);
    const std::string_view name = trim_right(text_of(element(row, 1)));
    const std::string_view type = text_of(element(row, 2));
    const std::int32_t length = integer_of(element(row, 3));
    if (type.empty() || name.empty() || name.size() > dbf::kNameField || length < 0)
      return fail(TableError::kCreateEmptyName);
    dbf::Field field{};
    std::transform(name.begin(), name.end(), field.name, upper_letter);
    field.type = upper_letter(type.front());
    return size(field, length, integer_of(element(row, 4)));
  }

  bool size(dbf::Field& field, std::int32_t length, std::int32_t decimals) {
    const bool numeric = field.type == 'N' || field.type == 'F';
    if (!letter_in(field.type, "CDFLMN")) return fail(TableError::kCreateFieldType, {field.type});
    if (field.type == 'C' && length > dbf::kMaxFieldLength)
      return fail(TableError::kCreateCharacterSize);
    if (numeric && (length > dbf::kMaxNumericLength || decimals > dbf::kMaxNumericDecimals))
      return fail(TableError::kCreateNumericSize);
    field.length = static_cast<std::uint16_t>(dbf::stored_length(field.type, length));
    field.decimals = static_cast<std::uint8_t>(numeric && decimals > 0 ? decimals : 0);
    record_ += field.length;
    if (record_ > dbf::kMaxRecordSize) return fail(TableError::kCreateRecordSize);
    memo_ |= field.type == 'M';
    fields_.push_back(field);
    return true;
  }

  DbfIdx& dbf_;
  const Var* rows_;
  std::vector<dbf::Field> fields_;
  int record_ = 1;
  bool memo_ = false;
};

// 644 means mode 0644: the decimal digits are read as octal ones.
mode_t octal_digits(std::int32_t n) {
  mode_t mode = 0;
  for (unsigned shift = 0; n > 0; n /= 10, shift += 3)
    mode |= static_cast<mode_t>(n % 10 & 7) << shift;
  return mode & 07777;
}

// A file under creation; closed by the destructor, and removed again unless it is kept.
class NewFile {
 public:
  NewFile(const std::string& path, mode_t mode, bool existed) : path_(path), existed_(existed) {
    fd_ = open_file(path.c_str(), O_RDWR | O_CREAT | (existed ? O_TRUNC : O_EXCL), mode);
    if (fd_ < 0) return;
    static_cast<void>(file_ops().fchmod(fd_, mode));  // not ours to change on some file systems
    if (!existed) lock_range(fd_, F_WRLCK, 0, 0);
  }
  ~NewFile() {
    if (fd_ < 0) return;
    if (!kept_ && !existed_) file_ops().unlink(path_.c_str());
    close_file(fd_);
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  bool opened() const { return fd_ >= 0; }
  bool write(const std::vector<std::uint8_t>& bytes) {
    return write_at(fd_, bytes.data(), bytes.size(), 0);
  }
  void keep() { kept_ = true; }

 private:
  std::string path_;
  bool existed_;
  bool kept_ = false;
  int fd_ = -1;
};

bool is_there(const std::string& path) {
  struct stat status {};
  return file_ops().stat(path.c_str(), &status) == 0;
}

bool fail_creation(DbfIdx& dbf, TableError error, const std::string& path) {
  set_dos_error(errno);
  dxerror(dbf, error, {path});
  return false;
}

bool write_files(DbfIdx& dbf, const std::string& path, const Structure& structure, mode_t mode,
                 bool existed) {
  NewFile table(path, mode, existed);
  if (!table.opened()) return fail_creation(dbf, TableError::kCreateFailed, path);
  if (!table.write(dbf::new_header(structure.fields(), today())))
    return fail_creation(dbf, TableError::kCreateUnwritable, path);
  if (structure.has_memo()) {
    const std::string memos = memo_path(path);
    NewFile memo(memos, mode, is_there(memos));
    if (!memo.opened()) return fail_creation(dbf, TableError::kCreateFailed, memos);
    if (!memo.write(dbt::new_first_block()))
      return fail_creation(dbf, TableError::kCreateUnwritable, memos);
    memo.keep();
  }
  table.keep();
  return true;
}

// While a table is being closed, what closes it again, such as a handler that hears of a failed write,
// does nothing.
class ClosingScope {
 public:
  explicit ClosingScope(DbfIdx& dbf) : dbf_(dbf) { dbf.closing = true; }
  ~ClosingScope() { dbf_.closing = false; }
  ClosingScope(const ClosingScope&) = delete;
  ClosingScope& operator=(const ClosingScope&) = delete;

 private:
  DbfIdx& dbf_;
};

}  // namespace

DbfIdx*& open_tables() {
  static DbfIdx* head = nullptr;
  return head;
}

std::string memo_path(const std::string& table) {
  const std::size_t dot = table.rfind('.');
  const std::size_t slash = table.rfind('/');
  const bool has_extension =
      dot != std::string::npos && (slash == std::string::npos || dot > slash);
  return (has_extension ? table.substr(0, dot) : table) + ".dbt";
}

std::string full_table_path(std::string_view name, std::string_view extension) {
  std::string path;
  if (!defaultExtension(path, name, extension, kPathLimit + 1)) return {};
  path = fullPath(pathJoin("", path));
  return path.size() <= kPathLimit ? path : std::string();
}

static bool try_to_open(DbfIdx& dbf, const OpenRequest& request, Retry& retry) {
  OpenAttempt attempt(dbf);
  if (!open_file_of(dbf, request) || !prepare(dbf, request, retry)) return false;
  ++dbf.generation;
  dbf.flags = static_cast<std::uint8_t>(kOpen | (dbf.flags & kReadOnly));
  if (request.exclusive) dbf.flags |= kExclusive;
  if (request.internal) dbf.flags |= kInternalOpen;
  make_buffers(dbf);
  if (!request.internal && !attach_area(dbf)) return false;
  place_cursor(dbf);
  return attempt.succeed();
}

// Opens a table for a moment alone, which finishes what is unfinished. Others may be at it.
static void open_to_finish(DbfIdx& dbf, const OpenRequest& request) {
  const ErrorHold told_later;
  Retry retry = Retry::kNothing;
  OpenRequest alone = request;
  alone.exclusive = alone.internal = true;
  if (try_to_open(dbf, alone, retry)) close_table(dbf);
}

bool open_table(DbfIdx& dbf, const OpenRequest& request) {
  constexpr int kTries = 10;
  constexpr timespec kPause = {0, 1'000'000};
  if (dbf.opening) return false;  // a handler's try, on the object that is being opened
  const InterruptHold hold;
  Retry retry = Retry::kNothing;
  for (int i = 0; i < kTries; ++i) {
    if (i > 1) nanosleep(&kPause, nullptr);
    retry = Retry::kNothing;
    if (try_to_open(dbf, request, retry)) return true;
    if (retry == Retry::kNothing) return false;
    if (retry == Retry::kPairUnfinished && !request.exclusive) open_to_finish(dbf, request);
  }
  dxerror(dbf,
          retry == Retry::kPairUnfinished ? TableError::kOpenUnfinished : TableError::kOpenFailed,
          {request.file});
  return false;
}

void close_table(DbfIdx& dbf) {
  if (dbf.is(kClosed) || dbf.closing) return;
  const InterruptHold hold;
  const KeepObject keep(dbf.object);  // the area may hold the last reference
  const ClosingScope closing(dbf);
  {
    const InternalLock lock(dbf, LockMode::kExclusive);
    if (lock.held()) {
      if (!leave_record(dbf)) return;  // a handler closed it
      updateHeader(dbf);
    }
    close_orders(dbf);
    clear_relations(dbf);
    release_conditions(dbf);
    unlockAll(dbf);
    finish_exclusive(dbf);
  }
  drop_internal(dbf);  // an operation may be on its way above
  leave_ring(dbf);
  const bool internal = dbf.is(kInternalOpen);
  if (!internal) detach_field_cells(dbf);
  sync_now_and_then();
  give_up_files(dbf);
  dbf.reset();
  ++dbf.generation;
  if (!internal) remove_server(dbf.object);
}

bool read_structure(DbfIdx& dbf, const Var* rows, std::vector<dbf::Field>& fields) {
  Structure structure(dbf, rows);
  if (!structure.check()) return false;
  fields = structure.fields();
  return true;
}

bool create_table(DbfIdx& dbf, std::string_view file, const Var* rows, const Var* mode) {
  const InterruptHold hold;
  Structure structure(dbf, rows);
  if (!structure.check()) return false;
  const std::string path = full_table_path(file, dbf.dbfExt);
  if (path.empty()) {
    errno = ENAMETOOLONG;
    return fail_creation(dbf, TableError::kCreateFailed, std::string(file));
  }
  if (tables_only_read()) {
    errno = EROFS;
    return fail_creation(dbf, TableError::kCreateFailed, path);
  }
  const bool existed = is_there(path);
  // Not read-only, though nothing is written through it: the claim must keep readers out too.
  if (existed && !open_table(dbf, {.file = path, .exclusive = true, .internal = true})) {
    dxerror(dbf, TableError::kCreateInUse, {path});
    return false;
  }
  const mode_t bits = mode != nullptr ? octal_digits(integer_of(mode)) : fileDefaultMode();
  const bool created = write_files(dbf, path, structure, bits, existed);
  if (existed) close_table(dbf);
  return created;
}

}  // namespace tarnel
