// What targets over the files of tables share: the engine in a folder of its own, where errors let the run go on.
#pragma once

#include <algorithm>
#include <array>
#include <initializer_list>

#include "core/blocks.h"
#include "core/checks.h"
#include "core/core_modules.h"
#include "core/error_object.h"
#include "core/stacks.h"
#include "db/db.h"
#include "db/db_modules.h"
#include "lib/lib_modules.h"
#include "macro/macro.h"
#include "tests/support/files.h"

namespace tarnel {

inline Var* call(const char* function, std::initializer_list<Var*> arguments = {}) {
  std::array<Var*, 8> argv{};
  std::copy(arguments.begin(), arguments.end(), argv.begin());
  return GET_FUNC(function)(static_cast<std::int32_t>(arguments.size()), argv.data());
}

inline void start_in_folder() {
  static constexpr auto kModules = join_modules(kDbModules, kLibModules, kCoreModules);
  static constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);
  damaged_orders = true;
  init_macro();
  start_library({kFunctions.table(), kModules});
  init_db();
  static const testing::CurrentFolder folder;
  call("errorblock", {TMP_BLOCK([](std::int32_t, Var**, Var**) { return nil_value(); })});
}

}  // namespace tarnel
