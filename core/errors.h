// The four raise calls and the table of codes. A raise builds an error object and evaluates the
// error block; where that returns, the failing operation goes on with the constant it names.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/source_line.h"
#include "core/switched.h"
#include "core/var.h"

namespace tarnel {

enum Severity : std::int32_t { kWarning = 1, kRunTime = 2, kFatal = 4, kInternal = 8 };

// Raise an error of the given code; `text` may hold any bytes. Result: the error value.
Var* RT_ERROR(int code, std::string_view text);
Var* RT_WARNING(int code, std::string_view text);
// Carries the source position of the caller: a fault of the program or damaged data, not of input.
Var* RT_INTERNAL(int code, std::string_view text, SourceLine where = SourceLine::current());
// Raises 321, which by its level is kept to itself, so that it is told: a program that may not be started.
Var* RT_REFUSED(std::string_view text);
// Ends the run through the exit road.
[[noreturn]] void RT_FATAL(int code, std::string_view text);

// printf into a text. The format is a literal of ours, never a text of a user's.
[[gnu::format(printf, 1, 2)]] std::string format_text(const char* format, ...);

// Standard text and level of a code; codes outside 0 to 998 have the default entry.
struct ErrorEntry {
  int code;
  const char* text;
  int level;
};
const ErrorEntry& error_entry(int code);

// Entries whose level is below the threshold are silent. 700 with the developer option on, 800 off.
int error_threshold();
void set_error_threshold(int threshold);

int last_error();  // code of the last raise, 0 none
void set_last_error(int code);

int dos_error();  // what ferror() and doserror() tell: the system's number of the last file failure
void set_dos_error(int number);

// Raises and lowers the guard against errors inside error handling. At the fifth error in progress
// the fatal report is printed and the run ends; at the sixth it exits at once.
class ErrorGuard {
 public:
  ErrorGuard();
  ~ErrorGuard();
  ErrorGuard(const ErrorGuard&) = delete;
  ErrorGuard& operator=(const ErrorGuard&) = delete;
};
int errors_in_progress();

// Set when the error objects are live: receives code, severity, text, subcode and subsystem (""
// none).
struct RaisedError {
  int code;
  Severity severity;
  std::string_view text;
  std::int32_t subcode;
  std::string_view subsystem;
  bool always = false;  // told whatever the level of its code
};
void set_error_caller(void (*caller)(const RaisedError&));

// While it lives, raises only record their code; type() evaluates under it.
bool errors_held();
class ErrorHold {
 public:
  ErrorHold();

 private:
  Switched<bool> held_;
};

}  // namespace tarnel
