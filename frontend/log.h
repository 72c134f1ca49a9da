// The log of a request: lines to syslog under the program's ident.
#pragma once

#include <string>
#include <string_view>

#include "core/modules.h"

namespace tarnel {

// The ident is kept as a pointer.
void open_request_log(const char* ident = "tarnel");
// Has a line logged for each order that lacks changes of its table.
void log_orders();
// One line at debug priority.
[[gnu::format(printf, 1, 2)]] void log_line(const char* format, ...);

// The text with the directives that need no argument carried out: %% and %m. All others stand as
// they are written, so a text of any content is safe to log.
std::string plain_format(std::string_view text);

#define LOG_BUILTINS(X)                                                               \
  X("tnsetlog", tnsetlog,                                                             \
    "tnsetlog([nFacility]): reopens the log as tarnel-cl, facility local0 to local7") \
  X("tnsyslog", tnsyslog, "tnsyslog(nPriority, cText): writes one log line")

LOG_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kLogBuiltins[] = {LOG_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kLogModule{.name = "tnlog", .functions = kLogBuiltins};

}  // namespace tarnel
