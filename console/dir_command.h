// The tables of a folder.
#pragma once

#include <string_view>

namespace tarnel {

// [PATTERN]: the tables of the current folder or of another one, or whose names fit the pattern. Nothing is opened for
// longer than a look, and nobody is locked out. The session goes on.
bool list_folder(std::string_view pattern);

}  // namespace tarnel
