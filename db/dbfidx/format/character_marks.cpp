#include "db/dbfidx/format/character_marks.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace tarnel::dbf {
namespace {

// The first mark of each is the one to write.
struct MarksOfPage {
  CodePage page;
  std::string_view marks;
};
constexpr MarksOfPage kMarks[] = {
    {CodePage::kCp437, "\x01\x09\x0b\x0d\x0f\x11\x15\x18\x19\x1b"},
    {CodePage::kCp850, "\x02\x0a\x0e\x10\x12\x14\x16\x1a\x1d\x25\x37"},
    {CodePage::kCp852, "\x64\x1f\x22\x23\x40\x87"},
    {CodePage::kCp866, "\x65\x26"},
    {CodePage::kCp1250, "\xc8"},
    {CodePage::kCp1251, "\xc9"},
    {CodePage::kCp1252, "\x03\x57\x58\x59"},
    {CodePage::kUtf8, "\xf0"},
};

}  // namespace

std::optional<CodePage> page_of_mark(std::uint8_t mark) {
  for (const auto& [page, marks] : kMarks)
    if (marks.find(static_cast<char>(mark)) != marks.npos) return page;
  return {};
}

std::optional<std::uint8_t> mark_of_page(CodePage page) {
  const auto* found = std::ranges::find(kMarks, page, &MarksOfPage::page);
  if (found == std::end(kMarks)) return {};
  return static_cast<std::uint8_t>(found->marks[0]);
}

}  // namespace tarnel::dbf
