#include "tests/db/table_checker.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <regex>
#include <set>
#include <vector>

#include "tests/support/files.h"

namespace tarnel::testing {
namespace {

struct Bytes : std::string {
  explicit Bytes(const std::string& path) : std::string(read_file(path)) {}
  std::size_t u(std::size_t at, int bytes = 1) const {
    std::size_t value = 0;
    for (int i = bytes; i-- > 0;)
      value = value << 8 | static_cast<unsigned char>(this->at(at + static_cast<std::size_t>(i)));
    return value;
  }
};

struct Column {
  char type;
  std::size_t at, length;
};

bool is_day(const std::string& text) {
  static const std::regex form("[0-9]{8}");
  if (!std::regex_match(text, form)) return false;
  const int y = std::stoi(text.substr(0, 4)), m = std::stoi(text.substr(4, 2));
  const int d = std::stoi(text.substr(6)), leap = y % 4 == 0 && (y % 100 != 0 || y % 400 == 0);
  const int days[] = {0, 31, 28 + leap, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return y > 0 && m >= 1 && m <= 12 && d >= 1 && d <= days[m];
}

bool is_stored(char type, const std::string& text) {
  static const std::regex blank(" *"), fixed(" *[-+]?([0-9]+\\.?[0-9]*|\\.[0-9]+) *"),
      general(" *[-+]?([0-9]+\\.?[0-9]*|\\.[0-9]+)([eE][-+]?[0-9]+)? *"), whole(" *[0-9]+ *");
  switch (type) {
    case 'N':
      return std::regex_match(text, blank) || std::regex_match(text, fixed);
    case 'F':
      return std::regex_match(text, blank) || std::regex_match(text, general);
    case 'D':
      return std::regex_match(text, blank) || is_day(text);
    case 'L':
      return text == "T" || text == "F" || text == " ";
    case 'M':
      return std::regex_match(text, blank) || std::regex_match(text, whole);
    default:
      return true;
  }
}

std::string header_fault(const Bytes& table, std::vector<Column>& columns) {
  if (table.size() < 34 || (table.u(0) != 3 && table.u(0) != 0x83)) return "version";
  const std::size_t header = table.u(8, 2), record = table.u(10, 2), count = table.u(4, 4);
  if (header < 33 || header > table.size() || (header - 33) % 32 != 0) return "header size";
  if (table.u(2) > 12 || table.u(3) > 31) return "date";
  if (table.u(header - 1) != 13) return "end mark";
  std::set<std::string> names;
  std::size_t at = 1;
  for (std::size_t d = 32; d + 1 < header; d += 32) {
    const std::string field = table.substr(d, 11), name = field.substr(0, field.find('\0'));
    const char type = table[d + 11];
    const std::size_t length = type == 'C' ? table.u(d + 16, 2) : table.u(d + 16);
    std::string upper = name;
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    const bool printable =
        std::all_of(name.begin(), name.end(), [](unsigned char c) { return c > ' '; });
    if (name.empty() || !printable || !names.insert(upper).second) return "name";
    const std::map<char, std::size_t> fixed = {{'D', 8}, {'L', 1}, {'M', 10}};
    if (std::string("CDFLMN").find(type) == std::string::npos) return "type";
    if (fixed.contains(type) && length != fixed.at(type)) return "length";
    if ((type == 'N' || type == 'F') && (length == 0 || length > 20)) return "length";
    columns.push_back({type, at, length});
    at += length;
  }
  const bool memo =
      std::any_of(columns.begin(), columns.end(), [](const Column& c) { return c.type == 'M'; });
  if (at != record || memo != (table.u(0) == 0x83)) return "fields";
  const bool foreign_end = table.size() == header + count * record + 1 && table.back() == 0x1A;
  return table.size() == header + count * record || foreign_end ? "" : "count";
}

std::string memo_fault(const Bytes& memos, std::size_t block, std::set<std::size_t>& used) {
  if (memos.size() < 4 || block * 512 >= memos.size()) return "block outside";
  const std::size_t end = memos.find('\x1A', block * 512);
  if (end == std::string::npos || end / 512 - block >= 128) return "no end";
  for (std::size_t b = block; b <= end / 512; ++b)
    if (b >= memos.u(0, 4) || !used.insert(b).second) return "block used twice";
  return "";
}

}  // namespace

std::string table_fault(const std::string& name) {
  const Bytes table(name + ".dbf"), memos(name + ".dbt");
  std::vector<Column> columns;
  if (const std::string fault = header_fault(table, columns); !fault.empty()) return fault;
  if (table.u(0) == 0x83 && (memos.size() < 4 || memos.u(0, 4) == 0)) return "memo file";
  std::set<std::size_t> used;
  for (std::size_t r = table.u(8, 2); r + table.u(10, 2) <= table.size(); r += table.u(10, 2)) {
    if (table[r] != ' ' && table[r] != '*') return "delete mark";
    for (const Column& c : columns) {
      const std::string text = table.substr(r + c.at, c.length);
      if (!is_stored(c.type, text)) return std::string("value ") + c.type;
      const std::size_t block = c.type == 'M' ? std::strtoul(text.c_str(), nullptr, 10) : 0;
      if (const std::string fault = block != 0 ? memo_fault(memos, block, used) : "";
          !fault.empty())
        return fault;
    }
  }
  return "";
}

}  // namespace tarnel::testing
