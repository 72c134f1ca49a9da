// Lines to the log of the machine.
#pragma once

#include <cstdarg>
#include <string_view>

namespace tarnel {

// Says what stands before each line and to which facility it goes, as openlog() does: `options` are of LOG_PID
// and LOG_CONS. The ident is kept as a pointer. Until then it is the program's name, for LOG_USER.
void open_system_log(const char* ident, int options, int facility);

// Sends a line. Control bytes in it show as \xNN, and what exceeds 32 KiB is cut. The first line that finds
// nobody goes to the machine's console if LOG_CONS says so, and the run logs no more: a console is slow enough
// for a request of many fields to take seconds. errno stays.
void write_system_log(int priority, std::string_view text);
// The same of at most 4 KiB; formats know %m.
[[gnu::format(printf, 2, 3)]] void log_system(int priority, const char* format, ...);
[[gnu::format(printf, 2, 0)]] void log_arguments(int priority, const char* format, va_list args);

// Has lines go to a function instead; null: to the log. The text is as it was given.
void set_system_log_writer(void (*writer)(int priority, std::string_view text));

// Where the log listens, "/dev/log". Tests listen elsewhere.
const char*& system_log_socket();

}  // namespace tarnel
