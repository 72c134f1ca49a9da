// Texts in notations in which some bytes stand for something: each of these is replaced by a short text.
//
//   html       & < > " '                as entities
//   url        all but A-Z a-z 0-9 - . _ ~    %XX
//   json       " \ and control characters     \" \\ \b \f \n \r \t \u0000
//   tsv        tab, LF, CR, backslash   \t \n \r \\    (backslash doubled)
//   sql        '                        doubled; a NUL byte, which would end the statement, '||char(0)||'
//   markdown   | LF CR and those of html      \| <br>, nothing, entities
//
// What a text has of other bytes is found and copied many at once.
#pragma once

#include <cstdint>
#include <string_view>

#include "lib/byte_buffer.h"

namespace tarnel {

struct HtmlEscape {
  char character;
  std::string_view html;
};
inline constexpr HtmlEscape kHtmlEscapes[] = {
    {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\'', "&#39;"}};

// Each writes a text with its special bytes replaced, without what stands around it.
void escape_html(ByteBuffer& out, std::string_view text);
void escape_url(ByteBuffer& out, std::string_view text);
void escape_json(ByteBuffer& out, std::string_view text);
void escape_tsv(ByteBuffer& out, std::string_view text);
void escape_sql(ByteBuffer& out, std::string_view text);
void escape_markdown(ByteBuffer& out, std::string_view text);

// For a text that is written to its place at once: what it begins with and has nothing special in it is copied, up to the
// number of bytes that comes back; the rest, how many bytes longer it becomes, and its writing to a place of just that room.
std::size_t copy_plain_html(char* out, std::string_view text);
std::size_t copy_plain_url(char* out, std::string_view text);
std::int64_t growth_in_html(std::string_view text);
std::int64_t growth_in_url(std::string_view text);
void fill_html(char* out, std::string_view text);
void fill_url(char* out, std::string_view text);

}  // namespace tarnel
