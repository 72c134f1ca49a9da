// A text that the user edits on one row of the screen.
#pragma once

#include <cstddef>
#include <string>

#include "term/screen.h"

namespace tarnel {

struct LineField {
  ScreenPlace place;
  int width;          // columns; a longer text scrolls in them
  std::size_t limit;  // bytes of the text
  Colour colour;
  std::string text;
  // May a byte be typed into the field? Null: any.
  bool (*takes)(unsigned char byte) = nullptr;
};

// Lets the user edit the text until a key that isn't for editing, which is the result: Enter, Esc, a move
// to another row and the like. REQUIRES: screen_open().
int edit_field(LineField& field);

}  // namespace tarnel
