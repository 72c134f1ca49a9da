#include "translator/identifiers.h"

#include <algorithm>
#include <array>

#include "core/symbols.h"
#include "core/text.h"
#include "lib/utf8.h"

namespace tarnel {
namespace {

// The words of C++ and those that translated code is written with; what headers of the system define.
constexpr auto kReserved = std::to_array<std::string_view>(
    {"alignas",     "alignof",    "and",         "and_eq",   "argc",      "argv",      "asm",
     "auto",        "bitand",     "bitor",       "bool",     "break",     "case",      "catch",
     "char",        "char16_t",   "char32_t",    "char8_t",  "class",     "co_await",  "co_return",
     "co_yield",    "compl",      "concept",     "const",    "consteval", "constexpr", "constinit",
     "continue",    "decltype",   "default",     "delete",   "do",        "double",    "else",
     "empty_text",  "enum",       "error_value", "explicit", "export",    "extern",    "false",
     "false_value", "float",      "for",         "friend",   "goto",      "if",        "inline",
     "int",         "linux",      "locals",      "long",     "main",      "mutable",   "namespace",
     "new",         "nil_value",  "noexcept",    "not",      "not_eq",    "null",      "nullptr",
     "operator",    "or",         "or_eq",       "p",        "private",   "protected", "public",
     "register",    "requires",   "return",      "short",    "signed",    "sizeof",    "static",
     "std",         "struct",     "switch",      "tarnel",   "template",  "this",      "throw",
     "true",        "true_value", "try",         "typedef",  "typeid",    "typename",  "union",
     "unix",        "unsigned",   "using",       "virtual",  "void",      "volatile",  "wchar_t",
     "while",       "xor",        "xor_eq"});
constexpr auto kDefined = std::to_array<std::string_view>(
    {"alloca",   "assert",  "assert_perror", "be16toh", "be32toh", "be64toh", "errno",   "htobe16",
     "htobe32",  "htobe64", "htole16",       "htole32", "htole64", "le16toh", "le32toh", "le64toh",
     "offsetof", "sigmask", "stderr",        "stdin",   "stdout",  "strdupa", "strndupa"});
// The operators of compiled code, and fields of the system's records. All else that translated code calls has capitals.
constexpr auto kReservedBeginnings =
    std::to_array<std::string_view>({"cs", "__", "sa_", "si_", "sigev_"});

bool is_reserved(std::string_view name) {
  return std::ranges::find(kReserved, name) != kReserved.end() ||
         std::ranges::find(kDefined, name) != kDefined.end() || name.ends_with("_") ||
         std::ranges::any_of(kReservedBeginnings,
                             [&](std::string_view begin) { return name.starts_with(begin); });
}

// Names of files may be any; of what is no letter, digit or _ an underscore is left.
std::string with_plain_letters(std::string_view name) {
  std::string plain = lower_text(name);
  for (char& c : plain)
    if (c != '_' && (c < '0' || c > '9') && (c < 'a' || c > 'z')) c = '_';
  return plain.empty() || (plain.front() >= 'a' && plain.front() <= 'z') ? plain : "x" + plain;
}

}  // namespace

std::string Identifiers::add(std::string_view name) {
  const std::string lower = with_plain_letters(name);
  return add_exactly(is_reserved(lower) ? lower + "_x" : lower);
}

std::string Identifiers::add_exactly(const std::string& name) {
  std::string made = name;
  for (int i = 2; !taken_.insert(made).second; ++i) made = name + "_" + std::to_string(i);
  return made;
}

const std::string& NamedCells::of(std::string_view name) {
  const std::string lower = lower_text(name);
  const auto [known, is_new] = identifiers_.emplace(lower.substr(0, significant_), prefix_ + lower);
  if (is_new) names_.emplace(known->second, lower);
  return known->second;
}

std::string literal(std::string_view bytes) {
  const bool plain = is_utf8(bytes);
  std::string text = "\"";
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    if (byte == '\n')
      text += i + 1 < bytes.size() ? "\\n\" \"" : "\\n";  // a line for each, where they are long
    else if (byte < 32 || byte == 127 || (byte > 127 && !plain))
      text.append(1, '\\')
          .append(1, static_cast<char>('0' + (byte >> 6)))
          .append(1, static_cast<char>('0' + ((byte >> 3) & 7)))
          .append(1, static_cast<char>('0' + (byte & 7)));
    else if (byte == '"' || byte == '\\' || byte == '?')
      text.append(1, '\\').append(1, bytes[i]);
    else
      text += bytes[i];
  }
  return text + "\"";
}

}  // namespace tarnel
