#include "db/dbfidx/check/findings.h"

#include <algorithm>

#include "core/text.h"

namespace tarnel {
namespace {

#define FAULT_WORDS(name, words) words,
constexpr std::string_view kWords[] = {CHECK_FAULTS(FAULT_WORDS)};
#undef FAULT_WORDS
static_assert(std::size(kWords) == static_cast<std::size_t>(Fault::kCount));

// Bytes of a damaged file must not reach a terminal.
std::string shown(std::string_view bytes) {
  std::string text(bytes);
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '.');
  return text;
}

}  // namespace

std::string_view fault_words(Fault fault) {
  return kWords[static_cast<std::size_t>(fault)];
}

void Findings::begin_file(std::string_view path) {
  for (std::size_t i = 0; i < in_file_.size(); ++i)
    if (in_file_[i] > kMostLines)
      tell_(file_ + ": and " + std::to_string(in_file_[i] - kMostLines) +
            " more: " + std::string(kWords[i]));
  in_file_ = {};
  file_ = base_name(path);
}

void Findings::add(Fault fault, std::string_view place, std::string_view detail) {
  ++count_;
  if (++in_file_[static_cast<std::size_t>(fault)] > kMostLines) return;
  std::string line = file_ + ": ";
  if (!place.empty()) line.append(shown(place)) += ": ";
  line += fault_words(fault);
  if (!detail.empty()) line.append(": ") += shown(detail);
  tell_(line);
}

void Findings::note(std::string_view text) {
  tell_(file_ + ": note: " + shown(text));
}

}  // namespace tarnel
