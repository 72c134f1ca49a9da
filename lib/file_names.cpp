#include "lib/file_names.h"

#include <glob.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "core/errors.h"
#include "core/file_ops.h"
#include "core/settings.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

constexpr std::size_t kExtensionLimit = 7;
constexpr std::size_t kShortBase = 8, kShortExtension = 3;

struct ExtensionPair {
  std::string from, to;
};

struct FileNameState {
  std::array<ExtensionPair, 10> extensions;
} state;

using CaseMap = char (*)(char);

void map_case(std::string& text, std::size_t from, std::size_t to, CaseMap map) {
  for (std::size_t i = from; i < to; ++i) text[i] = map(text[i]);
}

CaseMap case_map(bool lower, bool upper) {
  return lower ? lower_letter : upper ? upper_letter : nullptr;
}

// Where the part behind the last '/' begins.
std::size_t base_start(std::string_view name) {
  return name.rfind('/') + 1;
}

// Where the extension begins, npos when there is none.
std::size_t extension_start(std::string_view name) {
  const auto point = name.rfind('.');
  return point == name.npos || point < base_start(name) || point + 1 == name.size() ? name.npos
                                                                                    : point + 1;
}

bool is_separator(char c) {
  return c == '/' || c == '\\';
}

std::string substitute_drive(std::string name, std::size_t limit) {
  if (name.size() < 2 || name[1] != ':') return name;
  const char letter = upper_letter(name[0]);
  const char* value = std::getenv((letter + std::string("_OVDRIVE")).c_str());
  if (value == nullptr) return name;
  std::string replaced = value;
  const std::string_view rest = std::string_view(name).substr(2);
  if (!rest.empty() && !is_separator(rest[0]) &&
      (replaced.empty() || !is_separator(replaced.back())))
    replaced += '/';
  replaced += rest;
  if (replaced.size() < limit) return replaced;
  RT_WARNING(901, format_text("Drive %c: substitution exceedes %d chars", letter,
                              static_cast<int>(limit)));
  return name;
}

void apply_cases(std::string& name) {
  const Settings& s = settings();
  const std::size_t base = base_start(name);
  if (const CaseMap map = case_map(s.pathlower, s.pathupper)) map_case(name, 0, base, map);
  if (const CaseMap map = case_map(s.lowerfiles, s.upperfiles))
    map_case(name, base, name.size(), map);
}

bool allowed_in_short_name(char c) {
  const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
  return letter || std::string_view("/\\._-!@~#%*?").find(c) != std::string_view::npos;
}

// Eight characters and three; an extension that begins with digits only, a serial number, stands
// whole.
void shorten(std::string& name) {
  name.erase(
      std::remove_if(name.begin(), name.end(), [](char c) { return !allowed_in_short_name(c); }),
      name.end());
  const std::size_t base = base_start(name);
  const std::size_t point = std::min(name.find('.', base), name.size());
  if (point == base) return;
  if (point + 1 < name.size()) {
    const auto extension = std::string_view(name).substr(point + 1);
    const auto shown = extension.substr(0, kShortExtension);
    if (extension.size() > kShortExtension && shown.find_first_not_of("0123456789") != shown.npos)
      name.resize(point + 1 + kShortExtension);
  }
  if (point - base > kShortBase) name.erase(base + kShortBase, point - base - kShortBase);
}

// The key form of an extension.
std::string extension_key(std::string_view from) {
  return lower_text(trim_blanks(from.substr(0, kExtensionLimit)));
}

// The pair of a key, or the first empty one, or null when all are taken.
ExtensionPair* find_pair(const std::string& key) {
  for (ExtensionPair& pair : state.extensions)
    if (pair.from == key || pair.from.empty()) return &pair;
  return nullptr;
}

std::string pair_text(const ExtensionPair* pair) {
  return pair == nullptr || pair->from.empty() ? std::string{} : pair->from + "." + pair->to;
}

std::string_view terminated(std::string_view name) {
  return name.substr(0, name.find('\0'));
}

void replace_all(std::string& text, std::string_view what, std::string_view by) {
  for (auto at = text.find(what); at != text.npos; at = text.find(what, at))
    text.replace(at, what.size(), by);
}

}  // namespace

