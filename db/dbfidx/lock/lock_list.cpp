#include "db/dbfidx/lock/lock_list.h"

#include <sys/sysmacros.h>

#include <algorithm>
#include <cinttypes>
#include <compare>
#include <cstdio>
#include <cstring>
#include <utility>

#include "core/file_ops.h"
#include "core/open_files.h"
#include "db/dbfidx/lock/lock_ranges.h"

namespace tarnel {
namespace {

struct Range {
  pid_t process;
  std::int64_t start, end;  // the last byte
  bool write, waits;

  auto operator<=>(const Range&) const = default;
};

// The system's list of the locks of this machine; empty where there is none.
std::string system_list() {
  std::string text;
  const File file("/proc/locks", O_RDONLY);
  char piece[4096];
  if (!file.opened()) return text;
  for (ssize_t n; (n = file_ops().read(file.fd(), piece, sizeof piece)) > 0;)
    text.append(piece, static_cast<std::size_t>(n));
  return text;
}

// A line is "1: POSIX  ADVISORY  READ 5750 fe:00:11133374 0 1030"; of who waits with "->" behind the number.
bool read_line(const char* line, const DbfIdx& dbf, Range& range) {
  char kind[16], mode[16], type[16], end[24];
  unsigned major_number = 0, minor_number = 0;
  std::uint64_t inode = 0;
  int process = 0;
  const char* at = std::strchr(line, ':');
  if (at == nullptr) return false;
  const char* arrow = std::strstr(at, "-> ");
  const char* newline = std::strchr(line, '\n');
  range.waits = arrow != nullptr && (newline == nullptr || arrow < newline);
  if (std::sscanf(range.waits ? arrow + 3 : at + 1,
                  "%15s %15s %15s %d %x:%x:%" SCNu64 " %" SCNd64 " %23s", kind, mode, type,
                  &process, &major_number, &minor_number, &inode, &range.start, end) != 9)
    return false;
  range.process = process;
  range.write = std::strcmp(type, "WRITE") == 0;
  range.end = std::strcmp(end, "EOF") == 0 ? INT64_MAX : std::strtoll(end, nullptr, 10);
  return std::strcmp(kind, "POSIX") == 0 && inode == dbf.inode &&
         makedev(major_number, minor_number) == dbf.device;
}

// What others hold between two bytes, asked one by one: any of those that share a range.
void ask(int fd, std::int64_t start, std::int64_t end, std::vector<Range>& ranges) {
  struct flock range {};
  range.l_type = F_WRLCK;
  range.l_start = start;
  range.l_len = end == INT64_MAX ? 0 : end - start + 1;
  if (file_ops().lock(fd, F_GETLK, &range) != 0 || range.l_type == F_UNLCK) return;
  const std::int64_t first = range.l_start;
  const std::int64_t last = range.l_len == 0 ? INT64_MAX : first + range.l_len - 1;
  ranges.push_back({range.l_pid, first, last, range.l_type == F_WRLCK, false});
  if (first > start) ask(fd, start, first - 1, ranges);
  if (last < end) ask(fd, last + 1, end, ranges);
}

bool within(const Range& range, std::int64_t start, std::int64_t length) {
  return range.start >= start && range.end < start + length;
}

std::string records(const DbfIdx& dbf, const Range& range) {
  const std::int64_t first = record_place(dbf, 1), size = dbf.recordSize;
  if (range.start < first) return "bytes " + std::to_string(range.start) + " on";
  const std::int64_t from = (range.start - first) / size + 1, to = (range.end - first) / size + 1;
  if (range.end == INT64_MAX) return "records from " + std::to_string(from) + " on";
  return from == to ? "record " + std::to_string(from)
                    : "records " + std::to_string(from) + " to " + std::to_string(to);
}

std::string describe(const DbfIdx& dbf, const Range& range) {
  const std::int64_t claim = dbf.lock40 ? kClaim40At : kDbfTop - kClaimSpan;
  const std::int64_t span = dbf.lock40 ? kClaim40Length : kClaimLength;
  if (within(range, claim, span)) return range.end - range.start + 1 == span ? "alone" : "open";
  if (dbf.lock40 && range.start >= kGate40) return range.start == kGate40 ? "writes" : "reads";
  if (!dbf.lock40 && within(range, kInternalAt, kInternalLength))
    return range.write ? "writes" : "reads";
  // No record begins there; other locks of its holder may have become a part of it, or have cut it short.
  if (range.start == kFileLockAt) return "file";
  return records(dbf, range);
}

std::vector<Range> listed(const DbfIdx& dbf) {
  std::vector<Range> ranges;
  const std::string list = system_list();
  for (std::size_t at = 0; at < list.size(); at = list.find('\n', at) + 1) {
    Range range{};
    if (read_line(list.c_str() + at, dbf, range)) ranges.push_back(range);
    if (list.find('\n', at) == std::string::npos) break;
  }
  std::sort(ranges.begin(), ranges.end());
  ranges.erase(std::unique(ranges.begin(), ranges.end()), ranges.end());
  return ranges;
}

}  // namespace

std::vector<HeldLock> locks_on(const DbfIdx& dbf) {
  // The system makes the list while it is read: where others lock and unlock meanwhile, on whatever files, a line may
  // come twice or be missed. What two looks agree on is believed.
  constexpr int kLooks = 20;
  std::vector<Range> ranges = listed(dbf), before;
  for (int look = 0; look < kLooks && (look == 0 || ranges != before); ++look)
    before = std::exchange(ranges, listed(dbf));
  if (ranges.empty()) ask(dbf.dbfFd, 0, INT64_MAX, ranges);
  std::vector<HeldLock> held;
  for (const Range& range : ranges)
    held.push_back({range.process, range.waits, describe(dbf, range)});
  return held;
}

}  // namespace tarnel
