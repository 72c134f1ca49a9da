#include "console/words.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "console/complaints.h"
#include "core/text.h"
#include "db/text_set.h"
#include "lib/utf8.h"

namespace tarnel {

namespace {

// The path behind "~/" is the user's.
std::string at_home(std::string_view path) {
  const char* home = std::getenv("HOME");
  return path.starts_with("~/") && home != nullptr ? home + std::string(path.substr(1))
                                                   : std::string(path);
}

}  // namespace

std::string_view take_word(std::string_view& line, std::string_view between) {
  const std::size_t end = std::min(line.find_first_of(between), line.size());
  const std::string_view word = line.substr(0, end);
  line.remove_prefix(end);
  line.remove_prefix(std::min(line.find_first_not_of(between), line.size()));
  return word;
}

std::string take_file_name(std::string_view& line) {
  const char quote = line.empty() ? '\0' : line.front();
  const std::size_t end = quote == '"' || quote == '\'' ? line.find(quote, 1) : line.npos;
  if (end != line.npos) {
    const std::string name(line.substr(1, end - 1));
    line.remove_prefix(end + 1);
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    return name;
  }
  return at_home(take_word(line));
}

std::string last_file_name(std::string_view line) {
  std::string_view rest = line;
  const std::string name = take_file_name(rest);
  return rest.empty() ? name : at_home(line);
}

std::string quoted(std::string_view name) {
  if (name.find_first_of(kBlanks) == name.npos) return std::string(name);
  const char quote = name.find('"') == name.npos ? '"' : '\'';
  return quote + std::string(name) + quote;
}

bool take_if(std::string_view& line, std::string_view word) {
  std::string_view rest = line;
  if (!same_letters(take_word(rest), word)) return false;
  line = rest;
  return true;
}

std::string system_words(int number) {
  if (number == ENOENT) return "no such file";
  if (number == EBUSY) return "in use";
  std::string words = std::strerror(number);
  if (words.size() > 1 && lower_letter(words[1]) == words[1]) words[0] = lower_letter(words[0]);
  return words;
}

std::string shown_path(std::string_view path) {
  std::error_code failed;
  const std::string here = std::filesystem::current_path(failed).string() + "/";
  return std::string(path.starts_with(here) ? path.substr(here.size()) : path);
}

bool encode_expression(std::string& text, const TextSet& set) {
  if (is_ascii(text) || !is_utf8(text)) return true;
  const Unconverted lost = encode(text, set, Carried::kNone);
  if (lost) complain("the expression holds " + words_of(lost, set.page));
  return !lost;
}

}  // namespace tarnel
