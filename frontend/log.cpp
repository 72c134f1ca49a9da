#include "frontend/log.h"

#include <syslog.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>

namespace tarnel {

void open_request_log() {
  openlog("tarnel", LOG_CONS, LOG_LOCAL0);
}

void log_line(const char* format, ...) {
  va_list args;
  va_start(args, format);
  vsyslog(LOG_DEBUG, format, args);
  va_end(args);
}

std::string plain_format(std::string_view text) {
  const int error = errno;
  std::string plain;
  plain.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char next = text[i] == '%' && i + 1 < text.size() ? text[i + 1] : '\0';
    if (next == '%')
      plain += '%';
    else if (next == 'm')
      plain += std::strerror(error);
    else {
      plain += text[i];
      continue;
    }
    ++i;
  }
  return plain;
}

Var* tnsetlog(std::int32_t argc, Var** argv) {
  std::int32_t facility = arg_is(argc, argv, 0, "INF") ? integer_of(argv[0]) : 0;
  if (facility < 0 || facility > 7) facility = 0;
  openlog("tarnel-cl", LOG_PID | LOG_CONS, LOG_LOCAL0 + 8 * facility);
  return nil_value();
}

Var* tnsyslog(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, "INF") || !arg_is(argc, argv, 1, "CM")) {
    syslog(LOG_EMERG, "invalid args to tnsyslog()");
    return false_value();
  }
  syslog(integer_of(argv[0]), "%s", plain_format(text_of(argv[1])).c_str());
  return nil_value();
}

}  // namespace tarnel
