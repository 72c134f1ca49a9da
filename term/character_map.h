// Maps of bytes, one for keys and one for what the screen shows, and the files that hold them.
//
// A map file has an entry for each kind of terminal; numbers are decimal:
//   # a comment
//   :xterm|xterm-256color|      the terminals of an entry; the list goes on behind a '|' at the end of the line
//   linux                       text behind a list or a mapping is a comment
//    132:228                    from:to, behind a blank or tab
//    65-90:0*+32                from-last:to*operation number: '&' and, '|' or, '+' add, '-' subtract
//    97-122:*                   nothing behind the '*': the byte itself
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/modules.h"

namespace tarnel {

using ByteMap = std::array<unsigned char, 256>;
ByteMap identity_map();

// Reads the entry of a terminal. `line` receives the number of the line that the read ended in.
enum class MapRead { kDone, kNoEntry, kWrongLine };
MapRead parse_map(std::string_view text, std::string_view terminal, ByteMap& map, int& line);

// The byte, or a text's bytes, through the map that is active; `mapped` holds the result where it differs.
int through_key_map(int byte);
std::string_view through_screen_map(std::string_view text, std::string& mapped);

// Reads the usual files for the terminal in force, as far as nothing was read or chosen before: a program
// that never asks for a map doesn't look for the files.
void load_usual_maps();
// Reads the maps in force again, for another terminal.
void reload_maps();

#define MAP_BUILTINS(X)                                                                          \
  X("scrinmap", scrinmap, "scrinmap([cFile], [cTerminal]) -> lActive: the map of keys",          \
    "scrinmap() ==> .F.")                                                                        \
  X("scroutmap", scroutmap, "scroutmap([cFile], [cTerminal]) -> lActive: the map of the screen", \
    "scroutmap() ==> .F.")

MAP_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kMapBuiltins[] = {MAP_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kMapsModule{
    .name = "tekeymap", .subject = "Screen and keys", .functions = kMapBuiltins};

}  // namespace tarnel
