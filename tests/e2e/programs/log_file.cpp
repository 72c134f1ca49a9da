// Lines that the program under test logs go to a file: whoever has the machine's log, a test reads its own.
// Linked with --wrap for the names below.
#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>

extern "C" {

void __wrap_vsyslog(int priority, const char* format, va_list args) {
  if (LOG_PRI(priority) > LOG_WARNING) return;
  const int fd = open(PAGES_LOG, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  if (fd < 0) return;
  vdprintf(fd, format, args);
  dprintf(fd, "\n");
  close(fd);
}
void __wrap_syslog(int priority, const char* format, ...) {
  va_list args;
  va_start(args, format);
  __wrap_vsyslog(priority, format, args);
  va_end(args);
}
// The same under the names that checked calls have.
void __wrap___vsyslog_chk(int priority, int, const char* format, va_list args) {
  __wrap_vsyslog(priority, format, args);
}
void __wrap___syslog_chk(int priority, int, const char* format, ...) {
  va_list args;
  va_start(args, format);
  __wrap_vsyslog(priority, format, args);
  va_end(args);
}
}
