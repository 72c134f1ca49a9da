#include "db/text_set.h"

#include <map>

#include "core/classes.h"
#include "core/text.h"
#include "db/area.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/format/character_marks.h"
#include "lib/character_reader.h"
#include "lib/utf8.h"

namespace tarnel {
namespace {

struct Choices {
  std::map<std::string, CodePage> files;
  std::optional<CodePage> usual;
} choices;

// In UTF-8, if it had halves of pairs, U+DC80 to U+DCFF would be ED B2 80 to ED B3 BF.
constexpr char kCarriedStart = '\xed';
constexpr std::size_t kCarriedSize = 3;

// The byte that a carried one at the beginning of a text stands for, none when there is none.
std::optional<char> carried_byte(std::string_view text) {
  if (text.size() < kCarriedSize || text[0] != kCarriedStart || (text[1] & 0xfe) != 0xb2) return {};
  return static_cast<char>((text[1] & 1) << 6 | 0x80 | (text[2] & 0x3f));
}

}  // namespace

TextSet usual_text_set() {
  return choices.usual ? TextSet{*choices.usual, false, ""} : TextSet();
}

TextSet text_set_of(const std::string& path, std::uint8_t mark) {
  if (const auto chosen = choices.files.find(path); chosen != choices.files.end())
    return {chosen->second, false, "chosen"};
  if (const std::optional<CodePage> page = dbf::page_of_mark(mark)) return {*page, false, "header"};
  return usual_text_set();
}

TextSet text_set_of(Var* server) {
  if (class_of(server) != &dbfidx_class()) return usual_text_set();
  const DbfIdx& dbf = dbf_of(server);
  return dbf.isOpen() ? text_set_of(dbf.fileName, dbf.header.character_mark()) : usual_text_set();
}

std::string_view name_of(const TextSet& set) {
  return set.assumed ? "auto" : name_of(set.page);
}

std::string words_of(const TextSet& set) {
  const std::string by = *set.by != 0 ? " (" + std::string(set.by) + ")" : "";
  return std::string(name_of(set)) + by;
}

void choose_text_set(const std::string& path, std::optional<CodePage> page) {
  if (page)
    choices.files[path] = *page;
  else
    choices.files.erase(path);
}

void choose_usual_set(std::optional<CodePage> page) {
  choices.usual = page;
}

void LostTexts::add(const Unconverted& lost, std::int32_t record_number,
                    std::string_view field_name) {
  if (!lost) return;
  if (count == 0) {
    record = record_number;
    field = field_name;
    first = lost;
  }
  count += static_cast<std::int64_t>(lost.count);
}

Unconverted decode(std::string& out, std::string_view bytes, const TextSet& set) {
  const std::size_t before = out.size();
  Unconverted lost = to_utf8(out, bytes, set.page);
  if (!lost || !set.assumed) return lost;
  lost.count = 1;  // the text as a whole is another one
  out.resize(before);
  out += assumed_utf8(bytes);
  return lost;
}

std::string decoded(std::string_view bytes, const TextSet& set) {
  std::string text;
  static_cast<void>(decode(text, bytes, set));
  return text;
}

ValueTexts::ValueTexts(std::string_view expression) {
  const std::size_t arrow = expression.find("->");
  const bool has_alias = arrow != expression.npos;
  const WorkArea* area =
      has_alias ? resolve_alias(trim_blanks(expression.substr(0, arrow))) : nullptr;
  if (has_alias) expression.remove_prefix(arrow + 2);
  Var* server = area != nullptr && area->server() != nullptr ? area->server() : current_server();
  if (server == nullptr) return;
  set_ = text_set_of(server);
  is_field_ = class_of(server) == &dbfidx_class() &&
              field_position(dbf_of(server), trim_blanks(expression)) > 0;
}

// A short word of a page may be UTF-8 by chance, then of characters that its users hardly type: "сад" of cp866 is one
// of the Mongolian script.
static bool is_typed(std::string_view text, CodePage page) {
  constexpr int kFew = 3;
  int strange = 0;
  while (!text.empty()) {
    char32_t c = 0;
    const std::size_t n = utf8_length(text, c);
    if (n == 0) return false;
    const bool is_sign = c >= 0x2010 && c <= 0x20bf;  // dashes, quotes, currencies
    if (c >= 0x800 && !is_sign && page != CodePage::kUtf8 && !byte_of(page, c)) ++strange;
    text.remove_prefix(n);
  }
  return strange == 0 || strange > kFew;
}

std::string ValueTexts::readable(std::string_view text) const {
  const bool stays = set_.assumed || is_ascii(text) || (!is_field_ && is_typed(text, set_.page));
  return stays ? std::string(text) : decoded(text, set_);
}

Unconverted encode(std::string& text, const TextSet& set, Carried carried) {
  const bool may_carry = carried != Carried::kNone;
  if (is_ascii(text) || (set.assumed && !may_carry)) return {};
  std::string bytes;
  Unconverted lost;
  for (std::string_view rest = text; !rest.empty();) {
    std::size_t end = may_carry ? rest.find(kCarriedStart) : rest.npos;
    while (end != rest.npos && !carried_byte(rest.substr(end)))
      end = rest.find(kCarriedStart, end + 1);
    const std::string_view part = rest.substr(0, end);
    if (set.assumed)
      bytes += part;
    else if (const Unconverted more = from_utf8(bytes, part, set.page); !lost)
      lost = more;
    rest.remove_prefix(part.size());
    if (rest.empty()) break;
    const char byte = *carried_byte(rest);
    if (carried == Carried::kLost && !lost) lost = {1, 0, static_cast<unsigned char>(byte), true};
    bytes += byte;
    rest.remove_prefix(kCarriedSize);
  }
  text = std::move(bytes);
  return lost;
}

std::string words_of(const Unconverted& lost, CodePage page) {
  const std::string name(name_of(page));
  return words_of(lost) + (lost.is_byte ? ", which is no " + name : ", which " + name + " hasn't");
}

}  // namespace tarnel
