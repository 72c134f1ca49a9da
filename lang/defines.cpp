#include "lang/defines.h"

#include <algorithm>
#include <cassert>

namespace tarnel {
namespace {

std::size_t beginning(std::string_view name) {
  return (word_key(name) * 0x9E3779B1U + static_cast<std::uint32_t>(name.size()) * 0x85EBCA6BU) >>
         22;
}

}  // namespace

std::string_view Defines::define(std::span<const SourceToken> tokens) {
  if (tokens.empty() || !tokens[0].is_name()) return "#define takes a name";
  Define made;
  std::size_t at = 1;
  if (tokens.size() > 1 && tokens[1].is("(") && tokens[1].gap == SourceGap::kNone) {
    made.has_parameters = true;
    const std::size_t close = closing_bracket(tokens, 1);
    if (close == tokens.size()) return "parameters without a closing )";
    if (close > 2) {
      for (const auto& part : comma_parts(tokens.subspan(2, close - 2))) {
        if (part.size() != 1 || !part[0].is_name()) return "a parameter must be a name";
        made.parameters.push_back(part[0].text);
      }
    }
    at = close + 1;
  }
  made.body.assign(tokens.begin() + static_cast<std::ptrdiff_t>(at), tokens.end());
  beginnings_.set(beginning(tokens[0].text));
  defines_.insert_or_assign(tokens[0].text, std::move(made));
  return {};
}

const Defines::Define* Defines::find(const SourceToken& token) const {
  if (!token.is_name() || !beginnings_[beginning(token.text)]) return nullptr;
  const auto found = defines_.find(token.text);
  return found == defines_.end() ? nullptr : &found->second;
}

bool Defines::touch(const SourceTokens& tokens) const {
  return !defines_.empty() && std::ranges::any_of(tokens, [this](const SourceToken& token) {
    return find(token) != nullptr;
  });
}

// The input is a stack, its next token last: what a constant becomes is put back there.
bool Defines::expand(SourceTokens& tokens, Rewriting& rewriting) const {
  SourceTokens input(tokens.rbegin(), tokens.rend());
  tokens.clear();
  while (!input.empty()) {
    const SourceToken token = input.back();
    input.pop_back();
    const Define* const found = find(token);
    if (found == nullptr || (found->has_parameters && (input.empty() || !input.back().is("("))))
      tokens.push_back(token);
    else if (!replace(token, *found, input, rewriting))
      return false;
  }
  return true;
}

// Takes the arguments, with their brackets, off the input.
bool Defines::arguments(const SourceToken& use, const Define& define, SourceTokens& input,
                        std::vector<SourceTokens>& values, Rewriting& rewriting) {
  assert(input.back().is("("));
  SourceTokens inside;
  int depth = 0;
  do {
    if (input.empty()) {
      rewriting.fail(use.place, std::string(use.text) + "() without its closing )");
      return false;
    }
    depth += nesting(input.back());
    inside.push_back(input.back());
    input.pop_back();
  } while (depth > 0);
  const std::size_t count = define.parameters.size();
  if (inside.size() > 2 || count > 0)
    for (const auto& part : comma_parts(std::span(inside).subspan(1, inside.size() - 2)))
      values.emplace_back(part.begin(), part.end());
  if (values.size() == count) return true;
  rewriting.fail(use.place, std::string(use.text) + "() takes " + std::to_string(count) +
                                " arguments, not " + std::to_string(values.size()));
  return false;
}

bool Defines::replace(const SourceToken& use, const Define& define, SourceTokens& input,
                      Rewriting& rewriting) {
  std::vector<SourceTokens> values;
  if (!rewriting.apply_constant(use) ||
      (define.has_parameters && !arguments(use, define, input, values, rewriting)))
    return false;
  SourceTokens made;
  std::size_t bytes = 1;  // also of one that becomes nothing: all of them take time
  for (const SourceToken& token : define.body) {
    const auto parameter = std::ranges::find(define.parameters, token.text);
    const std::size_t first = made.size();
    if (parameter == define.parameters.end()) {
      made.push_back(token);
      made.back().place = use.place;
      made.back().made = true;
      made.back().depth = static_cast<std::uint16_t>(use.depth + 1);
    } else {
      const SourceTokens& value =
          values[static_cast<std::size_t>(parameter - define.parameters.begin())];
      made.insert(made.end(), value.begin(), value.end());
      if (first < made.size()) made[first].gap = token.gap;
    }
    for (std::size_t i = first; i < made.size(); ++i) bytes += made[i].text.size() + 1;
    if (bytes > kLongestStatement) break;
  }
  if (!rewriting.make(bytes)) return false;
  if (!made.empty()) made.front().gap = use.gap;
  input.insert(input.end(), made.rbegin(), made.rend());
  return true;
}

}  // namespace tarnel
