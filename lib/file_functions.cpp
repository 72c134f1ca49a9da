// Names of files: what exists, copying, renaming, deleting, directories.
#include "lib/file_functions.h"

#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

#include "core/arrays.h"
#include "core/errors.h"
#include "core/file_ops.h"
#include "core/stacks.h"
#include "lib/arguments.h"
#include "lib/dates.h"
#include "lib/file_names.h"
#include "lib/files.h"

namespace tarnel {
namespace {

bool is_directory(const std::string& path) {
  struct stat status;
  return file_ops().stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool is_plain_file(const std::string& path) {
  struct stat status;
  return file_ops().stat(path.c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
}

// Files that a name stands for: its matches with wild cards, else the name itself.
std::vector<std::string> files_of(std::string_view name) {
  std::string path = pathJoin("", name);
  if (has_wild_card(path)) return expand_wild_card(path);
  return {std::move(path)};
}

// Where a file goes: into a directory under its own name, else to the name given.
std::string target_of(const std::string& source, const std::string& target) {
  if (!is_directory(target)) return target;
  return target + (target.back() == '/' ? "" : "/") + std::string(base_name(source));
}

// Renames a file. In another file system it is copied beside the target first, so that neither is
// lost when that fails. False with errno set.
bool move_file(const std::string& from, const std::string& to) {
  if (file_ops().rename(from.c_str(), to.c_str()) == 0) return true;
  if (errno != EXDEV) return false;
  const std::string copy = to + format_text(".%d~", static_cast<int>(::getpid()));
  file_ops().unlink(copy.c_str());
  if (!copy_file(from, copy, false)) return false;
  struct stat status;
  const bool moved = file_ops().stat(from.c_str(), &status) == 0 &&
                     file_ops().chmod(copy.c_str(), status.st_mode & 07777) == 0 &&
                     file_ops().rename(copy.c_str(), to.c_str()) == 0;
  const int reason = errno;
  if (!moved) file_ops().unlink(copy.c_str());
  errno = reason;
  return moved && file_ops().unlink(from.c_str()) == 0;
}

// Moves files; several need a directory as their target. Result: 0 or the system's number.
int move_files(const std::vector<std::string>& sources, const std::string& target) {
  if (sources.empty()) return ENOENT;
  if (sources.size() > 1 && !is_directory(target)) return ENOTDIR;
  int failure = 0;
  for (const std::string& source : sources)
    if (!move_file(source, target_of(source, target))) failure = errno;
  return failure;
}

int copy_files(const std::vector<std::string>& sources, const std::string& target, bool append) {
  if (sources.empty()) return ENOENT;
  if (!append && sources.size() > 1 && !is_directory(target)) return ENOTDIR;
  int failure = 0;
  for (const std::string& source : sources)
    if (!copy_file(source, append ? target : target_of(source, target), append)) failure = errno;
  return failure;
}

// --- directory()

struct Entry {
  std::string name;
  struct stat status;
};

std::vector<Entry> read_directory(const std::string& directory, const std::string& pattern,
                                  bool directories, bool hidden) {
  std::vector<Entry> entries;
  DIR* dir = ::opendir(directory.empty() ? "." : directory.c_str());
  if (dir == nullptr) return entries;
  while (const dirent* found = ::readdir(dir)) {
    Entry entry{found->d_name, {}};
    if (entry.name[0] == '.' && !hidden) continue;
    if (fnmatch(pattern.c_str(), found->d_name, 0) != 0) continue;
    if (file_ops().stat((directory + entry.name).c_str(), &entry.status) != 0) continue;
    if (S_ISDIR(entry.status.st_mode) && !directories) continue;
    entries.push_back(std::move(entry));
  }
  ::closedir(dir);
  std::sort(entries.begin(), entries.end(),
            [](const Entry& a, const Entry& b) { return a.name < b.name; });
  return entries;
}

std::string attributes_of(const Entry& entry) {
  std::string letters;
  if (S_ISDIR(entry.status.st_mode)) letters += 'D';
  if (entry.name[0] == '.') letters += 'H';
  if ((entry.status.st_mode & 0222) == 0) letters += 'R';
  return letters;
}

constexpr std::int32_t kDescribed = 5;
// {name, size, date, time, attributes} into a cell of the result.
void describe(Var* cell, const Entry& entry) {
  const std::tm local = local_time(entry.status.st_mtime);
  cscreara(cell, kDescribed, kAllNil);
  SET_STR(element(cell, 1), entry.name);
  SET_NUM(element(cell, 2), static_cast<double>(entry.status.st_size), 0);
  SET_DATE(element(cell, 3), day_of(local));
  SET_STR(element(cell, 4), clock_text(local));
  SET_STR(element(cell, 5), attributes_of(entry));
}

}  // namespace

Var* file(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kText)) return false_value();
  const auto name = text_of(argv[0]);
  struct stat status;
  if (!has_wild_card(name)) return logical(!find_file(name, status).empty());
  const auto matches = files_of(name);
  return logical(std::any_of(matches.begin(), matches.end(), is_plain_file));
}

Var* frename(std::int32_t argc, Var** argv) {
  if (!texts_given(2, argc, argv)) return int_minus_one();
  const std::string target = pathJoin("", text_of(argv[1]));
  const int failure = move_files(files_of(text_of(argv[0])), target);
  if (failure == 0) return int_zero();
  set_dos_error(failure);
  RT_WARNING(105, format_text("RENAME: UNIX returned error %d  ", failure));
  return int_minus_one();
}

Var* ferase(std::int32_t argc, Var** argv) {
  if (!texts_given(1, argc, argv)) return int_minus_one();
  const auto name = text_of(argv[0]);
  if (!has_wild_card(name)) return fileErase(name) ? int_zero() : int_minus_one();
  int failure = 0;
  for (const std::string& path : files_of(name))
    if (file_ops().unlink(path.c_str()) != 0 && errno != ENOENT) failure = errno;
  if (failure == 0) return int_zero();
  set_dos_error(failure);
  RT_WARNING(106, format_text("ERASE: UNIX returned error %d  ", failure));
  return int_minus_one();
}

Var* copyfile(std::int32_t argc, Var** argv) {
  if (!texts_given(2, argc, argv)) return false_value();
  const bool append = arg_is(argc, argv, 2, kNumeric) && truth_of(argv[2]);
  const std::string source{text_of(argv[0])}, target = pathJoin("", text_of(argv[1]));
  const auto sources = files_of(source);
  const int failure = copy_files(sources, target, append);
  if (failure == 0) return true_value();
  set_dos_error(failure);
  const std::string requested = "' (requested '" + source + "') ";
  if (sources.empty() || !is_plain_file(sources[0]))
    RT_WARNING(101, "Open error for '" + (sources.empty() ? source : sources[0]) + requested);
  else
    RT_WARNING(105, "Create error for '" + target + requested);
  return false_value();
}

Var* fattrib(std::int32_t argc, Var** argv) {
  if (!texts_given(1, argc, argv)) return int_minus_one();
  const auto name = text_of(argv[0]);
  const int mode = fileModeOf(name);
  if (mode < 0) return int_minus_one();
  if (arg_is(argc, argv, 1, kNumeric)) {
    const auto wanted = static_cast<mode_t>(integer_of(argv[1]) & 07777);
    if (file_ops().chmod(fileNameMap(name).c_str(), wanted) != 0) set_dos_error(errno);
  }
  return TMP_INT(mode);
}

Var* curdir(std::int32_t argc, Var** argv) {
  const auto drive = text_argument(argc, argv, 0);
  if (drive.size() > 1 && drive[1] == ':')
    if (const std::string mapped = fileNameMap(drive); mapped != drive) return TMP_TEXT(mapped);
  char directory[kNameLimit];
  return ::getcwd(directory, sizeof directory) != nullptr ? TMP_TEXT(directory) : empty_text();
}

Var* setdir(std::int32_t argc, Var** argv) {
  if (!texts_given(1, argc, argv)) return false_value();
  if (::chdir(fileNameMap(text_of(argv[0])).c_str()) == 0) return true_value();
  set_dos_error(errno);
  return false_value();
}

Var* doserror(std::int32_t argc, Var** argv) {
  const int old = dos_error();
  if (arg_is(argc, argv, 0, kNumeric)) set_dos_error(integer_of(argv[0]));
  return TMP_INT(old);
}

namespace {
// What a mask of directory() and adir() stands for; letters D and H ask for directories and hidden files too.
std::vector<Entry> listed(std::string_view name, std::string_view wanted) {
  const bool directories = wanted.find_first_of("Dd") != wanted.npos;
  const bool hidden = wanted.find_first_of("Hh") != wanted.npos;
  std::string mask = pathJoin("", name);
  if (is_directory(mask) && mask.back() != '/') mask += '/';
  const auto split = mask.rfind('/') + 1;
  std::string pattern = mask.substr(split);
  if (pattern.empty() || pattern == "*.*") pattern = "*";  // a name without a point counts too
  return read_directory(mask.substr(0, split), pattern, directories, hidden);
}
}  // namespace

Var* directory(std::int32_t argc, Var** argv) {
  const auto entries = listed(text_argument(argc, argv, 0), text_argument(argc, argv, 1));
  const auto count =
      static_cast<std::int32_t>(std::min(entries.size(), static_cast<std::size_t>(kMaxElements)));
  Var* result = NEW_TEMP();
  cscreara(result, count, kAllNil);
  for (std::int32_t i = 0; i < count; ++i)
    describe(element(result, i + 1), entries[static_cast<std::size_t>(i)]);
  return result;
}

Var* adir(std::int32_t argc, Var** argv) {
  const bool all =
      arg_is(argc, argv, kDescribed, "A");  // who wants attributes wants those that have them
  const auto entries = listed(text_argument(argc, argv, 0), all ? "DH" : "");
  Var* row = NEW_TEMP();
  for (std::size_t i = 0; i < entries.size(); ++i) {
    describe(row, entries[i]);
    for (std::int32_t column = 1; column <= kDescribed; ++column)
      if (arg_is(argc, argv, column, "A") && i < argv[column]->shared->count)
        CPY_VAR(argv[column]->shared->elements[i], element(row, column));
  }
  return TMP_INT(static_cast<std::int32_t>(entries.size()));
}

}  // namespace tarnel
