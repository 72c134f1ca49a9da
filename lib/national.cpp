#include "lib/national.h"

#include <cassert>
#include <cctype>
#include <cstring>

#include "core/errors.h"
#include "core/operators.h"

namespace tarnel {
namespace {

// Apart from the rest of the state: all zeros, so a program that loads no language never touches
// it.
constinit std::array<Language, kLanguages> records{};

struct NationalState {
  int current = -1;
  std::string_view true_list = "TtYy", false_list = "FfNn";
} state;

constexpr std::string_view kDefaultTrue = "TtYy", kDefaultFalse = "FfNn";
constexpr const char* kDayNames[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                     "Thursday", "Friday", "Saturday"};
constexpr const char* kMonthNames[] = {"January",   "February", "March",    "April",
                                       "May",       "June",     "July",     "August",
                                       "September", "October",  "November", "December"};
constexpr const char* kMessages[] = {"Insert", "Range is", "date not valid"};

// Flips bit 5 of every byte from `first` to `first` + 25, sixteen at a time.
void flip_ascii(char* text, std::size_t n, unsigned char first) {
  using Bytes [[gnu::vector_size(16)]] = unsigned char;
  const Bytes lowest = Bytes{} + first, letters = Bytes{} + static_cast<unsigned char>(26);
  const Bytes bit = Bytes{} + static_cast<unsigned char>(0x20);
  for (; n >= sizeof(Bytes); text += sizeof(Bytes), n -= sizeof(Bytes)) {
    Bytes bytes;
    std::memcpy(&bytes, text, sizeof bytes);
    const auto hit = bytes - lowest < letters;  // all bits of a letter's byte
    bytes ^= reinterpret_cast<const Bytes&>(hit) & bit;
    std::memcpy(text, &bytes, sizeof bytes);
  }
  for (; n > 0; ++text, --n)
    if (static_cast<unsigned char>(static_cast<unsigned char>(*text) - first) < 26)
      *text = static_cast<char>(*text ^ 0x20);
}

void map_bytes(char* text, std::size_t n, const std::uint8_t* table) {
  for (std::size_t i = 0; i < n; ++i)
    text[i] = static_cast<char>(table[static_cast<unsigned char>(text[i])]);
}

void map_case(char* text, std::size_t n, const std::uint8_t* language_table, char first) {
  if (language_table != nullptr)
    map_bytes(text, n, language_table);
  else
    flip_ascii(text, n, static_cast<unsigned char>(first));
}

std::string_view text_or(const char* text, const char* usual) {
  return text != nullptr ? text : usual;
}

}  // namespace

const Language* language() {
  return state.current < 0 ? nullptr : &records[static_cast<std::size_t>(state.current)];
}

Language& language_record(int number) {
  assert(number >= 1 && number <= kLanguages);
  return records[static_cast<std::size_t>(number - 1)];
}

int language_number() {
  return state.current + 1;
}

void select_language(int number) {
  assert(number == 0 || language_record(number).loaded);
  state.current = number - 1;
  const Language* current = language();
  state.true_list = kDefaultTrue;
  state.false_list = kDefaultFalse;
  if (current != nullptr) {
    state.true_list = text_or(current->messages[kLogicalSlot], "TtYy");
    state.false_list = text_or(current->messages[kLogicalSlot + 1], "FfNn");
  }
  set_collation(current != nullptr ? current->order.data() : nullptr);
}

bool has_class(unsigned char c, CharClass wanted) {
  if (const Language* l = language()) return (l->classes[c] & wanted) != 0;
  switch (wanted) {
    case kLetter:
      return std::isalpha(c) != 0;
    case kDigit:
      return c >= '0' && c <= '9';
    case kBlank:
      return std::isspace(c) != 0;
    case kUpper:
      return std::isupper(c) != 0;
    case kLower:
      return std::islower(c) != 0;
  }
  return false;
}

char to_upper(char c) {
  upper_bytes(&c, 1);
  return c;
}

void upper_bytes(char* text, std::size_t n) {
  const Language* l = language();
  map_case(text, n, l != nullptr ? l->upperMap.data() : nullptr, 'a');
}

void lower_bytes(char* text, std::size_t n) {
  const Language* l = language();
  map_case(text, n, l != nullptr ? l->lowerMap.data() : nullptr, 'A');
}

void descend_bytes(char* text, std::size_t n) {
  if (const Language* l = language()) return map_bytes(text, n, l->descendMap.data());
  for (std::size_t i = 0; i < n; ++i) text[i] = static_cast<char>(0 - text[i]);
}

std::string_view true_list() {
  return state.true_list;
}
std::string_view false_list() {
  return state.false_list;
}

std::string_view day_name(int weekday) {
  const auto i = static_cast<std::size_t>(weekday);
  const Language* l = language();
  return text_or(l != nullptr ? l->dayNames[i] : nullptr, kDayNames[i]);
}

std::string_view month_name(int month) {
  const auto i = static_cast<std::size_t>(month - 1);
  const Language* l = language();
  return text_or(l != nullptr ? l->monthNames[i] : nullptr, kMonthNames[i]);
}

std::string_view language_message(int n) {
  if (n < 1 || n > 3) return {};
  const auto i = static_cast<std::size_t>(n - 1);
  const Language* l = language();
  return text_or(l != nullptr ? l->messages[kScoreboardSlot + i] : nullptr, kMessages[i]);
}

Var* langnames(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, "INFL")) return empty_text();
  const auto message = language_message(integer_of(argv[0]));
  return message.empty() ? empty_text() : TMP_TEXT(message);
}

Var* setlang(std::int32_t argc, Var** argv) {
  const int old = language_number();
  if (argc < 1) return TMP_INT(old);
  if (!arg_is(argc, argv, 0, "INFL"))
    return RT_ERROR(312,
                    format_text("SETLANG() requires numeric argument not '%c'", argv[0]->type));
  const std::int32_t number = integer_of(argv[0]);
  if (number < 0 || number > kLanguages)
    return RT_ERROR(
        313, format_text("SETLANG() requires numeric argument in the range 0 to %d", kLanguages));
  if (number > 0 && !language_record(number).loaded)
    return RT_ERROR(320, format_text("SETLANG(): language # %d has not been loaded", number));
  select_language(number);
  return TMP_INT(old);
}

}  // namespace tarnel
