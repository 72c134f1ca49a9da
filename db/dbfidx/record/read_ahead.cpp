#include "db/dbfidx/record/read_ahead.h"

#include <time.h>

#include <algorithm>
#include <cassert>
#include <cstring>

#include "db/dbfidx/dbfidx.h"

namespace tarnel {
namespace {

constexpr std::int64_t kBelieved = 10'000'000;  // ns
constexpr std::size_t kMostBytes = 64 * 1024;
constexpr std::int32_t kFewRecords = 3;  // no walk yet

std::int64_t now() {
  timespec t{};
  clock_gettime(CLOCK_MONOTONIC, &t);
  return std::int64_t{t.tv_sec} * 1'000'000'000 + t.tv_nsec;
}

}  // namespace

bool ReadAhead::take(std::int32_t n, std::uint8_t* to, std::size_t record_size) {
  walked_ = n == last_ + 1 ? walked_ + 1 : 0;
  last_ = n;
  if (n < first_ || n >= first_ + count_ || now() - read_at_ > kBelieved) return false;
  std::memcpy(to, bytes_.data() + static_cast<std::size_t>(n - first_) * record_size, record_size);
  return true;
}

bool ReadAhead::read(DbfIdx& dbf, std::int32_t n, std::int32_t count) {
  assert(is_locked(dbf) && n >= 1 && n + count - 1 <= dbf.lastRec);
  forget();
  const std::size_t size = static_cast<std::size_t>(count) * dbf.recordSize;
  bytes_.resize(std::max(bytes_.size(), size));
  read_at_ = now();
  if (!read_shared(dbf, bytes_.data(), size, record_place(dbf, n))) return false;
  first_ = n;
  count_ = count;
  return true;
}

bool ReadAhead::load(DbfIdx& dbf, std::int32_t n, std::uint8_t* to) {
  const auto most = static_cast<std::int32_t>(kMostBytes / dbf.recordSize);
  const std::int32_t wanted = std::min({walked_, most, dbf.lastRec - n + 1});
  if (walked_ < kFewRecords || wanted < 2 || !read(dbf, n, wanted)) return false;
  std::memcpy(to, bytes_.data(), dbf.recordSize);
  return true;
}

void ReadAhead::note(DbfIdx& dbf, std::int32_t n) {
  if (n < 1 || n > dbf.lastRec) return;
  [[maybe_unused]] const bool done = read(dbf, n, 1);
}

}  // namespace tarnel
