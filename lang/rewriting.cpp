#include "lang/rewriting.h"

#include <algorithm>

#include "core/signals.h"

namespace tarnel {
namespace {

constexpr std::size_t kMostLooks = std::size_t{1} << 22;       // for one statement
constexpr std::size_t kMostOfAllLooks = std::size_t{1} << 30;  // some seconds

}  // namespace

void Rewriting::begin(Place start) {
  start_ = start;
  rules_ = 0;
  bytes_ = looks_ = count_ = 0;
  texts_.clear();
  failed_ = false;
}

bool Rewriting::apply_constant(const SourceToken& use) {
  remember({use.text, {}, 0});
  return use.depth < kMostRewritings ||
         too_much("a constant that is rewritten more than 256 times");
}

bool Rewriting::apply_rule(std::string_view name, std::string_view file, std::int32_t line) {
  remember({name, file, line});
  return ++rules_ <= kMostRewritings ||
         too_much("a statement that is rewritten more than 256 times");
}

bool Rewriting::make(std::size_t bytes) {
  look_at_signals();
  bytes_ += bytes;
  return bytes_ <= kLongestStatement || too_much("a statement that becomes longer than 1 MiB");
}

bool Rewriting::look(std::size_t tokens) {
  looks_ += tokens;
  all_looks_ += tokens;
  if (looks_ > kMostLooks) return too_much("a statement that takes its rules too long");
  return all_looks_ <= kMostOfAllLooks || too_much("a program that takes its rules too long");
}

void Rewriting::fail(Place where, std::string_view words) {
  if (!failed_) diagnostics_.error(where, words);
  failed_ = true;
}

bool Rewriting::too_much(std::string_view words) {
  std::string all(words);
  const std::size_t first = count_ - std::min(count_, kTold);
  for (std::size_t i = first; i < count_; ++i) {
    const Applied& what = applied_[i % kTold];
    all += i == first ? ", at last by " : ", ";
    all += what.name;
    if (!what.file.empty())
      all += " (" + std::string(what.file) + ':' + std::to_string(what.line) + ')';
  }
  fail(start_, all);
  return false;
}

}  // namespace tarnel
