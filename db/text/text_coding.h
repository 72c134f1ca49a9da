// Texts in another character set than the tables whose records they hold. Without it bytes go as they are.
//
//   TextCoding coding(table_set, file_set);
//   const Switched<TextCoding*> in_force(text_coding(), &coding);
//   ... copy or append ...
//   if (coding.lost) ...
#pragma once

#include <string>

#include "lib/code_pages.h"

namespace tarnel {

struct TextCoding {
  TextCoding(CodePage table_page, CodePage file_page) : table(table_page), file(file_page) {}
  const CodePage table, file;
  // What had no counterpart: all of what was written, the first of what was read.
  Unconverted lost;
  CodePage lost_in = CodePage::kUtf8;  // the set that hasn't it

  // Converts a line of records. What has no counterpart becomes a sign that says so.
  void to_file(std::string& line);
  // Appends bytes of a file, and takes them off `bytes`, up to a character that the end cuts, unless it is the last
  // part, or to one that has no counterpart. False for the latter, behind which there is no going on.
  [[nodiscard]] bool to_table(std::string& out, std::string& bytes, bool last);
};
// In force for texts that are opened or written meanwhile, null for none.
TextCoding*& text_coding();

}  // namespace tarnel
