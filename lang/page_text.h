// Pages: files in which statements stand between tags, and all else goes out as it is.
//
//   <% statements %>    a line feed directly behind it, with a carriage return before that, belongs to it
//   <%= expression %>   its value, escaped for HTML
//   <%== expression %>  its value as it is
//   <%-- comment --%>
//   <%%                 the two bytes <%
//
// The first %> that stands in no text of its line ends a tag, also in a comment of the language. `[` opens a text
// where no value stands before it.
#pragma once

#include <string_view>
#include <vector>

#include "lang/diagnostics.h"

namespace tarnel {

enum class PieceKind : std::uint8_t { kStatements, kText, kShown, kRaw };

// Bytes of a file, where they begin.
struct PagePiece {
  PieceKind kind;
  std::size_t begin, end;
  Place place;
};

// Is a file of this name a page?
bool is_page_name(std::string_view name);

// The pieces of a page, in order. A tag without its end is told, and the page ends before it.
std::vector<PagePiece> page_pieces(const SourceFiles& files, std::int32_t file,
                                   Diagnostics& diagnostics);

}  // namespace tarnel
