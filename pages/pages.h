// The demo pages: the dispatcher, and one procedure a page with the arguments aEnv, aForm and
// oState.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

// The link of a page: "/cgi-bin/example0/example3" for 3.
Var* page_link(std::int32_t page);

#define PAGE_BUILTINS(X)                                           \
  X("example0", example0, "example0(aEnv, aForm): the index page") \
  X("exlink", exlink, "exlink(nPage) -> cLink: address of a page") \
  X("tarnelmain", tarnelmain, "tarnelmain(aEnv, aForm, oState): answers a request by a page")

PAGE_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kPageBuiltins[] = {PAGE_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kPagesModule{.name = "pages", .functions = kPageBuiltins};

}  // namespace tarnel
