#include "lang/diagnostics.h"

#include <algorithm>
#include <cassert>
#include <iterator>
#include <tuple>
#include <utility>

#include "core/text.h"

namespace tarnel {
namespace {

constexpr std::size_t kWidest = 160;  // bytes that are shown of a line

bool goes_on(char c) {  // a byte of UTF-8 that isn't the first of its character
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

bool is_control(char c) {
  return (static_cast<unsigned char>(c) < ' ' && c != '\t') || c == '\x7F';
}

void add_shown(std::string& text, std::string_view bytes) {
  std::ranges::replace_copy_if(bytes, std::back_inserter(text), is_control, '?');
}

// The part of a line that is shown: where it begins, and its bytes.
std::pair<std::size_t, std::string_view> round_column(std::string_view line, std::size_t at) {
  if (line.size() <= kWidest) return {0, line};
  std::size_t first = std::min(at - std::min(at, kWidest / 2), line.size() - kWidest);
  std::string_view part = line.substr(first, kWidest);
  while (!part.empty() && goes_on(part.front()) && first < at) {
    part.remove_prefix(1);
    ++first;
  }
  return {first, part};
}

}  // namespace

void Diagnostics::error(Place where, std::string_view words) {
  if (full()) return;
  if (++errors_ <= kMostErrors) tell(where, "error", words);
}

void Diagnostics::warn(Place where, std::string_view words) {
  if (full() || warnings_ > kMostErrors) return;
  if (++warnings_ <= kMostErrors) tell(where, "warning", words);
}

// Lines are read before the statements in them are parsed, and those before their expressions: what is found first
// need not stand first.
std::vector<const Diagnostics::Told*> Diagnostics::sorted() const {
  std::vector<const Told*> sorted;
  for (const Told& one : told_) sorted.push_back(&one);
  std::ranges::stable_sort(sorted, [](const Told* a, const Told* b) {
    return std::tie(a->place.file, a->place.line, a->place.column) <
           std::tie(b->place.file, b->place.line, b->place.column);
  });
  return sorted;
}

std::string Diagnostics::text() const {
  std::string all;
  for (const Told* one : sorted()) all += one->text;
  if (errors_ > kMostErrors) all += "more errors\n";
  if (warnings_ > kMostErrors) all += "more warnings\n";
  return all;
}

std::string Diagnostics::first_error() const {
  assert(errors_ > 0);
  const auto all = sorted();
  const Told& first = **std::ranges::find_if(all, [](const Told* t) { return !t->words.empty(); });
  const std::string_view name = files_[first.place.file].name;
  return std::string(base_name(name)) + ":" + std::to_string(first.place.line) + ": " + first.words;
}

void Diagnostics::tell(Place where, std::string_view kind, std::string_view words) {
  std::string text;
  add_shown(text, files_[where.file].name);
  text += ':' + std::to_string(where.line) + ':' + std::to_string(where.column) + ": ";
  text += kind;
  text += ": ";
  add_shown(text, words);
  text += '\n';
  const std::string_view line = files_.line(where.file, where.line);
  const std::size_t at =
      std::min(static_cast<std::size_t>(std::max(where.column, 1)) - 1, line.size());
  const auto [first, part] = round_column(line, at);
  add_shown(text, part);
  text += '\n';
  for (const char c : part.substr(0, at - first))  // as wide as the bytes above it
    if (!goes_on(c)) text += c == '\t' ? '\t' : ' ';
  text += "^\n";
  told_.push_back({where, std::move(text), std::string(kind == "error" ? words : "")});
}

}  // namespace tarnel
