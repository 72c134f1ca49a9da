// Siblings of the toolkit's writers that escape what they are given, for pages with texts of other people.
#pragma once

#include <string>
#include <string_view>

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

// A text as it stands in HTML.
std::string html_escaped(std::string_view text);

#define ESCAPED_TOOLKIT_BUILTINS(X)                                                                \
  X("tnelink", tnelink,                                                                            \
    "tnelink(cUrl, xText): writes a link; an address of another kind than http, https, mailto or " \
    "one of this site becomes #")                                                                  \
  X("tnelist", tnelist, "tnelist(aItems, [lNumbered]): writes a list")                             \
  X("tnefield", tnefield, "tnefield(cName, [xValue], [nSize]): writes a field of a form")          \
  X("tneoption", tneoption, "tneoption(xValue, [xText], [lSelected]): writes an option of a form") \
  X("tnesc", tnesc, "tnesc(xText): writes a text as it is")                                        \
  X("tnetable", tnetable, "tnetable(aRows, [cCaption]): writes a table")

ESCAPED_TOOLKIT_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kEscapedToolkitBuiltins[] = {ESCAPED_TOOLKIT_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kEscapedToolkitModule{.name = "tnefunc",
                                                    .functions = kEscapedToolkitBuiltins};

}  // namespace tarnel
