// The characters of a text whose set nobody told.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tarnel {

// Reads the characters of a text: UTF-8, or bytes of the customary PC code page where a run of bytes outside
// ASCII is no UTF-8 as a whole, since two neighbours of an old frame often look like a character. One that
// the end of the text cuts spoils only itself. Control characters are the pictures of that page, so a
// result is never one.
class CharacterReader {
 public:
  explicit CharacterReader(std::string_view text) : rest_(text) {}
  bool at_end() const { return rest_.empty(); }
  std::string_view rest() const { return rest_; }
  char32_t next();  // REQUIRES: !at_end()

 private:
  std::string_view rest_;
  std::size_t run_left_ = 0;  // bytes of a run outside ASCII that was looked at
  bool by_page_ = false;      // how they are read
};

// UTF-8 of a text that may be none, in which control characters stay as they are.
std::string assumed_utf8(std::string_view text);

}  // namespace tarnel
