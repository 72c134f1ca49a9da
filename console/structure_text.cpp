#include "console/structure_text.h"

#include <algorithm>

#include "console/words.h"
#include "core/text.h"

namespace tarnel {

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

std::string structure_of(std::string_view text, std::vector<std::string>* former) {
  std::string rows = "{";
  while (!text.empty()) {
    std::string_view field = trim_blanks(text.substr(0, text.find(',')));
    text.remove_prefix(std::min(text.find(','), text.size() - 1) + 1);
    const std::string name(take_word(field)), type(take_word(field));
    std::string was = name, sizes;
    for (int i = 0; i < 2; ++i) {
      std::string_view rest = field;
      const std::string_view word = take_word(rest);
      const bool is_size = word.find_first_not_of("0123456789") == word.npos;
      if (is_size) field = rest;
      sizes.append(", ").append(is_size && !word.empty() ? word : "0");
    }
    if (former != nullptr && take_if(field, "was")) was = take_word(field);
    if (type.empty() || was.empty() || !field.empty() || name.find('"') != name.npos ||
        type.find('"') != type.npos)
      return {};
    if (former != nullptr) former->push_back(was);
    rows += (rows.size() > 1 ? ", {\"" : "{\"") + name + "\", \"" + type + '"' + sizes + "}";
  }
  return rows + "}";
}

}  // namespace tarnel
