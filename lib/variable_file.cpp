#include "lib/variable_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <string>
#include <utility>
#include <vector>

#include "core/arrays.h"
#include "core/errors.h"
#include "core/file_ops.h"
#include "core/memvars.h"
#include "core/open_files.h"
#include "core/stacks.h"
#include "core/symbols.h"
#include "lib/arguments.h"
#include "lib/file_names.h"
#include "lib/files.h"

namespace tarnel {
namespace {

constexpr std::string_view kMark = "tarnel variables 1\n", kElement = "-";
constexpr std::size_t kMostBytes = 256U << 20U;  // of a file
constexpr int kMostDepth = 200;                  // of arrays in each other, as in aclone

// --- Writing

void append_entry(std::string& out, std::string_view name, char type, std::size_t length,
                  std::string_view bytes) {
  out.append(name).append({' ', type, ' '}).append(std::to_string(length)).append("\n");
  if (type != 'A') out.append(bytes).append("\n");
}

std::string number_bytes(const Var* v) {
  if (v->type == 'I') return std::to_string(v->i);
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, v->num).ptr;
  return std::string(digits, end) + format_text(" %d %d", int{v->decimals}, int{v->length});
}

// Appends the entry of a value; false when there is none for it or a part of it. Of arrays that are nested too deeply,
// one that holds itself among them, `too_deep` tells.
bool append_value(std::string& out, std::string_view name, const Var* v, int depth,
                  bool& too_deep) {
  const auto whole = [&](char type, std::string_view bytes) {
    append_entry(out, name, type, bytes.size(), bytes);
    return true;
  };
  if (is_text(v)) return whole('C', text_of(v));
  if (is_number(v)) return whole('N', number_bytes(v));
  if (v->type == 'L') return whole('L', v->i != 0 ? "T" : "F");
  if (v->type == 'D') return whole('D', std::to_string(v->i));
  if (is_nil(v)) return depth > 0 && whole('U', "");
  if (v->type != 'A') return false;
  if (depth == kMostDepth) {
    too_deep = true;
    return false;
  }
  append_entry(out, name, 'A', static_cast<std::size_t>(element_count(v)), "");
  for (std::int32_t i = 1; i <= element_count(v); ++i)
    if (!append_value(out, kElement, element(v, i), depth + 1, too_deep)) return false;
  return true;
}

// --- Reading

// What is left of the file, from which entries are taken. Null results: it is no such file.
class Reader {
 public:
  explicit Reader(std::string_view rest) : rest_(rest) {}
  bool at_end() const { return rest_.empty(); }
  bool take(std::string_view text) {
    if (!rest_.starts_with(text)) return false;
    rest_.remove_prefix(text.size());
    return true;
  }
  // An entry as a temporary.
  Var* value(std::string& name, int depth) {
    char type = 0;
    std::size_t length = 0;
    if (!head(name, type, length)) return nullptr;
    if (type == 'A') return depth < kMostDepth ? array(length, depth) : nullptr;
    if (length >= rest_.size()) return nullptr;
    const std::string_view bytes = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return take("\n") ? simple(type, bytes, depth) : nullptr;
  }

 private:
  std::string_view word(char end) {
    const std::string_view found = rest_.substr(0, std::min(rest_.find(end), rest_.size()));
    rest_.remove_prefix(std::min(found.size() + 1, rest_.size()));
    return found;
  }
  bool head(std::string& name, char& type, std::size_t& length) {
    name = word(' ');
    const std::string_view letter = word(' '), digits = word('\n');
    type = letter.size() == 1 ? letter[0] : ' ';
    return number(digits, length);
  }
  template <typename Number>
  static bool number(std::string_view digits, Number& value) {
    const char* const end = digits.data() + digits.size();
    const auto [at, failure] = std::from_chars(digits.data(), end, value);
    return failure == std::errc() && at == end;
  }
  Var* array(std::size_t count, int depth) {
    if (count > static_cast<std::size_t>(kMaxElements)) return nullptr;
    std::vector<Var*> elements;  // made when they are read: a count alone costs nothing
    std::string name;
    while (elements.size() < count) {
      elements.push_back(value(name, depth + 1));
      if (elements.back() == nullptr || name != kElement) return nullptr;
    }
    elements.push_back(nullptr);
    Var* result = NEW_TEMP();
    cscreara(result, static_cast<std::int32_t>(count), kCopyValues, elements.data());
    return result;
  }
  Var* simple(char type, std::string_view bytes, int depth) {
    std::int32_t day = 0;
    switch (type) {
      case 'C':
        return TMP_TEXT(bytes);
      case 'N':
        return numeric(bytes);
      case 'L':
        return bytes == "T" || bytes == "F" ? TMP_LOG(bytes == "T") : nullptr;
      case 'D':
        return number(bytes, day) ? TMP_DATE(day) : nullptr;
      case 'U':
        return depth > 0 && bytes.empty() ? NEW_TEMP() : nullptr;
      default:
        return nullptr;
    }
  }
  static Var* numeric(std::string_view bytes) {
    Reader parts(bytes);
    const std::string_view digits = parts.word(' ');
    std::int32_t integer = 0, width = 0;
    if (parts.at_end()) return number(digits, integer) ? TMP_INT(integer) : nullptr;
    double value = 0;
    std::uint8_t decimals = 0;
    if (!number(digits, value) || !number(parts.word(' '), decimals) ||
        !number(parts.rest_, width) || width < -1 || width > kWidest)
      return nullptr;
    Var* result = TMP_NUM(value, decimals);
    result->length = width;
    return result;
  }

