// The alternate, extra and print files: copies of all console output (alternate, extra) and the
// target of printing, each a plain file or a pipe to a command.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

namespace tarnel {

enum class Stream { kAlternate, kExtra, kPrint };

// Opens the stream's file anew after closing the old one; an empty name only closes. A name that
// begins with '|' is a command for the shell that reads the output, '>' and ">>" create and append, anything else
// is a file (created, or appended to with `append`) with ".txt" as its default extension. Error 101
// when it can't be opened; the stream is then closed.
void open_stream(Stream stream, std::string_view name, bool append);
const std::string& stream_name(Stream stream);  // as it was given, "" when closed
bool stream_open(Stream stream);
bool& stream_setting(
    Stream stream);  // SET ALTERNATE, EXTRA or PRINTER; off unless the file is open

// Recomputes where console output is copied to, after a change of SET ALTERNATE, EXTRA or PRINTER.
void route_output();

// Writes to the files that copy console output, not to the page.
void copy_output(std::string_view text);

inline bool print_file_open() {
  return stream_open(Stream::kPrint);
}
void write_print_file(std::string_view text);
// Where the print file goes on: lines, and bytes on the last of them, since it was opened.
struct PrintPlace {
  int row, col;
};
PrintPlace print_place();

// Starts a command of the shell that reads what is written to a pipe: the end to write to, or -1 with errno set.
[[nodiscard]] int open_pipe_to(std::string_view command, pid_t& reader);
// Runs a command of the shell on the descriptors of this process and waits for its end, until a signal asks for
// something. Result: 0, or the system's number when the command could not start or was not waited for. `status` is that
// of its exit, or 128 and the number of the signal that ended it.
[[nodiscard]] int run_command(std::string_view command, int& status);
// Waits for its end, until a signal asks for something.
void wait_for_reader(pid_t reader);

// Closes all three; the end of the run waits for piped commands.
void close_streams();

}  // namespace tarnel
