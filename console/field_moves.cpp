#include "console/field_moves.h"

#include <algorithm>
#include <cstring>

#include "console/structure_text.h"
#include "core/text.h"
#include "db/dbfidx/record/memo.h"

namespace tarnel {
namespace {

bool is_alike(const dbf::Field& a, const dbf::Field& b) {
  return a.type == b.type && a.length == b.length && (a.decimals == b.decimals || a.type == 'C');
}

bool is_text(char type) {
  return type == 'C' || type == 'M';
}
bool is_number(char type) {
  return type == 'N' || type == 'F';
}
// Texts can become anything and the other way round; numbers, dates and logicals only what they are.
bool can_become(char from, char to) {
  return from == to || is_text(from) || is_text(to) || (is_number(from) && is_number(to));
}

// The beginning of a text, which splits no character of UTF-8.
std::string_view cut(std::string_view text, std::size_t length, CodePage page) {
  if (page == CodePage::kUtf8)
    while (length > 0 && (text[length] & 0xc0) == 0x80) --length;
  return text.substr(0, length);
}

}  // namespace

FieldMoves::FieldMoves(DbfIdx& dbf, std::vector<dbf::Field> fields, std::vector<std::int32_t> from)
    : dbf_(dbf), set_(text_set_of(dbf.object)), fields_(std::move(fields)), from_(std::move(from)) {
  lay_out(fields_);
  for (std::size_t i = 0; i < dbf.fields.size(); ++i)
    if (std::ranges::find(from_, static_cast<std::int32_t>(i)) == from_.end())
      dropped_.push_back(&dbf.fields[i]);
}

const dbf::Field* FieldMoves::source(std::size_t field) const {
  return from_[field] < 0 ? nullptr : &dbf_.fields[static_cast<std::size_t>(from_[field])];
}

std::vector<std::string> FieldMoves::changes() const {
  std::vector<std::string> lines;
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    const dbf::Field* from = source(i);
    const std::string name = "field " + std::string(fields_[i].name) + ": ";
    const std::string type = type_text(fields_[i]);
    if (from == nullptr) {
      lines.push_back(name + type + " is new");
      continue;
    }
    if (std::strcmp(from->name, fields_[i].name) != 0) lines.push_back(name + "was " + from->name);
    if (!is_alike(*from, fields_[i])) lines.push_back(name + type_text(*from) + " -> " + type);
  }
  for (const dbf::Field* field : dropped_)
    lines.push_back("field " + std::string(field->name) + ": " + type_text(*field) + " goes");
  std::vector<std::int32_t> kept = from_;
  std::erase(kept, -1);
  if (!std::ranges::is_sorted(kept)) lines.emplace_back("fields: in another order");
  return lines;
}

std::string FieldMoves::impossible() const {
  for (std::size_t i = 0; i < fields_.size(); ++i)
    if (const dbf::Field* from = source(i);
        from != nullptr && !can_become(from->type, fields_[i].type))
      return "field " + std::string(fields_[i].name) + ": type " + from->type + " can't become " +
             fields_[i].type;
  return {};
}

bool FieldMoves::fill(std::int32_t n, const std::uint8_t* record, std::uint8_t* target,
                      const MemoSink& memos, const Tell& tell) const {
  *target = *record;
  for (std::size_t i = 0; i < fields_.size(); ++i)
    if (from_[i] >= 0 && !move(n, i, record, target, memos, tell)) return false;
  for (const dbf::Field* field : dropped_) {
    MemoText memo;
    std::string_view text;
    if (!text_of_field(*field, record + field->offset, memo, text)) return false;
    if (!text.empty())
      tell("record " + std::to_string(n) + ", field " + field->name +
           " goes: " + shown_input({InputKind::kText, decoded(text, set_)}));
  }
  return true;
}

// "" for a field that holds nothing. False when a memo can't be read.
bool FieldMoves::text_of_field(const dbf::Field& from, const std::uint8_t* at, MemoText& memo,
                               std::string_view& text) const {
  text = {reinterpret_cast<const char*>(at), from.length};
  if (from.type == 'M') {
    const std::uint32_t block = dbf::memo_block(at, from.length);
    text = {};
    if (block == 0) return true;
    if (!load_memo_text(dbf_, block, memo)) return false;
    text = memo.view();
  } else if (from.type == 'C') {
    text = trim_right(text);
  } else {
    text = trim_blanks(text);
    if (from.type == 'L' && text == "?") text = {};
  }
  return true;
}

bool FieldMoves::move(std::int32_t n, std::size_t field, const std::uint8_t* record,
                      std::uint8_t* target, const MemoSink& memos, const Tell& tell) const {
  const dbf::Field &from = *source(field), &to = fields_[field];
  std::uint8_t* at = target + to.offset;
  if (from.type != 'M' && is_alike(from, to)) {
    std::memcpy(at, record + from.offset, from.length);
    return true;
  }
  MemoText memo;
  std::string_view text;
  if (!text_of_field(from, record + from.offset, memo, text)) return false;
  if (text.empty()) return true;
  if (to.type != 'M') {
    put(n, to, at, text, tell);
    return true;
  }
  // A text that a memo can't have keeps what stands before its end.
  constexpr char kMemoEnd = '\x1a';
  if (const std::size_t end = text.find(kMemoEnd); end != text.npos) {
    tell("record " + std::to_string(n) + ", field " + to.name +
         " holds byte 26, which would end it");
    text = text.substr(0, end);
  }
  const std::int64_t block = memos.put(memos.target, text);
  if (block >= 0) dbf::put_block(at, to.length, static_cast<std::uint32_t>(block));
  return block >= 0;
}

void FieldMoves::put(std::int32_t n, const dbf::Field& to, std::uint8_t* at, std::string_view text,
                     const Tell& tell) const {
  const std::string_view wrong = put_input(to, at, {InputKind::kText, std::string(text)}, false);
  if (wrong.empty()) return;
  tell("record " + std::to_string(n) + ", field " + to.name + " " + std::string(wrong) + ": " +
       shown_input({InputKind::kText, decoded(text, set_)}));
  if (to.type == 'C') dbf::put_text(at, to.length, cut(text, to.length, set_.page));
}

}  // namespace tarnel
