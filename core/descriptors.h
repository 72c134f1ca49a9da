// Reads and writes of descriptors that others made: pipes, terminals, files. One that doesn't block is
// waited for, and a signal that asks for something is answered before the call goes on.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string_view>

namespace tarnel {

// Opens the null device in the place of each of the descriptors 0 to 2 that is closed, so that no file
// of the run gets its number and is read or written for it.
void open_missing_descriptors();

// Reads up to n bytes: their number, 0 at the end, -1 on an error with errno set. Answers signals, so
// the run may end in it or leave it by a break.
[[nodiscard]] ssize_t read_some(int fd, void* buffer, std::size_t n);
// Writes some bytes: their number, or -1 with errno set, EINTR when a signal waits for its answer.
[[nodiscard]] ssize_t write_some(int fd, std::string_view bytes);
// Finishes a write. False on an error, with errno set. A signal that waits breaks it off.
bool write_fully(int fd, std::string_view bytes);

}  // namespace tarnel
