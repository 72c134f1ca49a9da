#include "lib/environment.h"

#include <sys/utsname.h>

#include <cstdlib>
#include <string>

#include "core/errors.h"
#include "core/frame.h"
#include "lib/arguments.h"

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

Var* version(std::int32_t, Var**) {
  return TMP_TEXT(format_text("Tarnel %d.%02d", kRuntimeVersion / 100, kRuntimeVersion % 100));
}

}  // namespace tarnel
