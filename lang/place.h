// Where program text comes from, and texts that remember it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarnel {

// A byte of a source file. Lines and columns count from 1, columns in bytes.
struct Place {
  std::int32_t file = 0;  // in the list of files that were read
  std::int32_t line = 0;
  std::int32_t column = 0;

  bool operator==(const Place&) const = default;
};

// A text put together from pieces of files. What a piece is replaced by stands where the piece stood.
class PlacedText {
 public:
  std::string_view text() const { return text_; }
  bool empty() const { return text_.empty(); }
  // The place of a byte; behind the text that of its end.
  Place place_at(std::size_t offset) const;

  // Does the byte stand for a piece of the source, whose place it has?
  bool replaces(std::size_t offset) const;

  // Where the statement stands whose text this is: a rule's statements all where the rule is used, whatever pieces
  // of other lines they begin with. Run-time errors and the call stack tell its line.
  Place start() const { return start_; }

  void clear();
  // An empty text of a statement.
  void begin(Place where);
  // REQUIRES: the piece has no line feed, but as its last byte.
  void add(std::string_view piece, Place where);
  // Each byte of the piece stands at the same place.
  void add_at(std::string_view piece, Place where);
  // The statement behind what is there, with a line feed behind it.
  void append(const PlacedText& statement);

 private:
  struct Mark {
    std::size_t offset;
    Place place;
    bool fixed;  // by add_at
  };
  const Mark* mark_of(std::size_t offset) const;

  Place start_;
  std::string text_;
  std::vector<Mark> marks_;
};

}  // namespace tarnel
