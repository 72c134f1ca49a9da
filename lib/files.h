// Opening files through the search of SET DEFAULT and SET PATH, and plain operations on handles.
// Descriptors have their owner in core/open_files.h. Failures raise warnings of the file class and
// note the system's number for ferror() and doserror().
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "core/var.h"

namespace tarnel {

// The beginning of a file function: are the first n arguments texts? ferror() then tells 0, else EINVAL.
bool texts_given(std::int32_t n, std::int32_t argc, Var* const* argv);

struct OpenSearch {
  std::string* found_name = nullptr;  // receives the full name of the file tried last
  bool map_file = false;              // look in SCRMAP, TERMINFO and the terminal directory too
  bool report = true;                 // warning 101 when all failed
};
// Opens a name in the DEFAULT directory, as it stands, and then in the directories of SET PATH; a
// name that holds a '/' isn't searched for. Result: the descriptor, or -1.
int fileOpenSearch(std::string_view name, int flags, mode_t mode, const OpenSearch& how = {});

// The name of the first file of the same search that is no directory, with its status; the empty text,
// with errno set, when there is none. Nothing is opened.
std::string find_file(std::string_view name, struct stat& status);

// The same search with fopen, "" of mode as there. Warning 101 and null when nothing opens.
std::FILE* streamOpen(std::string_view name, const char* mode);
void streamClose(std::FILE* stream);

// Creates or empties a file in the DEFAULT directory; the mode is not narrowed by the umask.
// Result: the descriptor, open for reading and writing, or -1 after warning 105.
int fileCreate(std::string_view name, mode_t mode, bool report = true);
// Makes a file of bytes in the DEFAULT directory. The one that was there stays whole until its successor is, and when
// that fails, and gives it its mode and owner. What is no file of our own with one name (a device, a pipe, one with
// several links or of somebody else, one that is open here) or lies in a directory that may not be written to is
// overwritten in its place. False after warning 105 (with `report`), 104 or 102.
[[nodiscard]] bool fileReplace(std::string_view name, std::string_view bytes, bool report);
bool fileClose(int handle);                                      // warning 102
std::int64_t fileRead(int handle, char* buffer, std::size_t n);  // bytes read, -1 on an error
std::int64_t fileWrite(int handle, std::string_view bytes);      // bytes written; 104 when fewer
std::int64_t fileSeek(int handle, std::int64_t offset, int whence);  // new position, -1 on an error
bool fileErase(std::string_view name);                               // warning 106

int fileModeOf(std::string_view name);  // mode bits of the status, -1 after warning 107
mode_t fileDefaultMode();               // 0666 masked by the process's umask

// The bytes that are left to read, at most `limit`; false on an error.
bool read_handle(int handle, std::string& bytes, std::size_t limit);
// Copies a file with its mode bits, or appends to the target, in place. False with errno set; a
// target that was not there before is then not there again.
bool copy_file(const std::string& from, const std::string& to, bool append);

}  // namespace tarnel
