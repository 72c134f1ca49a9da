#include "db/dbfidx/record/memo.h"

#include <cstring>

#include "core/errors.h"
#include "core/file_ops.h"
#include "core/memory.h"
#include "db/dbfidx/format/format_dbt.h"
#include "db/dbfidx/table_errors.h"

namespace tarnel {
namespace {

char empty[1] = "";

bool memo_open(const DbfIdx& dbf) {
  return dbf.isOpen() && dbf.hasMemo() && dbf::has_memo(dbf.header.version());
}

// Finds a text with its end; raises 301 or 103 and gives false when it has none.
bool load(DbfIdx& dbf, std::uint32_t block, MemoText& memo) {
  const int found = dbt::find_end(dbf.dbtFd, block, memo.bytes, memo.length, memo.blocks);
  if (found > 0) return true;
  if (found == 0 && memo.bytes.size() >= dbt::kMaxBlocks * dbt::kBlockSize)
    dxerror(dbf, TableError::kMemoTooLong);
  else
    dxerror(dbf, TableError::kMemoUnreadable, {std::int64_t{block}, dbf.aliasName});
  return false;
}

// The lock on the next-free word, for the time a block is taken.
class AllocationLock {
 public:
  explicit AllocationLock(const DbfIdx& dbf) : fd_(dbf.dbtFd), needed_(!dbf.exclusive()) {
    held_ = !needed_ || lock_range(fd_, F_WRLCK, 0, dbt::kNextFreeSize, LockWait::kYes);
  }
  ~AllocationLock() {
    if (needed_ && held_) lock_range(fd_, F_UNLCK, 0, dbt::kNextFreeSize);
  }
  AllocationLock(const AllocationLock&) = delete;
  AllocationLock& operator=(const AllocationLock&) = delete;
  bool held() const { return held_; }

 private:
  int fd_;
  bool needed_;
  bool held_ = false;
};

// A next-free word far behind the file's end is damage: a text there would make a vast sparse file.
// A crash between taking a block and writing its text leaves the word a little ahead.
bool is_near_end(int fd, std::uint32_t block) {
  constexpr std::int64_t kSlack = 4096;  // blocks
  struct stat status {};
  return file_ops().fstat(fd, &status) == 0 &&
         block <= status.st_size / static_cast<std::int64_t>(dbt::kBlockSize) + kSlack;
}

// Takes the blocks of a text of n bytes at the end of the file. A text that fills its own blocks, which are the
// last, stays there and takes one more, for its end mark. False on a system error or damage.
bool allocate(DbfIdx& dbf, std::size_t n, std::size_t room, std::uint32_t& block) {
  std::uint32_t next = 0;
  if (!dbt::read_next_free(dbf.dbtFd, next) || next == 0 || !is_near_end(dbf.dbtFd, next))
    return false;
  const bool stays = room == n && next == block + room / dbt::kBlockSize;
  const std::uint32_t needed = stays ? 1 : dbt::blocks_needed(n);
  if (next > UINT32_MAX - needed || !dbt::write_next_free(dbf.dbtFd, next + needed)) return false;
  if (!stays) block = next;
  return true;
}

}  // namespace

std::size_t memoSize(DbfIdx& dbf, std::uint32_t block, bool whole) {
  MemoText memo;
  if (block == 0 || !load(dbf, block, memo)) return 0;
  return whole ? memo.blocks * dbt::kBlockSize : memo.length;
}

bool load_memo_text(DbfIdx& dbf, std::uint32_t block, MemoText& memo) {
  if (memo_open(dbf)) return load(dbf, block, memo);
  dxerror(dbf, TableError::kNoMemoFile);
  return false;
}

bool memoRead(DbfIdx& dbf, std::uint32_t block, Var* cell) {
  set_memo_text(cell, {});
  MemoText memo;
  if (!load_memo_text(dbf, block, memo)) return false;
  set_memo_text(cell, memo.view());
  return true;
}

// As memoWrite(), without a cell.
static std::int64_t write_text_at(DbfIdx& dbf, std::uint32_t block, std::string_view text) {
  if (!memo_open(dbf)) {
    dxerror(dbf, TableError::kPutNotOpen, {dbf.aliasName});
    return -1;
  }
  if (text.size() >= dbt::kMaxBlocks * dbt::kBlockSize) {  // nobody could read it again
    dxerror(dbf, TableError::kMemoTooLong);
    return -1;
  }
  {
    const AllocationLock lock(dbf);
    const std::size_t room = memoSize(dbf, block, true);
    if (!dbf.isOpen()) return -1;                          // an error's handler closed it
    const bool fits = text.empty() || text.size() < room;  // with its end mark
    if (!fits && (!lock.held() || !allocate(dbf, text.size(), room, block))) {
      dxerror(dbf, TableError::kMemoUnwritable, {std::int64_t{block}, dbf.aliasName});
      return -1;
    }
  }
  if (block == 0) return 0;
  if (!dbt::write_text(dbf.dbtFd, block, text.data(), text.size())) {
    dxerror(dbf, TableError::kMemoUnwritable, {std::int64_t{block}, dbf.aliasName});
    return -1;
  }
  return block;
}

std::int64_t add_memo_text(DbfIdx& dbf, std::string_view text) {
  return write_text_at(dbf, 0, text);
}

std::int64_t memoWrite(DbfIdx& dbf, std::uint32_t block, std::string_view text, Var* cell) {
  const std::int64_t used = write_text_at(dbf, block, text);
  if (used > 0) set_memo_text(cell, text);
  return used;
}

void set_memo_text(Var* cell, std::string_view text) {
  char* buffer = empty;
  if (!text.empty()) {
    buffer = static_cast<char*>(MEM_ALLOC(text.size() + 1, MemPurpose::kText));
    std::memcpy(buffer, text.data(), text.size());
    buffer[text.size()] = 0;
  }
  clear_memo_text(cell);
  cell->text = buffer;
  cell->length = static_cast<std::int32_t>(text.size() + 1);
}

void clear_memo_text(Var* cell) {
  if (cell->text != empty) MEM_FREE(cell->text);
  cell->text = empty;
  cell->length = 1;
}

}  // namespace tarnel
