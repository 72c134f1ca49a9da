// Standard output of the program: gathered in one buffer, so that a page costs one write. The order
// of bytes is that of the program.
#pragma once

#include <string>
#include <string_view>

#include "core/descriptors.h"

namespace tarnel {

// Appends to the page; what exceeds 64 KiB is written out.
void write_output(std::string_view text);
// Writes out what is gathered; to be called before anything that may not return. The first write that
// fails raises error 104; from then on output is dropped.
void flush_output();
// The same without a raise, for the roads on which none is answered. False when it failed or a signal
// broke it off.
[[nodiscard]] bool write_gathered();
// Writes text to descriptor 1 around the buffer, which is flushed first.
void write_direct(std::string_view text);
void write_direct_line(std::string_view text);  // the text, then one line feed by a second write

// Called once, before the first byte goes to descriptor 1: what it writes stands in front of all else. Null: nothing.
void set_output_beginning(void (*begin)());
// Has it called now, if it wasn't yet; for those who write to descriptor 1 themselves.
void begin_output();

// Where output goes instead of descriptor 1; null: nowhere else. What is gathered should be written first.
void set_output_device(void (*device)(std::string_view text));

// What text becomes on its way to descriptor 1, for one that can't take every byte; null: what it is.
void set_output_filter(std::string (*filter)(std::string_view text));

// Descriptor 1 leads elsewhere from now on: whether writes fail shows anew. What is gathered should be written first.
// Writes to a pipe whose reader has gone are no error when `reader_may_go`.
void renew_output(bool reader_may_go);
// Has no write failed so far?
bool output_works();

// Appends to the page alone: no copy for the second receiver.
void write_standard(std::string_view text);
// The same for a line feed, if the last line lacks it.
void end_last_line();
// Writes to standard error, behind what stands before it on standard output.
void write_error(std::string_view text);
// What writes to standard error in place of descriptor 2; null: nothing.
void set_error_writer(void (*writer)(std::string_view text));

// A second receiver of all output (alternate and print files); null: none.
void set_output_tee(void (*tee)(std::string_view text));

}  // namespace tarnel
