// The character sets of tables, and their texts on the way out, as UTF-8, and back.
//
// The set of a table is the one that was chosen for it in this session, else the one that its header tells, else
// the one that was chosen for tables that tell none.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/var.h"
#include "lib/code_pages.h"

namespace tarnel {

struct DbfIdx;

struct TextSet {
  CodePage page = CodePage::kUtf8;
  // Nobody said: a text is UTF-8, or the customary PC page where it is none, and comes back as it is.
  bool assumed = true;
  // Who said: "chosen", "header", or "" for neither.
  const char* by = "";
};
// The set of an open table, whatever its driver.
TextSet text_set_of(Var* server);
// Of a table's file, by its full path and the mark in its header.
TextSet text_set_of(const std::string& path, std::uint8_t mark);
// What tables are read as that tell no set.
TextSet usual_text_set();
// "cp850", or "auto" for one that is assumed.
std::string_view name_of(const TextSet& set);
// The same with who said so: "cp850 (header)".
std::string words_of(const TextSet& set);

// Chooses for a file, or for tables that tell none; no page takes a choice back.
void choose_text_set(const std::string& path, std::optional<CodePage> page);
void choose_usual_set(std::optional<CodePage> page);

// What could not be carried over of the records of a table.
struct LostTexts {
  std::int64_t count = 0;
  std::int32_t record = 0;  // of the first, and its field
  std::string field;
  Unconverted first;

  void add(const Unconverted& lost, std::int32_t record_number, std::string_view field_name);
};

// Appends UTF-8 of bytes of a table; what is no character becomes U+FFFD, or in an assumed set one of the PC page.
[[nodiscard]] Unconverted decode(std::string& out, std::string_view bytes, const TextSet& set);
// For a person, whom the signs in the text tell as much.
std::string decoded(std::string_view bytes, const TextSet& set);

// The texts of a value that an expression gave, for who reads them. Those of a field are in the set of its table. Of
// others nobody knows whence they come: what is UTF-8 is that, other bytes are of the set of the current table. In an
// assumed set they stay as they are.
class ValueTexts {
 public:
  explicit ValueTexts(std::string_view expression);
  std::string readable(std::string_view text) const;

 private:
  TextSet set_;
  bool is_field_ = false;
};

// Bytes of the set for a text in UTF-8, which stays as it is in an assumed one. What to_utf8_exactly() carries
// over becomes a byte again, or counts as lost, where the text may hold such.
enum class Carried : std::uint8_t { kNone, kTaken, kLost };
[[nodiscard]] Unconverted encode(std::string& text, const TextSet& set, Carried carried);
// "€ (U+20AC), which cp437 hasn't"
std::string words_of(const Unconverted& lost, CodePage page);

}  // namespace tarnel