std::string fileNameMap(std::string_view name, std::size_t limit) {
  std::string mapped = substitute_drive(std::string(trim_blanks(terminated(name))), limit);
  std::replace(mapped.begin(), mapped.end(), '\\', '/');
  if (std::string translated = extensionApply(mapped); translated.size() < limit)
    mapped = std::move(translated);
  else
    RT_WARNING(901, format_text("Mapping of extension exceeds %d chars", static_cast<int>(limit)));
  apply_cases(mapped);
  if (settings().shortname) shorten(mapped);
  return mapped;
}

std::string program_folder() {
  char path[kNameLimit];
  const ssize_t length = ::readlink("/proc/self/exe", path, sizeof path);
  const std::string_view program(path, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
  return std::string(program.substr(0, program.rfind('/') + 1));
}

std::string extensionMap(std::string_view from) {
  const std::string key = extension_key(from);
  return key.empty() ? key : pair_text(find_pair(key));
}

std::string extensionMap(std::string_view from, std::string_view to) {
  const std::string key = extension_key(from);
  ExtensionPair* pair = key.empty() ? nullptr : find_pair(key);
  std::string old = pair_text(pair);
  if (pair != nullptr) *pair = {key, std::string(trim_blanks(to.substr(0, kExtensionLimit)))};
  return old;
}

void clear_extensions() {
  state.extensions = {};
}

std::string extensionApply(std::string_view name) {
  const auto start = extension_start(name);
  if (start == name.npos || state.extensions[0].from.empty()) return std::string(name);
  const ExtensionPair* pair = find_pair(extension_key(name.substr(start)));
  if (pair == nullptr || pair->from.empty() || pair->to.empty()) return std::string(name);
  return std::string(name.substr(0, start)) + pair->to;
}

std::string fullPath(std::string_view name) {
  std::string path{terminated(name)};
  if (path.empty() || path[0] != '/') {
    char directory[kNameLimit];
    if (getcwd(directory, sizeof directory) == nullptr) {
      RT_WARNING(107, "cannot get current directory");
      return path;
    }
    path = std::string(directory) + '/' + path;
  }
  replace_all(path, "//", "/");
  replace_all(path, "/./", "/");
  for (auto at = path.find("/../"); at != path.npos; at = path.find("/../")) {
    const auto parent = at == 0 ? 0 : path.rfind('/', at - 1);
    path.erase(parent, at + 3 - parent);
  }
  return path;
}

bool defaultExtension(std::string& target, std::string_view name, std::string_view extension,
                      std::size_t limit) {
  std::string result{trim_blanks(terminated(name))};
  const auto point = result.rfind('.');
  if (point == result.npos || point < base_start(result)) result += extension;
  if (result.size() >= limit) return false;
  target = std::move(result);
  return true;
}

std::string pathJoin(std::string_view directory, std::string_view name) {
  std::string mapped = fileNameMap(name);
  if (mapped.find('/') != mapped.npos) return mapped;
  if (directory.empty()) return settings().default_dir + mapped;
  std::string path{directory};
  if (path.back() != '/') path += '/';
  return path + mapped;
}

std::string in_any_case(const std::string& path) {
  struct stat status {};
  if (file_ops().stat(path.c_str(), &status) == 0) return path;
  const std::string directory = path.substr(0, path.rfind('/') + 1);
  const std::string_view wanted = std::string_view(path).substr(directory.size());
  std::string found;  // the first of several, by their letters
  std::error_code failed;
  for (std::filesystem::directory_iterator at(directory.empty() ? "." : directory, failed), end;
       !failed && at != end; at.increment(failed))
    if (const std::string name = at->path().filename().string();
        same_letters(name, wanted) && (found.empty() || name < found))
      found = name;
  return found.empty() ? path : directory + found;
}

bool has_wild_card(std::string_view name) {
  return name.find_first_of("[*?") != std::string_view::npos;
}

std::vector<std::string> expand_wild_card(const std::string& pattern) {
  std::vector<std::string> names;
  glob_t found{};
  if (glob(pattern.c_str(), 0, nullptr, &found) == 0)
    names.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
  globfree(&found);
  return names;
}

}  // namespace tarnel
