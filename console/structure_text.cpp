#include "console/structure_text.h"

#include <algorithm>
#include <cstdlib>

#include "console/words.h"
#include "core/arrays.h"
#include "core/stacks.h"
#include "core/text.h"

namespace tarnel {

namespace {

constexpr std::size_t kMostName = dbf::kNameField;

constexpr std::int32_t kTooLong = 99'999'999;

// A number off the front of a field, 0 without one.
std::int32_t take_size(std::string_view& field) {
  std::string_view rest = field;
  const std::string word(take_word(rest));
  if (word.empty() || word.find_first_not_of("0123456789") != word.npos) return 0;
  field = rest;
  const std::size_t digits = word.size() - std::min(word.find_first_not_of('0'), word.size());
  return digits > 8 ? kTooLong : std::atoi(word.c_str());
}

// What the language lets pass and nobody wants, "" for none.
std::string fault_of(const std::string& name, std::string_view type, std::int32_t length,
                     std::int32_t decimals) {
  const char letter = upper_letter(type.front());
  const bool is_number = letter == 'N' || letter == 'F';
  if (name.size() > kMostName)
    return "field " + name + ": a name has at most " + std::to_string(kMostName) + " characters";
  if ((is_number || letter == 'C') && length == 0)
    return "field " + name + ": " + letter + " needs a length above 0";
  if (is_number && decimals > 0 && decimals >= length)
    return "field " + name + ": " + std::to_string(decimals) + " decimals have no place in " +
           std::to_string(length) + " characters";
  return {};
}

}  // namespace

std::string type_text(const dbf::Field& field) {
  std::string text(1, field.type);
  const bool has_size = field.type == 'C' || field.type == 'N' || field.type == 'F';
  if (has_size) text += ' ' + std::to_string(field.length);
  if (field.decimals != 0 && field.type != 'C') text += ' ' + std::to_string(field.decimals);
  return text;
}

std::string structure_text(const std::vector<dbf::Field>& fields, std::string_view between) {
  std::string text;
  for (const dbf::Field& field : fields)
    text.append(text.empty() ? "" : between).append(field.name).append(" " + type_text(field));
  return text;
}

Var* structure_of(std::string_view text, std::string& fault, std::vector<std::string>* former) {
  Var* rows = NEW_TEMP();
  cscreara(rows, 0, kAllNil);
  std::vector<std::string> names;
  while (!text.empty()) {
    const TempsMark mark;
    std::string_view field = trim_blanks(text.substr(0, text.find(',')));
    text.remove_prefix(std::min(text.find(','), text.size() - 1) + 1);
    const std::string name(take_word(field)), type(take_word(field));
    const std::int32_t length = take_size(field), decimals = take_size(field);
    std::string was = name;
    if (former != nullptr && take_if(field, "was")) was = take_word(field);
    if (type.empty() || was.empty() || !field.empty()) return nullptr;
    if (former != nullptr) former->push_back(was);
    if (std::ranges::find(names, upper_text(name)) != names.end()) fault = "two fields " + name;
    if (fault.empty()) fault = fault_of(name, type, length, decimals);
    names.push_back(upper_text(name));
    Var* row = NEW_TEMP();
    cscrearr(row, 4, kCopyValues,
             {TMP_TEXT(name), TMP_TEXT(type), TMP_INT(length), TMP_INT(decimals)});
    cscrearr(rows, static_cast<std::int32_t>(names.size()), kKeep, {row});
  }
  return names.empty() || !fault.empty() ? nullptr : rows;
}

}  // namespace tarnel
