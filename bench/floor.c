// The floor of a request: a program that writes the same bytes with one write and does nothing else.
// With LIKE_A_REQUEST it also looks its account up, writes the header apart and logs fourteen lines, thirteen of the
// request and one of the error handler: no program that answers such requests can leave that out.
#include <pwd.h>
#include <syslog.h>
#include <unistd.h>

extern const char page[], page_end[];
__asm__(".section .rodata\n"
        ".global page\npage:\n.ascii \"Content-type: text/html\\n\\n\"\n.incbin \"" INDEX_PAGE "\"\n"
        ".global page_end\npage_end:\n.previous\n");

#ifdef LIKE_A_REQUEST
static long write_request(void) {
  const size_t header = 23;
  openlog("floor", LOG_CONS, LOG_LOCAL0);
  for (int i = 0; i < 14; ++i) syslog(LOG_DEBUG, "line %d of the log of a request", i);
  if (getpwuid(getuid()) == NULL) return -1;
  long written = write(1, page, header);
  written += write(1, "\n", 1);
  written += write(1, "\n", 1);
  return written + write(1, page + header + 2, (size_t)(page_end - page) - header - 2);
}
#else
static long write_request(void) { return write(1, page, (size_t)(page_end - page)); }
#endif

int main(void) { return write_request() != page_end - page; }
