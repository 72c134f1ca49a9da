// The marks by which a header tells the character set of its table's texts. Programs for one country each have marks
// of their own: many stand for one set.
#pragma once

#include <cstdint>
#include <optional>

#include "lib/code_pages.h"

namespace tarnel::dbf {

// None for 0, which tells nothing, and for marks that stand for another set.
std::optional<CodePage> page_of_mark(std::uint8_t mark);
// The mark to write, none for a set that has none.
std::optional<std::uint8_t> mark_of_page(CodePage page);

}  // namespace tarnel::dbf
