// The text file that describes a language.
//
//   # comment; empty lines are skipped too
//   !! SECTION          ALPHABET, DAYNAMES, MONTHNAMES, SCOREBOARD, DIR or LOGICAL
//   ...                 lines of the section
//
// ALPHABET has one line for each character, in collating order, of four tokens: the character, its
// upper case, its lower case, its class letters. A character is what follows a quote, or its number
// (decimal, octal with a leading 0, hexadecimal with 0x). In the other sections a line is a text as
// it stands. All texts of a file together have 512 bytes with their terminators.
#pragma once

#include <string>
#include <string_view>

#include "lib/national.h"

namespace tarnel {

// Fills the record from the bytes of a file and sets `loaded`. A load that stops raises error 320,
// keeps what it had written and leaves `loaded` false.
bool parse_language(std::string_view bytes, Language& record);

// Reads a file, found by the search of the file layer, into record 1 to 10. The current language stays as
// it was when the load stops. Errors 323, 320.
bool load_language(int number, std::string_view file);

}  // namespace tarnel
