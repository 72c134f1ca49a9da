#include "translator/identifiers.h"

#include <algorithm>
#include <array>

#include "core/symbols.h"
#include "core/text.h"

namespace tarnel {
namespace {

// The words of C++, and those that translated code is written with.
constexpr auto kReserved = std::to_array<std::string_view>(
    {"alignas",     "alignof",    "and",         "and_eq",   "argc",      "argv",      "array_of",
     "asm",         "auto",       "bitand",      "bitor",    "bool",      "break",     "case",
     "catch",       "char",       "char16_t",    "char32_t", "char8_t",   "class",     "co_await",
     "co_return",   "co_yield",   "compl",       "concept",  "const",     "consteval", "constexpr",
     "constinit",   "continue",   "decltype",    "default",  "delete",    "do",        "double",
     "else",        "enum",       "entered",     "errno",    "explicit",  "export",    "extern",
     "false",       "float",      "for",         "friend",   "goto",      "if",        "inline",
     "int",         "linux",      "locals",      "long",     "main",      "mutable",   "namespace",
     "error_value", "empty_text", "false_value", "new",      "nil_value", "noexcept",  "not",
     "not_eq",      "null",       "nullptr",     "operator", "or",        "or_eq",     "p",
     "private",     "protected",  "public",      "register", "requires",  "return",    "short",
     "signed",      "sizeof",     "static",      "std",      "stderr",    "stdin",     "stdout",
     "struct",      "switch",     "tarnel",      "template", "this",      "throw",     "true",
     "true_value",  "try",        "typedef",     "typeid",   "typename",  "union",     "unix",
     "unsigned",    "using",      "virtual",     "void",     "volatile",  "wchar_t",   "while",
     "xor",         "xor_eq"});

// The operators of compiled code begin with cs, and what else translated code calls has its letters in capitals.
bool is_reserved(std::string_view name) {
  return name.starts_with("cs") || name.starts_with("__") || name.ends_with("_") ||
         std::ranges::find(kReserved, name) != kReserved.end();
}

}  // namespace

std::string Identifiers::add(std::string_view name) {
  const std::string lower = lower_text(name);
  return add_exactly(is_reserved(lower) ? lower + "_x" : lower);
}

std::string Identifiers::add_exactly(const std::string& name) {
  std::string made = name;
  for (int i = 2; !taken_.insert(made).second; ++i) made = name + "_" + std::to_string(i);
  return made;
}

const std::string& NamedCells::of(std::string_view name) {
  const std::string lower = lower_text(name);
  const auto [known, is_new] = identifiers_.emplace(lower.substr(0, kNameSize), prefix_ + lower);
  if (is_new) names_.emplace(known->second, lower);
  return known->second;
}

std::string literal(std::string_view bytes) {
  std::string text = "\"";
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    if (byte == '\n')
      text += i + 1 < bytes.size() ? "\\n\" \"" : "\\n";  // a line for each, where they are long
    else if (byte < 32 || byte == 127)
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