  static constexpr std::int32_t kWidest = 255;
  std::string_view rest_;
};

bool is_name(std::string_view name) {
  const auto part = [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
  };
  return !name.empty() && name.size() <= kNameSize && std::ranges::all_of(name, part) &&
         !(name[0] >= '0' && name[0] <= '9');
}

using Variables = std::vector<std::pair<std::string, Var*>>;

// All variables of a file; false when anything else is in it.
bool read_variables(std::string_view bytes, Variables& variables) {
  Reader reader(bytes);
  if (!reader.take(kMark)) return false;
  while (!reader.at_end()) {
    std::string name;
    Var* value = reader.value(name, 0);
    if (value == nullptr || is_error(value) || !is_name(name)) return false;
    variables.emplace_back(std::move(name), value);
  }
  return true;
}

bool read_whole(std::string_view name, std::string& bytes) {
  // Not blocking: the name may be that of a pipe.
  const File file(fileOpenSearch(name, O_RDONLY | O_NONBLOCK, 0));
  struct stat status;
  if (!file.opened()) return false;
  const bool regular = file_ops().fstat(file.fd(), &status) == 0 && S_ISREG(status.st_mode);
  if (regular && read_handle(file.fd(), bytes, kMostBytes + 1) && bytes.size() <= kMostBytes)
    return true;
  RT_WARNING(103, "file '" + std::string(name) + "'");
  return false;
}

// Which variables an argument and the one behind it ask for: those whose names match, or all others.
NameChoice name_choice(std::int32_t argc, Var** argv, std::int32_t i) {
  return {text_argument(argc, argv, i, "*"),
          !arg_is(argc, argv, i + 1, kNumeric) || truth_of(argv[i + 1])};
}

// The name of the file in argument 0; empty when it is none.
std::string file_argument(std::int32_t argc, Var** argv) {
  std::string name;
  if (!texts_given(1, argc, argv) || trim_blanks(text_of(argv[0])).empty())
    RT_ERROR(312, "file name of variables");
  else if (!defaultExtension(name, text_of(argv[0]), ".mem", kNameLimit))
    RT_ERROR(323, "name of a file of variables");
  return name;
}

}  // namespace

Var* mvsave(std::int32_t argc, Var** argv) {
  const std::string file = file_argument(argc, argv);
  if (file.empty()) return int_minus_one();
  const NameChoice choice = name_choice(argc, argv, 1);
  std::string out{kMark};
  std::int32_t count = 0;
  for (std::int32_t i = 1; i < symbol_count(); ++i) {
    const Symbol& symbol = symbol_at(i);
    if (!is_name(symbol.name) || !choice.takes(symbol.name)) continue;
    const std::size_t before = out.size();
    bool too_deep = false;
    if (append_value(out, symbol.name, symbol.var, 0, too_deep))
      ++count;
    else
      out.resize(before);
    if (!too_deep) continue;
    RT_ERROR(320, "__MVSAVE(): arrays are nested too deeply in " + std::string(symbol.name));
    return int_minus_one();
  }
  return fileReplace(file, out, true) ? TMP_INT(count) : int_minus_one();
}

namespace {

// Takes variables over; their number.
std::int32_t restore(const Variables& variables, const NameChoice& choice) {
  std::int32_t count = 0;
  for (const auto& [name, value] : variables) {
    const std::int32_t sym = choice.takes(name.c_str()) ? ADD_SYMBOL(name) : -1;
    if (sym < 0) continue;
    if (is_nil(symbol_var(sym))) DECLARE_PRIVATE(sym);
    CPY_VAR(symbol_var(sym), value);
    ++count;
  }
  return count;
}

}  // namespace

Var* mvrestore(std::int32_t argc, Var** argv) {
  const std::string file = file_argument(argc, argv);
  std::string bytes;
  if (file.empty() || !read_whole(file, bytes)) return int_minus_one();
  std::int32_t count = -1;
  {
    const TempsMark mark;
    const NameChoice choice = name_choice(argc, argv, 2);
    const bool additive = arg_is(argc, argv, 1, kNumeric) && truth_of(argv[1]);
    Variables variables;
    if (read_variables(bytes, variables)) {
      if (!additive) RELEASE_ALL(false);
      count = restore(variables, choice);
    }
  }
  if (count < 0) RT_ERROR(328, "no file of variables: '" + file + "'");
  return TMP_INT(count);
}

}  // namespace tarnel
