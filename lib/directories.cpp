// Directories, drives, and what the system tells of one file.
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>

#include "core/errors.h"
#include "core/file_ops.h"
#include "core/open_files.h"
#include "lib/arguments.h"
#include "lib/dates.h"
#include "lib/file_functions.h"
#include "lib/file_names.h"
#include "lib/files.h"

namespace tarnel {
namespace {

// The result of a call of the system on a directory: 0, or its number, which ferror() tells too.
Var* done_or_number(std::int32_t argc, Var** argv, int (*call)(const char*)) {
  if (!texts_given(1, argc, argv)) return TMP_INT(EINVAL);
  const std::string name = fileNameMap(text_of(argv[0]));
  if (call(name.c_str()) != 0) set_dos_error(errno);
  return TMP_INT(dos_error());
}

// The directory that stands for the drive whose letter a text begins with; empty when there is none.
std::string drive_directory(std::string_view drive) {
  if (drive.empty()) return {};
  const std::string name{drive[0], ':'};
  std::string directory = fileNameMap(name);
  return directory != name ? directory : std::string{};
}

// Status of the file that file() finds; false, with the reason noted, when there is none.
bool status_of(std::int32_t argc, Var** argv, struct stat& status) {
  if (!texts_given(1, argc, argv)) return false;
  if (!find_file(text_of(argv[0]), status).empty()) return true;
  set_dos_error(errno);
  return false;
}

// Eight letters and digits of small names; empty when there is no chance to be had.
std::string random_name() {
  constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz234567";
  unsigned char bytes[8];
  if (::getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes)) return {};
  std::string name;
  for (const unsigned char byte : bytes) name += kLetters[byte % kLetters.size()];
  return name;
}

}  // namespace

Var* makedir(std::int32_t argc, Var** argv) {
  return done_or_number(argc, argv, [](const char* name) { return ::mkdir(name, 0777); });
}
Var* dirchange(std::int32_t argc, Var** argv) {
  return done_or_number(argc, argv, ::chdir);
}
Var* dirremove(std::int32_t argc, Var** argv) {
  return done_or_number(argc, argv, ::rmdir);
}

Var* isdisk(std::int32_t argc, Var** argv) {
  const std::string directory = drive_directory(text_argument(argc, argv, 0));
  struct stat status;
  return logical(!directory.empty() && file_ops().stat(directory.c_str(), &status) == 0 &&
                 S_ISDIR(status.st_mode));
}

Var* curdrive(std::int32_t argc, Var** argv) {
  char here[PATH_MAX];
  std::string found;
  std::size_t longest = 0;
  if (::getcwd(here, sizeof here) == nullptr) here[0] = 0;
  const std::string inside = std::string(here) + '/';
  for (char letter = 'A'; letter <= 'Z'; ++letter) {
    std::string directory = drive_directory({&letter, 1});
    if (directory.empty()) continue;
    if (directory.back() != '/') directory += '/';
    if (!inside.starts_with(directory) || directory.size() <= longest) continue;
    longest = directory.size();
    found = letter;
  }
  if (arg_is(argc, argv, 0, kText)) {
    const std::string wanted = drive_directory(text_of(argv[0]));
    set_dos_error(wanted.empty() ? ENODEV : ::chdir(wanted.c_str()) == 0 ? 0 : errno);
  }
  return TMP_TEXT(found);
}

Var* filesize(std::int32_t argc, Var** argv) {
  struct stat status;
  if (!status_of(argc, argv, status)) return int_minus_one();
  return status.st_size <= INT32_MAX ? TMP_INT(static_cast<std::int32_t>(status.st_size))
                                     : TMP_NUM(static_cast<double>(status.st_size), 0);
}

Var* filedate(std::int32_t argc, Var** argv) {
  struct stat status;
  return status_of(argc, argv, status) ? TMP_DATE(day_of(local_time(status.st_mtime)))
                                       : empty_date();
}

Var* filetime(std::int32_t argc, Var** argv) {
  struct stat status;
  if (!status_of(argc, argv, status)) return empty_text();
  return TMP_TEXT(clock_text(local_time(status.st_mtime)));
}

Var* tempfile(std::int32_t argc, Var** argv) {
  constexpr int kTries = 100;
  std::string extension{text_argument(argc, argv, 1)};
  const bool usable = extension.find('/') == extension.npos;
  set_dos_error(usable ? 0 : EINVAL);
  if (!usable) return empty_text();
  if (!extension.empty() && extension[0] != '.') extension.insert(0, 1, '.');
  for (int n = 0; n < kTries; ++n) {
    const std::string name = random_name();
    if (name.empty()) break;
    const std::string path = pathJoin(text_argument(argc, argv, 0), name + extension);
    const File made(path.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    if (made.opened()) return TMP_TEXT(path);
    if (errno != EEXIST) break;
  }
  set_dos_error(errno);
  return empty_text();
}

}  // namespace tarnel
