// The floor of a request: a program that writes the same bytes with one write and does nothing else.
#include <unistd.h>

extern const char page[], page_end[];
__asm__(".section .rodata\n"
        ".global page\npage:\n.ascii \"Content-type: text/html\\n\\n\"\n.incbin \"" INDEX_PAGE "\"\n"
        ".global page_end\npage_end:\n.previous\n");

int main(void) { return write(1, page, (size_t)(page_end - page)) < 0; }
