#include "lang/source_tokens.h"

namespace tarnel {

Place place_behind(const SourceToken& token) {
  Place place = token.place;
  if (!token.made) place.column += static_cast<std::int32_t>(token.text.size());
  return place;
}

int nesting(const SourceToken& token) {
  if (token.kind != SourceKind::kSign || token.text.size() != 1) return 0;
  switch (token.text[0]) {
    case '(':
    case '[':
    case '{':
      return 1;
    case ')':
    case ']':
    case '}':
      return -1;
    default:
      return 0;
  }
}

std::size_t closing_bracket(std::span<const SourceToken> tokens, std::size_t at) {
  int depth = 0;
  for (; at < tokens.size(); ++at)
    if ((depth += nesting(tokens[at])) <= 0) return at;
  return at;
}

std::vector<std::span<const SourceToken>> comma_parts(std::span<const SourceToken> tokens) {
  std::vector<std::span<const SourceToken>> parts;
  std::size_t begin = 0;
  int depth = 0;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    depth += nesting(tokens[i]);
    if (depth > 0 || !tokens[i].is(",")) continue;
    parts.push_back(tokens.subspan(begin, i - begin));
    begin = i + 1;
  }
  parts.push_back(tokens.subspan(begin));
  return parts;
}

std::string tokens_text(std::span<const SourceToken> tokens) {
  std::string text;
  for (const SourceToken& token : tokens) {
    if (!text.empty() && token.gap != SourceGap::kNone) text += ' ';
    text += token.text;
  }
  return text;
}

void add_tokens(PlacedText& statement, std::span<const SourceToken> tokens) {
  for (const SourceToken& token : tokens) {
    if (!statement.empty() && token.gap != SourceGap::kNone) statement.add_at(" ", token.place);
    if (token.made)
      statement.add_at(token.text, token.place);
    else
      statement.add(token.text, token.place);
  }
}

}  // namespace tarnel
