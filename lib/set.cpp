#include "lib/set.h"

#include <algorithm>
#include <cstring>

#include "core/errors.h"
#include "core/settings.h"
#include "core/stacks.h"
#include "lib/arguments.h"
#include "lib/dates.h"
#include "lib/file_names.h"
#include "lib/national.h"
#include "lib/options.h"
#include "lib/streams.h"

namespace tarnel {
namespace {

constexpr std::size_t kDirectoryLimit = 248;
constexpr std::int32_t kMostDecimals = 15;  // more than a double has
constexpr int kAppendForm = 100;  // added to the number of a text setting by the additive form

void (*key_buffer_resized)(std::int32_t) = nullptr;

enum Setting : int {
  kDecimals = 3,
  kDateFormat = 4,
  kPath = 6,
  kDefault = 7,
  kTypeahead = 14,
  kColor = 15,
  kCursor = 16,
  kAlternate = 18,
  kAltFile = 19,
  kDevice = 20,
  kExtra = 21,
  kExtraFile = 22,
  kPrinter = 23,
  kPrintFile = 24,
  kDelimChars = 34,
  kMessageCentre = 37,
  kAlwaysOn = 38,
  kAutoLock = 39,
  kCentury = 41,
};

enum class Kind : char { kLogical, kNumber, kText };

// One row for each setting; a null member is one with a rule of its own.
struct SettingRow {
  Kind kind;
  bool Settings::*logical = nullptr;
  std::int32_t Settings::*number = nullptr;
};
constexpr SettingRow logical_row(bool Settings::*member) {
  return {Kind::kLogical, member};
}
constexpr SettingRow number_row(std::int32_t Settings::*member) {
  return {Kind::kNumber, nullptr, member};
}
constexpr SettingRow text_row() {
  return {Kind::kText};
}

constexpr SettingRow kRows[] = {
    text_row(),  // 0 is no setting
    logical_row(&Settings::exact),
    logical_row(&Settings::fixed),
    number_row(&Settings::decimals),
    text_row(),  // date format
    number_row(&Settings::epoch),
    text_row(),  // path
    text_row(),  // default
    logical_row(&Settings::exclusive),
    logical_row(&Settings::softseek),
    logical_row(&Settings::unique),
    logical_row(&Settings::deleted),
    logical_row(&Settings::cancel),
    logical_row(&Settings::debug),
    number_row(&Settings::typeahead),
    text_row(),  // colour
    logical_row(&Settings::cursor),
    logical_row(&Settings::console),
    logical_row(&Settings::alternate),
    text_row(),  // alternate file
    text_row(),  // device
    logical_row(&Settings::extra),
    text_row(),  // extra file
    logical_row(&Settings::printer),
    text_row(),  // print file
    number_row(&Settings::margin),
    logical_row(&Settings::bell),
    logical_row(&Settings::confirm),
    logical_row(&Settings::escape),
    logical_row(&Settings::insert),
    logical_row(&Settings::exit),
    logical_row(&Settings::intensity),
    logical_row(&Settings::scoreboard),
    logical_row(&Settings::delimiters),
    text_row(),  // delimiter characters
    logical_row(&Settings::wrap),
    number_row(&Settings::message),
    logical_row(nullptr),  // message centre
    logical_row(nullptr),  // always on
    number_row(&Settings::autolock),
    logical_row(&Settings::multilocks),
    logical_row(nullptr),  // century
};
constexpr int kSettings = static_cast<int>(std::size(kRows)) - 1;
static_assert(kSettings == 41);

// 0 off, 1 on, 2 the value only reads.
int logical_mode(const Var* value) {
  if (value == nullptr) return 2;
  if (value->type == 'L') return value->i != 0 ? 1 : 0;
  if (!is_text(value)) return 2;
  const std::string_view word = text_of(value).substr(0, 4);
  return same_letters(word, "on") ? 1 : same_letters(word, "off") ? 0 : 2;
}

bool stream_flag(int n, Stream& stream) {
  switch (n) {
    case kAlternate:
      stream = Stream::kAlternate;
      return true;
    case kExtra:
      stream = Stream::kExtra;
      return true;
    case kPrinter:
      stream = Stream::kPrint;
      return true;
    default:
      return false;
  }
}

bool file_setting(int n, Stream& stream) {
  return stream_flag(n == kAltFile ? kAlternate : n - 1, stream);
}

// Tells the screen, in a program that links one, through the builtin of that name.
void tell_screen(const char* function, Var* value) {
  if (const Function call = lookup_function(function)) call(1, &value);
}

std::string joined_path() {
  std::string text;
  for (const std::string& directory : settings().path) {
    if (!text.empty()) text += ';';
    text += directory;
  }
  return text;
}

void set_path(std::string_view text) {
  std::vector<std::string> path;
  text = text.substr(0, text.find('\0'));
  while (!text.empty()) {
    const auto end = std::min(text.find_first_of(settings().pathdelims), text.size());
    std::string directory{trim_blanks(text.substr(0, end))};
    text.remove_prefix(std::min(end + 1, text.size()));
    if (directory.empty()) continue;
    if (directory.back() != '/') directory += '/';
    path.push_back(fileNameMap(directory));
  }
  settings().path = std::move(path);
}

std::string default_directory() {
  std::string directory = settings().default_dir;
  if (!directory.empty() && directory.back() == '/') directory.pop_back();
  return directory;
}

void set_default(std::string_view text) {
  std::string directory{text.substr(0, std::min(text.find('\0'), kDirectoryLimit))};
  if (!directory.empty() && directory.back() != '/') directory += '/';
  settings().default_dir = fileNameMap(directory);
}

void set_delimiters(std::string_view text) {
  if (text.empty()) text = "::";
  settings().delimchars = {text[0], text.size() > 1 ? text[1] : text[0]};
}

std::string text_value(int n) {
  Stream stream{};
  switch (n) {
    case kDateFormat:
      return date_format();
    case kPath:
      return joined_path();
    case kDefault:
      return default_directory();
    case kColor:
      return settings().color;
    case kDevice:
      return settings().device;
    case kDelimChars:
      return settings().delimchars;
    default:
      return file_setting(n, stream) ? stream_name(stream) : std::string{};
  }
}

void set_colour(std::string_view text) {
  if (lookup_function("setcolor") != nullptr)
    tell_screen("setcolor", TMP_TEXT(text));
  else
    settings().color = text;
}

void store_text(int n, std::string_view text, bool append) {
  Stream stream{};
  switch (n) {
    case kDateFormat:
      set_date_format(text);
      return;
    case kPath:
      set_path(text);
      return;
    case kDefault:
      set_default(text);
      return;
    case kColor:
      set_colour(text);
      return;
    case kDevice:
      settings().device = same_letters(text.substr(0, 5), "print") ? "PRINT" : "SCREEN";
      return;
    case kDelimChars:
      set_delimiters(text);
      return;
    default:
      break;
  }
  if (!file_setting(n, stream)) return;
  open_stream(stream, text, append);
}

// SET ALTERNATE, EXTRA and PRINTER act only with their file open.
void set_stream_flag(Stream stream, bool on) {
  if (stream_open(stream))
    stream_setting(stream) = on;
  else if (stream == Stream::kPrint && on)
    RT_ERROR(101, "Attempted SET PRINTER ON;but default spool file;was disabled in cursinit.prg");
  route_output();
}

std::int32_t number_argument(const Var* value, int n) {
  if (value == nullptr || !is_number_or_logical(value)) return kReadNumber;
  if (value->type != 'L') return integer_of(value);
  if (value->i != 0) return 1;
  return n == kAutoLock ? 0 : -1;  // no automatic locks, where -1 would mean to wait for them
}

}  // namespace

bool setLogical(int mode, int n) {
  if (n < 1 || n > kSettings || kRows[n].kind != Kind::kLogical) return false;
  const bool store = mode == 0 || mode == 1;
  Stream stream{};
  if (n == kCentury) return setCentury(mode);
  if (n == kAlwaysOn) return true;
  if (n == kMessageCentre) {
    const bool old = settings().mcenter != 0;
    if (store) settings().mcenter = mode == 1 ? -1 : 0;
    return old;
  }
  const bool old = settings().*kRows[n].logical;
  if (!store) return old;
  if (stream_flag(n, stream)) {
    set_stream_flag(stream, mode == 1);
    return old;
  }
  settings().*kRows[n].logical = mode == 1;
  if (n == kCursor) tell_screen("setcursor", TMP_INT(mode));
  return old;
}

std::int32_t setNumber(int n, std::int32_t value) {
  if (n < 1 || n > kSettings || kRows[n].number == nullptr) return 0;
  const std::int32_t old = settings().*kRows[n].number;
  if (value == kReadNumber) return old;
  if (n == kDecimals) value = std::clamp(value, 0, kMostDecimals);
  if (n == kTypeahead && value < 0) {
    RT_ERROR(313, "SET KEYBUFF TO");
    return old;
  }
  settings().*kRows[n].number = value;
  if (n == kTypeahead && key_buffer_resized != nullptr) key_buffer_resized(value);
  return old;
}

void reset_set() {
  const TempsMark mark;
  close_streams();
  clear_extensions();
  select_language(0);
  const bool commands = settings().commands, pipes = settings().pipes;  // the program's affair
  reset_settings();
  settings().commands = commands;
  settings().pipes = pipes;
  follow_developer();
  if (key_buffer_resized != nullptr) key_buffer_resized(settings().typeahead);
  tell_screen("setcolor", TMP_TEXT(settings().color));
  tell_screen("setcursor", int_one());
}

void set_key_buffer_hook(void (*resized)(std::int32_t size)) {
  key_buffer_resized = resized;
}

std::string setText(int n, const std::string_view* text) {
  const bool append = n > kAppendForm;
  if (append) n -= kAppendForm;
  if (n < 1 || n > kSettings || kRows[n].kind != Kind::kText) return {};
  std::string old = text_value(n);
  if (text != nullptr) store_text(n, *text, append);
  return old;
}

Var* set(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kNumeric)) {
    RT_ERROR(311, "int SET()");
    return nil_value();
  }
  const int n = integer_of(argv[0]);
  if (n < 1 || n > kSettings) return nil_value();
  const Var* value = argc > 1 ? argv[1] : nullptr;
  const bool additive = arg_is(argc, argv, 2, kNumeric) && truth_of(argv[2]);
  switch (kRows[n].kind) {
    case Kind::kLogical: {
      Stream stream{};
      if (additive && stream_flag(n, stream))
        open_stream(stream, std::string(stream_name(stream)), true);
      return logical(setLogical(logical_mode(value), n));
    }
    case Kind::kNumber:
      return TMP_INT(setNumber(n, number_argument(value, n)));
    case Kind::kText: {
      const std::string text{value != nullptr && is_text(value) ? text_of(value) : ""};
      const std::string_view view = text;
      const bool given = value != nullptr && is_text(value);
      return TMP_TEXT(setText(additive ? n + kAppendForm : n, given ? &view : nullptr));
    }
  }
  return nil_value();
}

}  // namespace tarnel
