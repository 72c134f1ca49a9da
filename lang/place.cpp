#include "lang/place.h"

#include <algorithm>

namespace tarnel {

Place PlacedText::place_at(std::size_t offset) const {
  const auto behind =
      std::ranges::upper_bound(marks_, std::min(offset, text_.size()), {}, &Mark::offset);
  if (behind == marks_.begin()) return {};
  const Mark& mark = *(behind - 1);
  Place place = mark.place;
  if (!mark.fixed)
    place.column += static_cast<std::int32_t>(std::min(offset, text_.size()) - mark.offset);
  return place;
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
