#include "frontend/log.h"

#include <syslog.h>

#include <cerrno>
#include <cstring>

#include "core/system_log.h"
#include "db/order_notice.h"
#include "lib/extend.h"

namespace tarnel {

void open_request_log(const char* ident) {
  open_system_log(ident, LOG_CONS, LOG_LOCAL0);
}

void log_line(const char* format, ...) {
  va_list args;
  va_start(args, format);
  log_arguments(LOG_DEBUG, format, args);
  va_end(args);
}

void log_orders() {
  order_notice() = [](const std::string& order, const std::string& table) {
    log_system(LOG_WARNING, "the order %s lacks changes of its table %s", order.c_str(),
               table.c_str());
  };
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
  const ExtendCall call(argc, argv);
  std::int32_t facility = is_parameter(1, kParNumeric) ? PAR_INT(1) : 0;
  if (facility < 0 || facility > 7) facility = 0;
  open_system_log("tarnel-cl", LOG_PID | LOG_CONS, LOG_LOCAL0 + 8 * facility);
  return RET_NIL();
}

Var* tnsyslog(std::int32_t argc, Var** argv) {
  const ExtendCall call(argc, argv);
  if (!is_parameter(1, kParNumeric) || !is_parameter(2, kParCharacter)) {
    write_system_log(LOG_EMERG, "invalid args to tnsyslog()");
    return RET_LOG(false);
  }
  const std::string_view text(PAR_TEXT(2), static_cast<std::size_t>(PAR_LEN(2)));
  write_system_log(PAR_INT(1), plain_format(text));
  return RET_NIL();
}

}  // namespace tarnel
