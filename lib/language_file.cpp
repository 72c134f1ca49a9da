#include "lib/language_file.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "core/errors.h"
#include "core/open_files.h"
#include "lib/arguments.h"
#include "lib/files.h"

namespace tarnel {
namespace {

constexpr std::size_t kLineLimit = 511;  // a longer line goes on as the next one
constexpr std::size_t kTokens = 5;
constexpr std::size_t kFileLimit = 1024 * 1024;  // no language takes more; a device might never end

struct ClassLetter {
  char letter;
  std::uint16_t bit;
};
constexpr ClassLetter kClassLetters[] = {{'A', kLetter}, {'D', kDigit}, {'X', 4},  {'C', 8},
                                         {'S', kBlank},  {'I', 32},     {'P', 64}, {'G', 128},
                                         {'U', kUpper},  {'L', kLower}};

enum SectionId { kAlphabet, kDayNames, kMonthNames, kScoreboard, kDir, kLogical };
struct Section {
  const char* name;
  SectionId id;
  int limit;
  const char* too_many;
};
constexpr Section kSections[] = {
    {"ALPHABET", kAlphabet, 256, "characters names"},
    {"DAYNAMES", kDayNames, 7, "day names"},
    {"MONTHNAMES", kMonthNames, 12, "month names"},
    {"SCOREBOARD", kScoreboard, 4, "scoreboard messages"},
    {"DIR", kDir, 5, "dir messages"},
    {"LOGICAL", kLogical, 3, "logical keycodes"},
};

bool is_white(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

struct Tokens {
  std::string_view token[kTokens];
  std::size_t count = 0;
  std::string_view operator[](std::size_t i) const { return token[i]; }
};

Tokens split(std::string_view line) {
  Tokens tokens;
  while (tokens.count < kTokens) {
    const auto start = std::find_if_not(line.begin(), line.end(), is_white);
    if (start == line.end()) break;
    line.remove_prefix(static_cast<std::size_t>(start - line.begin()));
    const auto end = std::find_if(line.begin(), line.end(), is_white);
    const auto n = static_cast<std::size_t>(end - line.begin());
    tokens.token[tokens.count++] = line.substr(0, n);
    line.remove_prefix(n);
  }
  return tokens;
}

// The next line without its line feed; a NUL byte ends what is seen of it.
std::string_view next_line(std::string_view& rest) {
  const auto newline = rest.find('\n');
  const auto n = std::min({newline, rest.size(), kLineLimit});
  const auto line = rest.substr(0, n);
  rest.remove_prefix(n + (n == newline ? 1 : 0));
  return line.substr(0, line.find('\0'));
}

// A whole text as a number with base detection, in 0 to 255; -1 otherwise.
int character_number(std::string_view text) {
  const std::string digits{text};
  char* end = nullptr;
  errno = 0;
  const long value = std::strtol(digits.c_str(), &end, 0);
  const bool whole = end != digits.c_str() && *end == 0 && errno == 0;
  return whole && value >= 0 && value <= 255 ? static_cast<int>(value) : -1;
}

std::uint8_t character(std::string_view token) {
  int code = -1;
  if (!token.empty() && (token[0] == '"' || token[0] == '\''))
    code = token.size() > 1 ? static_cast<unsigned char>(token[1]) : -1;
  else
    code = character_number(token);
  if (code >= 0) return static_cast<std::uint8_t>(code);
  RT_ERROR(320, "LOADLANG(): does not describe a character '" + std::string(token) + "'");
  return 0;
}

// Reads one file into one record.
class Loader {
 public:
  explicit Loader(Language& record) : record_(record) {}

  bool line(std::string_view text) {
    const Tokens tokens = split(text);
    if (tokens.count == 0 || text[0] == '#') return true;
    if (tokens[0] == "!!") return open_section(tokens[1]);
    if (section_ == nullptr) return stop("section should be declared before data");
    int& count = counts_[section_->id];  // a section that is opened again goes on where it was
    if (count >= section_->limit)
      return stop(std::string("too many ") + section_->too_many + " defined");
    const int index = count++;
    if (section_->id == kAlphabet) {
      add_character(index, tokens);
      return true;
    }
    return add_text(index, text);
  }

  void finish() {
    for (std::size_t c = 0; c < 256; ++c) {
      // Position 0 would ask for the character behind the last one; it is its own mirror.
      const std::size_t mirror = (256U - record_.order[c]) & 255U;
      record_.descendMap[c] = sequence_[mirror];
    }
    record_.loaded = true;
  }

 private:
  static bool stop(const std::string& text) {
    RT_ERROR(320, "LOADLANG(): " + text);
    return false;
  }

  bool open_section(std::string_view name) {
    for (const Section& section : kSections)
      if (name == section.name) {
        section_ = &section;
        return true;
      }
    return stop("invalid section name '" + std::string(name) + "'");
  }

  void add_character(int index, const Tokens& tokens) {
    const std::uint8_t c = character(tokens[0]);
    record_.order[c] = static_cast<std::uint8_t>(index);
    sequence_[static_cast<std::size_t>(index)] = c;
    record_.upperMap[c] = character(tokens[1]);
    record_.lowerMap[c] = character(tokens[2]);
    record_.classes[c] = 0;
    for (const char letter : tokens[3])
      for (const ClassLetter& row : kClassLetters)
        if (row.letter == letter)
          record_.classes[c] = static_cast<std::uint16_t>(record_.classes[c] | row.bit);
  }

  bool add_text(int index, std::string_view text) {
    if (used_ + text.size() + 1 > kTextArea) return stop("description too long (512 bytes max)");
    char* stored = record_.textArea.data() + used_;
    std::memcpy(stored, text.data(), text.size());
    stored[text.size()] = 0;
    used_ += text.size() + 1;
    store(static_cast<std::size_t>(index), stored);
    return true;
  }

  void store(std::size_t index, const char* text) {
    switch (section_->id) {
      case kDayNames:
        record_.dayNames[index] = text;
        return;
      case kMonthNames:
        record_.monthNames[index] = text;
        return;
      case kScoreboard:
        record_.messages[kScoreboardSlot + index] = text;
        return;
      case kDir:
        record_.messages[kDirSlot + index] = text;
        return;
      case kLogical:
        // The third entry lies where the class word of character 0 does, which loses its classes.
        if (kLogicalSlot + index < kMessageSlots)
          record_.messages[kLogicalSlot + index] = text;
        else
          record_.classes[0] = 0;
        return;
      case kAlphabet:
        return;
    }
  }

  Language& record_;
  const Section* section_ = nullptr;
  std::size_t used_ = 0;
  int counts_[std::size(kSections)] = {};
  std::array<std::uint8_t, 256> sequence_{};
};

}  // namespace

bool parse_language(std::string_view bytes, Language& record) {
  record = {};
  Loader loader(record);
  while (!bytes.empty())
    if (!loader.line(next_line(bytes))) return false;
  loader.finish();
  return true;
}

bool load_language(int number, std::string_view file) {
  const File source(fileOpenSearch(file, O_RDONLY, 0, {.report = false}));
  std::string bytes;
  if (!source.opened() || !read_handle(source.fd(), bytes, kFileLimit)) {
    set_dos_error(errno);
    RT_ERROR(323, "LOADLANG(): cannot open '" + std::string(file) + "'");
    return false;
  }
  Language& record = language_record(number);
  if (number != language_number()) return parse_language(bytes, record);
  // What is in use goes on being used when the file is wrong. Its texts point into the record itself.
  const auto former = std::make_unique<Language>(record);
  const bool loaded = parse_language(bytes, record);
  if (!loaded) record = *former;
  select_language(number);
  return loaded;
}

Var* loadlang(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kNumeric)) {
    RT_ERROR(312, format_text("LOADLANG(): requires language number as first argument, not '%c'",
                              type_letter(argc, argv, 0)));
    return false_value();
  }
  if (!arg_is(argc, argv, 1, kText)) {
    RT_ERROR(312, format_text("LOADLANG(): requires filename as second argument, not '%c'",
                              type_letter(argc, argv, 1)));
    return false_value();
  }
  const std::int32_t number = integer_of(argv[0]);
  if (number < 1 || number > kLanguages) {
    RT_ERROR(313,
             format_text("LOADLANG() requires language number in the range 1 to %d", kLanguages));
    return false_value();
  }
  return logical(load_language(number, text_of(argv[1])));
}

}  // namespace tarnel
