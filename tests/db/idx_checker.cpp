#include "tests/db/idx_checker.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <set>

#include "tests/support/files.h"

namespace tarnel::testing {
namespace {

std::uint32_t u32(const std::string& s, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 4; i-- > 0;)
    value = value << 8 | static_cast<unsigned char>(at + i < s.size() ? s[at + i] : 0);
  return value;
}

std::string text(const std::string& s, std::size_t at, std::size_t room) {
  if (at >= s.size()) return {};
  const std::string field = s.substr(at, room);
  return field.substr(0, field.find('\0'));
}

class Walker {
 public:
  explicit Walker(IdxFile& file) : f(file) {}

  void run() {
    if (f.root != 0) tree(f.root, 0);
    for (std::uint32_t s = f.freeList; s != 0 && f.fault.empty(); s = u32(f.bytes, s * 512UL))
      claim(s, "free list");
    for (std::uint32_t s = 3; s < f.nextSector && f.fault.empty(); ++s)
      if (seen.count(s) == 0) say("leaked", s);
    if (f.fault.empty() && f.keys.size() != f.keyCount) say("key count", f.keyCount);
    for (std::size_t i = 1; i < f.keys.size() && f.fault.empty(); ++i) order(i);
  }

 private:
  void say(const std::string& what, std::uint32_t where) {
    if (f.fault.empty()) f.fault = what + " at " + std::to_string(where);
  }

  bool claim(std::uint32_t sector, const char* what) {
    if (sector < 3 || sector >= f.nextSector || sector * 512UL + 512 > f.bytes.size())
      say(std::string("no such sector in ") + what, sector);
    else if (!seen.insert(sector).second)
      say(std::string("used twice in ") + what, sector);
    return f.fault.empty();
  }

  std::string key_at(std::size_t at) const {
    char shown[40];
    if (f.type == 'C') return f.bytes.substr(at, std::min(f.textLength, f.keySize)).c_str();
    if (f.type == 'D') {
      std::snprintf(shown, sizeof shown, "%d", static_cast<std::int32_t>(u32(f.bytes, at)));
    } else if (f.type == 'L') {
      std::snprintf(shown, sizeof shown, "%d", f.bytes[at]);
    } else {
      double value;
      std::memcpy(&value, f.bytes.data() + at, 8);
      std::snprintf(shown, sizeof shown, "%.17g", value);
    }
    return shown;
  }

  void tree(std::uint32_t sector, int depth) {
    if (depth > 20000) return say("too deep", sector);
    if (!claim(sector, "tree")) return;
    const std::size_t page = sector * 512UL;
    const std::uint32_t count = u32(f.bytes, page);
    if (count > f.maxKeys) return say("too many keys", sector);
    if (count == 0 && depth > 0) return say("empty page", sector);
    for (std::uint32_t i = 0; i <= count && f.fault.empty(); ++i) {
      const std::size_t entry = page + 12 + i * (f.keySize + 8UL);
      if (const std::uint32_t child = u32(f.bytes, entry); child != 0) tree(child, depth + 1);
      if (i < count) f.keys.emplace_back(key_at(entry + 8), u32(f.bytes, entry + 4));
    }
  }

  void order(std::size_t i) {
    const auto& a = f.keys[i - 1];
    const auto& b = f.keys[i];
    int way = a.first.compare(b.first);
    if (f.type != 'C') {
      const double x = std::stod(a.first), y = std::stod(b.first);
      way = x < y ? -1 : x > y ? 1 : 0;
    }
    if (f.descending) way = -way;
    if (way > 0 || (way == 0 && (f.unique || a.second >= b.second)))
      say("order of " + a.first + " and " + b.first, b.second);
  }

  IdxFile& f;
  std::set<std::uint32_t> seen;
};

}  // namespace

IdxFile check_idx(const std::string& path) {
  IdxFile f{};
  f.bytes = read_file(path);
  if (f.bytes.size() < 1536) {
    f.fault = "too short";
    return f;
  }
  const std::string& s = f.bytes;
  f.unique = (s[1] & 1) != 0;
  f.descending = (s[1] & 2) != 0;
  f.textLength = static_cast<unsigned char>(s[3]);
  f.keyCount = u32(s, 4);
  f.root = u32(s, 8);
  f.freeList = u32(s, 12);
  f.nextSector = u32(s, 16);
  f.type = s[20];
  f.keySize = u32(s, 24);
  f.maxKeys = u32(s, 28);
  f.expression = text(s, 32, 420);
  f.counter = static_cast<unsigned char>(s[1025]);
  f.table = text(s, 1030, 19);
  f.condition = text(s, 1050, 229);
  if (s[0] != 'Q' || s[1024] != 'Q') f.fault = "version";
  const std::uint32_t stored = f.type == 'C'   ? f.textLength
                               : f.type == 'D' ? 4
                               : f.type == 'L' ? 1
                                               : 8;
  if (std::string("CDFILN").find(f.type) == std::string::npos || stored == 0 || stored > 238 ||
      f.keySize != (stored + 3) / 4 * 4 || f.maxKeys != 480 / (f.keySize + 8))
    f.fault = "key type and size";
  if (f.fault.empty()) Walker(f).run();
  return f;
}

}  // namespace tarnel::testing
