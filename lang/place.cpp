#include "lang/place.h"

#include <algorithm>

namespace tarnel {

// The one that a byte belongs to, or null.
const PlacedText::Mark* PlacedText::mark_of(std::size_t offset) const {
  const auto behind = std::ranges::upper_bound(marks_, offset, {}, &Mark::offset);
  return behind == marks_.begin() ? nullptr : &*(behind - 1);
}

Place PlacedText::place_at(std::size_t offset) const {
  offset = std::min(offset, text_.size());
  const Mark* const mark = mark_of(offset);
  if (mark == nullptr) return {};
  Place place = mark->place;
  if (!mark->fixed) place.column += static_cast<std::int32_t>(offset - mark->offset);
  return place;
}

bool PlacedText::replaces(std::size_t offset) const {
  const Mark* const mark = mark_of(offset);
  return mark != nullptr && mark->fixed;
}

void PlacedText::clear() {
  text_.clear();
  marks_.clear();
}

void PlacedText::begin(Place where) {
  clear();
  start_ = where;
}

void PlacedText::add(std::string_view piece, Place where) {
  marks_.push_back({text_.size(), where, false});
  text_ += piece;
}

void PlacedText::append(const PlacedText& statement) {
  const std::size_t offset = text_.size();
  for (Mark mark : statement.marks_) {
    mark.offset += offset;
    marks_.push_back(mark);
  }
  text_ += statement.text_;
  marks_.push_back({text_.size(), statement.place_at(statement.text_.size()), true});
  text_ += '\n';
}

void PlacedText::add_at(std::string_view piece, Place where) {
  if (marks_.empty() || !marks_.back().fixed || marks_.back().place != where)
    marks_.push_back({text_.size(), where, true});
  text_ += piece;
}

}  // namespace tarnel
