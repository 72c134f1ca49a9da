// Standard output of the program: gathered in one buffer, so that a page costs one write. The order
// of bytes is that of the program.
#pragma once

#include <string_view>

namespace tarnel {

// Appends to the page; what exceeds 64 KiB is written out.
void write_output(std::string_view text);
// Writes out what is gathered; to be called before anything that may not return.
void flush_output();
// Writes text to descriptor 1 around the buffer, which is flushed first. Failures are ignored: a
// client that went away is nothing a page can act on.
void write_direct(std::string_view text);
void write_direct_line(std::string_view text);  // the text, then one line feed by a second write

// Finishes a write to any descriptor: retries on EINTR, continues short writes. False on an error,
// with errno set.
bool write_fully(int fd, std::string_view bytes);

// A second receiver of all output (alternate and print files); null: none.
void set_output_tee(void (*tee)(std::string_view text));

}  // namespace tarnel
