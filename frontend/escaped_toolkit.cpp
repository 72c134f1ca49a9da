#include "frontend/escaped_toolkit.h"

#include <algorithm>
#include <string>

#include "core/arrays.h"
#include "core/frame.h"
#include "core/stacks.h"
#include "frontend/toolkit.h"
#include "lib/arguments.h"
#include "lib/value_text.h"
#include "lib/web_texts.h"

namespace tarnel {

std::string html_escaped(std::string_view text) {
  const TempsMark mark;
  return std::string(text_of(CALL_SIMPLE(htmlesc, TMP_TEXT(text))));
}

namespace {

// The text of any value, without blanks around one that is no text; "" for NIL.
std::string html_escaped_value(Var* value) {
  if (is_nil(value)) return {};
  NumberBuffer buffer;
  const std::string_view text = varToText(value, buffer);
  return html_escaped(is_text(value) ? text : trim_blanks(text));
}

// Argument i as HTML that says it; "" for none.
std::string escaped(std::int32_t argc, Var** argv, std::int32_t i) {
  return i < argc ? html_escaped_value(argv[i]) : std::string();
}

// An address that a browser doesn't run as a script: one of this site, or of a scheme that only goes somewhere.
bool only_leads(std::string_view address) {
  const std::size_t end = address.find_first_of(":/?#");
  if (end == address.npos || address[end] != ':') return true;
  const std::string_view scheme = address.substr(0, end);
  return same_letters(scheme, "http") || same_letters(scheme, "https") ||
         same_letters(scheme, "mailto");
}

// What browsers leave out of addresses must not hide a scheme.
std::string without_controls(std::string_view address) {
  std::string kept(trim_blanks(address));
  std::erase_if(kept, [](unsigned char c) { return c < ' ' || c == 0x7f; });
  return kept;
}

std::int32_t elements(std::int32_t argc, Var** argv, std::int32_t i) {
  return arg_is(argc, argv, i, "A") ? element_count(argv[i]) : 0;
}

}  // namespace

Var* tnesc(std::int32_t argc, Var** argv) {
  write_line(escaped(argc, argv, 0));
  return true_value();
}

Var* tnelist(std::int32_t argc, Var** argv) {
  const bool numbered = int_argument(argc, argv, 1, 0) != 0;
  write_line(numbered ? "<OL>" : "<UL>");
  for (std::int32_t i = 1; i <= elements(argc, argv, 0); ++i)
    write_line("<LI>" + html_escaped_value(element(argv[0], i)));
  write_line(numbered ? "</OL>" : "</UL>");
  return true_value();
}

Var* tnetable(std::int32_t argc, Var** argv) {
  write_line("<TABLE>");
  if (const std::string caption = escaped(argc, argv, 1); !caption.empty())
    write_line("<CAPTION>" + caption + "</CAPTION>");
  for (std::int32_t i = 1; i <= elements(argc, argv, 0); ++i) {
    write_line("<TR>");
    const Var* row = element(argv[0], i);
    for (std::int32_t j = 1; row->type == 'A' && j <= element_count(row); ++j)
      write_line("<TD>" + html_escaped_value(element(row, j)) + "</TD>");
    write_line("</TR>");
  }
  write_line("</TABLE>");
  return true_value();
}

Var* tnelink(std::int32_t argc, Var** argv) {
  const std::string address = without_controls(text_argument(argc, argv, 0));
  write_line("<A HREF=\"" + html_escaped(only_leads(address) ? address : "#") + "\">" +
             escaped(argc, argv, 1) + "</A>");
  return true_value();
}

Var* tnefield(std::int32_t argc, Var** argv) {
  constexpr std::int32_t kUsualSize = 20, kLargestSize = 1000;
  const std::int32_t size = std::clamp(int_argument(argc, argv, 2, kUsualSize), 1, kLargestSize);
  write_line("<INPUT TYPE=TEXT NAME=\"" + escaped(argc, argv, 0) + "\" VALUE=\"" +
             escaped(argc, argv, 1) + "\" SIZE=" + std::to_string(size) + ">");
  return true_value();
}

Var* tneoption(std::int32_t argc, Var** argv) {
  const bool selected = int_argument(argc, argv, 2, 0) != 0;
  const bool has_text = argc > 1 && !is_nil(argv[1]);
  write_line("<OPTION VALUE=\"" + escaped(argc, argv, 0) + (selected ? "\" SELECTED>" : "\">") +
             escaped(argc, argv, has_text ? 1 : 0) + "</OPTION>");
  return true_value();
}

}  // namespace tarnel
