// The parts of a command's line, and plain words for what the system tells.
#pragma once

#include <string>
#include <string_view>

namespace tarnel {

struct TextSet;

constexpr std::string_view kBlanks = " \t", kBlanksAndCommas = " \t,";

// Takes the first word, and what parts it from the next, off a line.
std::string_view take_word(std::string_view& line, std::string_view between = kBlanks);
// The same for the name of a file, which may stand between quotes and begin with "~/".
std::string take_file_name(std::string_view& line);
// The same where nothing follows: without quotes a name may hold blanks.
std::string last_file_name(std::string_view line);
// The name as take_file_name() takes it.
std::string quoted(std::string_view name);
// Takes the first word off when it is this one, whatever the case of its letters.
bool take_if(std::string_view& line, std::string_view word);

// The system's number of a failure in words: "no such file".
std::string system_words(int number);
// The path, without the current directory.
std::string shown_path(std::string_view path);

// An expression in which texts are compared with those of a table. What is no UTF-8 has the table's bytes already.
// False after a complaint.
[[nodiscard]] bool encode_expression(std::string& text, const TextSet& set);

}  // namespace tarnel
