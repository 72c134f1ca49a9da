#include "lib/environment.h"

#include <sys/statvfs.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <string>

#include "core/errors.h"
#include "core/frame.h"
#include "core/runtime.h"
#include "core/settings.h"
#include "lib/arguments.h"
#include "lib/file_names.h"
#include "lib/streams.h"

namespace tarnel {

Var* builtin_getenv(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kText)) return empty_text();
  const char* value = std::getenv(std::string(text_of(argv[0])).c_str());
  return TMP_TEXT(value != nullptr ? value : text_argument(argc, argv, 1, ""));
}

Var* os(std::int32_t, Var**) {
  utsname name{};
  return uname(&name) == 0 ? TMP_TEXT(std::string(name.sysname) + ' ' + name.release)
                           : empty_text();
}

Var* netname(std::int32_t, Var**) {
  utsname name{};
  return uname(&name) == 0 ? TMP_TEXT(name.nodename) : empty_text();
}

Var* memory(std::int32_t, Var**) {
  const double pages = static_cast<double>(sysconf(_SC_AVPHYS_PAGES));
  const double kib = std::max(pages, 0.0) * (static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024);
  return TMP_NUM(std::floor(kib), 0);
}

Var* diskspace(std::int32_t argc, Var** argv) {
  std::string directory = ".";
  set_dos_error(0);
  if (arg_is(argc, argv, 0, kText) && !text_of(argv[0]).empty())
    directory = fileNameMap(text_of(argv[0]));
  else if (const std::int32_t drive = int_argument(argc, argv, 0, 0); drive >= 1 && drive <= 26)
    directory = fileNameMap(std::string{static_cast<char>('A' + drive - 1), ':'});
  struct statvfs status {};
  if (::statvfs(directory.c_str(), &status) == 0)
    return TMP_NUM(static_cast<double>(status.f_bavail) * static_cast<double>(status.f_frsize), 0);
  set_dos_error(errno);
  return num_zero();
}

Var* errorlevel(std::int32_t argc, Var** argv) {
  const int old = exit_status();
  const std::int32_t status = int_argument(argc, argv, 0, -1);
  if (status >= 0 && status <= 255) set_exit_status(status);
  return TMP_INT(old);
}

Var* run(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kText)) {
    RT_ERROR(312, "in RUN()");
    return int_minus_one();
  }
  if (text_of(argv[0]).find('\0') != std::string_view::npos) {
    RT_ERROR(320, "RUN: a command has no NUL byte");
    return int_minus_one();
  }
  if (!settings().commands) {
    RT_REFUSED("RUN: this program starts no others");
    return int_minus_one();
  }
  int status = 0;
  const int failure = run_command(text_of(argv[0]), status);
  set_dos_error(failure);
  return failure == 0 ? TMP_INT(status) : int_minus_one();
}

Var* version(std::int32_t, Var**) {
  return TMP_TEXT(format_text("Tarnel %d.%02d", kRuntimeVersion / 100, kRuntimeVersion % 100));
}

}  // namespace tarnel
