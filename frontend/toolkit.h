// The vocabulary with which pages write HTML. The texts go out as they are: nothing is escaped.
#pragma once

#include <string_view>

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

// The `?` statement of the pages: the value's default text, then one line feed.
void write_line(Var* value);
void write_line(std::string_view text);

#define TOOLKIT_BUILTINS(X)                                                                     \
  X("fastcgi", fastcgi, "fastcgi() -> lPersistent: always false, each request has its process") \
  X("tnbody", tnbody, "tnbody(): writes <BODY>")                                                \
  X("tnbodyend", tnbodyend, "tnbodyend(): writes </BODY>")                                      \
  X("tnem", tnem, "tnem(cText): writes a text with emphasis")                                   \
  X("tnhrule", tnhrule, "tnhrule(): writes a horizontal rule")                                  \
  X("tnhtml", tnhtml, "tnhtml([cTitle]): begins a page")                                        \
  X("tnhtmlend", tnhtmlend, "tnhtmlend(): ends a page")                                         \
  X("tnimage", tnimage, "tnimage(cSource, [cAlt]): writes an image")                            \
  X("tnline", tnline, "tnline([cText]): writes a text and a line break")                        \
  X("tnlink", tnlink, "tnlink(cUrl, cText): writes a link")                                     \
  X("tnlist", tnlist, "tnlist(aItems, [lNumbered]): writes a list")                             \
  X("tnlookup", tnlookup, "tnlookup(aPairs, cKey) -> cValue: value of a name in aEnv or aForm") \
  X("tntable", tntable, "tntable(aRows, [cCaption]): writes a table")

TOOLKIT_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kToolkitBuiltins[] = {TOOLKIT_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kToolkitModule{.name = "tnfunc", .functions = kToolkitBuiltins};

}  // namespace tarnel
