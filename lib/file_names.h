// File names: the mapper that makes a name of the language (drive letters, backslashes, upper case)
// fit this system, and the joining of names with directories. Only the two that say so look at a disk.
//
// Names end at a NUL byte. Shell characters have no meaning.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tarnel {

constexpr std::size_t kNameLimit = 4096;      // of a mapped name, its NUL included
constexpr std::size_t kFoundNameLimit = 250;  // of a name passed back to a caller

// A name as this system spells it: blanks trimmed, "X:" replaced by the variable X_OVDRIVE, '\' by
// '/', the extension translated, letter cases and lengths by the options. Warning 901 for a step
// whose result would not be shorter than `limit`; the name then stays as it was before that step.
std::string fileNameMap(std::string_view name, std::size_t limit = kNameLimit);

// The folder of the running program, with a / at its end.
std::string program_folder();

// The extension table of ten pairs. Gives the pair "from.to", or the empty text for an unknown one.
std::string extensionMap(std::string_view from);
// Adds or replaces a pair and gives the old one; the empty text when it was new or all ten are
// taken.
std::string extensionMap(std::string_view from, std::string_view to);
void clear_extensions();
// The name with its extension translated, when the table has a pair for it.
std::string extensionApply(std::string_view name);

// The absolute name without "/./", "//" and "/../". Warning 107 when there is no current directory;
// the name is then as it was.
std::string fullPath(std::string_view name);

// The name without blanks at its ends, with `extension` (".txt") when it has none. False, leaving
// `target` alone, when the result would not be shorter than `limit`.
bool defaultExtension(std::string& target, std::string_view name, std::string_view extension,
                      std::size_t limit);

// The mapped name in a directory; an empty one stands for SET DEFAULT. A name that holds a '/'
// stands alone.
std::string pathJoin(std::string_view directory, std::string_view name);

// The path of a file of the disk whose name has these letters in whatever case: `path` itself when that is there, or
// none is.
std::string in_any_case(const std::string& path);

// Does the name hold a wild card, one of "[*?"?
bool has_wild_card(std::string_view name);
// Names of the disk that match a pattern, sorted; none when there is no match.
std::vector<std::string> expand_wild_card(const std::string& pattern);

}  // namespace tarnel
