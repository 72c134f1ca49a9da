#include <algorithm>
#include <cctype>

#include "term/character_map.h"

namespace tarnel {
namespace {

constexpr std::size_t kLongestLine = 999;
constexpr std::string_view kWhite = " \t\v\f\r";

// One line's mapping, read from the left.
class MappingLine {
 public:
  explicit MappingLine(std::string_view text) : rest_(text) {}

  // False when the line is none; the map is then as it was.
  bool apply(ByteMap& map) {
    std::uint32_t first = 0, target = 0, operand = 0;
    char operation = 0;
    if (!number(first)) return false;
    std::uint32_t last = first;
    if (sign('-') && !number(last)) return false;
    if (!sign(':') || first > last || last >= map.size()) return false;
    const bool has_target = number(target), computed = rest_.starts_with('*');
    if (computed) rest_.remove_prefix(1);
    if (computed && !rest_.empty() &&
        std::string_view("&|+-").find(rest_[0]) != std::string_view::npos) {
      operation = rest_[0];
      rest_.remove_prefix(1);
      if (!number(operand)) return false;
    }
    if (!has_target && !computed) return false;
    for (std::uint32_t byte = first; byte <= last; ++byte)
      map[byte] = static_cast<unsigned char>(computed ? result(operation, byte, operand) : target);
    return true;
  }

 private:
  static std::uint32_t result(char operation, std::uint32_t byte, std::uint32_t operand) {
    switch (operation) {
      case '&':
        return byte & operand;
      case '|':
        return byte | operand;
      case '+':
        return byte + operand;
      case '-':
        return byte - operand;
      default:
        return byte;
    }
  }
  void skip_white() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(kWhite), rest_.size()));
  }
  bool sign(char wanted) {
    const std::string_view before = rest_;
    skip_white();
    if (!rest_.empty() && rest_[0] == wanted) {
      rest_.remove_prefix(1);
      return true;
    }
    rest_ = before;
    return false;
  }
  // Keeps too large numbers too large for a byte to map, and what counts of them for a target.
  bool number(std::uint32_t& value) {
    skip_white();
    value = 0;
    const std::string_view before = rest_;
    for (; !rest_.empty() && std::isdigit(static_cast<unsigned char>(rest_[0])) != 0;
         rest_.remove_prefix(1)) {
      value = value * 10 + static_cast<std::uint32_t>(rest_[0] - '0');
      if (value > 0xffff) value = (value & 0xff) | 0xff00;
    }
    return rest_.size() < before.size();
  }

  std::string_view rest_;
};

class MapReader {
 public:
  MapReader(std::string_view text, std::string_view terminal, ByteMap& map, int& line)
      : rest_(text), terminal_(terminal), map_(map), line_(line) {
    line_ = 0;
  }

  MapRead read() {
    std::string_view text;
    for (bool in_entry = false; next_line(text);) {
      const char first = text.empty() ? '#' : text[0];
      if (first == '#') continue;
      if (first == ':') {
        if (found_) return MapRead::kDone;
        in_entry = true;
        read_names(text.substr(1));
      } else if (first == ' ' || first == '\t') {
        if (!in_entry || (found_ && !MappingLine(text).apply(map_))) return MapRead::kWrongLine;
      } else if (!in_entry || found_) {
        return MapRead::kWrongLine;
      }
    }
    return found_ ? MapRead::kDone : MapRead::kNoEntry;
  }

 private:
  // The next line, cut to its longest and without white space at its end.
  bool next_line(std::string_view& text) {
    if (rest_.empty()) return false;
    const std::size_t end = std::min(rest_.find('\n'), rest_.size());
    text = rest_.substr(0, std::min(end, kLongestLine));
    text = text.substr(0, text.find_last_not_of(kWhite) + 1);
    rest_.remove_prefix(std::min(end + 1, rest_.size()));
    ++line_;
    return true;
  }

  // Names of an entry, which go on over lines that end in '|'; comments may stand between.
  void read_names(std::string_view text) {
    for (;;) {
      const std::string_view list = text.substr(0, text.find_first_of(kWhite));
      const bool goes_on = list.size() == text.size() && list.ends_with('|');
      find_name(list);
      if (!goes_on) return;
      do {
        if (!next_line(text)) return;
      } while (text.empty() || text[0] == '#');
      text.remove_prefix(text.find_first_not_of(kWhite));
    }
  }
  void find_name(std::string_view list) {
    while (!list.empty()) {
      const std::size_t end = std::min(list.find('|'), list.size());
      if (end > 0 && list.substr(0, end) == terminal_) found_ = true;
      list.remove_prefix(std::min(end + 1, list.size()));
    }
  }

  std::string_view rest_;
  const std::string_view terminal_;
  ByteMap& map_;
  int& line_;
  bool found_ = false;
};

}  // namespace

ByteMap identity_map() {
  ByteMap map;
  for (std::size_t i = 0; i < map.size(); ++i) map[i] = static_cast<unsigned char>(i);
  return map;
}

MapRead parse_map(std::string_view text, std::string_view terminal, ByteMap& map, int& line) {
  return MapReader(text, terminal, map, line).read();
}

}  // namespace tarnel
