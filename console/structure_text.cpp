#include "console/structure_text.h"

#include <algorithm>
#include <cstdlib>

#include "console/words.h"
#include "core/text.h"

namespace tarnel {

namespace {

constexpr std::size_t kMostName = dbf::kNameField;

// A number off the front of a field, "0" without one.
std::string_view take_size(std::string_view& field) {
  std::string_view rest = field;
  const std::string_view word = take_word(rest);
  if (word.empty() || word.find_first_not_of("0123456789") != word.npos) return "0";
  field = rest;
  return word;
}

// What the language lets pass and nobody wants, "" for none.
std::string fault_of(const std::string& name, std::string_view type, std::string_view length,
                     std::string_view decimals) {
  const auto number = [](std::string_view digits) {
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
    return digits.size() > 8 ? 99'999'999 : std::atoi(std::string("0").append(digits).c_str());
  };
  const char letter = upper_letter(type.front());
  const bool is_number = letter == 'N' || letter == 'F';
  if (name.size() > kMostName)
    return "field " + name + ": a name has at most " + std::to_string(kMostName) + " characters";
  if ((is_number || letter == 'C') && number(length) == 0)
    return "field " + name + ": " + letter + " needs a length above 0";
  if (is_number && number(decimals) > 0 && number(decimals) >= number(length))
    return "field " + name + ": " + std::string(decimals) + " decimals have no place in " +
           std::string(length) + " characters";
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

std::string structure_of(std::string_view text, std::string& fault,
                         std::vector<std::string>* former) {
  std::string rows = "{";
  std::vector<std::string> names;
  while (!text.empty()) {
    std::string_view field = trim_blanks(text.substr(0, text.find(',')));
    text.remove_prefix(std::min(text.find(','), text.size() - 1) + 1);
    const std::string name(take_word(field)), type(take_word(field));
    const std::string_view length = take_size(field), decimals = take_size(field);
    std::string was = name;
    if (former != nullptr && take_if(field, "was")) was = take_word(field);
    if (type.empty() || was.empty() || !field.empty() || name.find('"') != name.npos ||
        type.find('"') != type.npos)
      return {};
    if (former != nullptr) former->push_back(was);
    names.push_back(upper_text(name));
    if (std::ranges::count(names, names.back()) > 1) fault = "two fields " + name;
    if (fault.empty()) fault = fault_of(name, type, length, decimals);
    rows += (rows.size() > 1 ? ", {\"" : "{\"") + name + "\", \"" + type + "\", ";
    rows.append(length).append(", ").append(decimals).append("}");
  }
  if (rows.size() == 1 || !fault.empty()) return {};
  return rows + "}";
}

}  // namespace tarnel
