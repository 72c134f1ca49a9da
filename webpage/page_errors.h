// What becomes of a page that fails. The log gets everything; the page, which strangers read, the place and the plain
// words of the error, and more only where `show_errors` says so.
#pragma once

#include <string>
#include <string_view>

#include "core/modules.h"
#include "lang/diagnostics.h"

namespace tarnel {

// May pages show the whole of an error?
void show_errors_in_pages(bool may);

// What is wrong with a page that can't be run: an answer with status 500, or the end of the page.
void tell_faults(const Diagnostics& diagnostics);
// The same for other reasons. `words` go into the page as strangers may see them, `report`, of lines, with show_errors.
void tell_failure(std::string_view words, std::string_view report);

// The same for a fatal error, that of an error block for instance that fails itself.
[[noreturn]] void tell_fatal(std::string_view report);

// The page ends here: an error that no handler hears of.
[[noreturn]] void end_page(std::string_view words);

// A text whose paths are cut to the names of the files, without what it quotes of a source.
std::string for_strangers(std::string_view text);

#define PAGE_ERROR_BUILTINS(X)                                                      \
  X("errhand", page_failed, "errhand(oError): tells of an error and ends the page") \
  X("errorsys", page_errorsys, "errorsys() -> bOld: sets errhand as the error block")

PAGE_ERROR_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kPageErrorBuiltins[] = {PAGE_ERROR_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kPageErrorsModule{.name = "pageerr", .functions = kPageErrorBuiltins};

}  // namespace tarnel
