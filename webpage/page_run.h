// A request for a page that is a file: the page is chosen and read, gets the environment, the form and the state
// object, and runs.
#pragma once

#include "core/modules.h"
#include "frontend/request.h"

namespace tarnel {

// What closes files at the end of the run: streams, and a header that nothing was written behind.
void end_page_files();

#define PAGE_RUN_BUILTINS(X)           \
  X("cursesinit", cursesinit, nullptr) \
  X("main", page_main, nullptr)        \
  X("programini", programini, nullptr)

Var* page_main(std::int32_t argc, Var** argv);
inline constexpr FunctionEntry kPageRunBuiltins[] = {PAGE_RUN_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kPageRunModule{.name = "tnpage", .functions = kPageRunBuiltins};

}  // namespace tarnel
