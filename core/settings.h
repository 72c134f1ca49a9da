// The process-wide settings, as the SET commands and the named options read and change them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tarnel {

struct Settings {
  // Numbered settings.
  bool exact = false, fixed = false;
  std::int32_t decimals = 2;
  char date_format[20] = "mm/dd/yy";  // 19 characters at most
  std::int32_t epoch = 1900;
  bool century =
      false;  // the format carries the year's digits; this decides how many a new one gets
  std::vector<std::string> path;  // directories, each ending in '/'
  std::string default_dir;        // ends in '/' unless empty
  bool exclusive = true, softseek = false, unique = false, deleted = false, cancel = true;
  bool debug = false;
  std::int32_t typeahead = 80;
  std::string color = "W/N, N/W,,, N/W";
  bool cursor = true, console = true, alternate = false;
  std::string altfile;
  std::string device = "SCREEN";
  bool extra = false;
  std::string extrafile;
  bool printer = false;
  std::string printfile;
  std::int32_t margin = 0;
  bool bell = false, confirm = false, escape = true, insert = false, exit = false;
  bool intensity = true, scoreboard = true, delimiters = false;
  std::string delimchars = "::";
  bool wrap = false;
  std::int32_t message = -1;
  std::int32_t mcenter = -1;  // -1 on, 0 off
  std::int32_t autolock = 0;
  bool multilocks = false;

  // Named options.
  bool developer = false, typeahead_flag = false, lowerfiles = false, upperfiles = false;
  bool pathlower = false, pathupper = false, memcompat = false, shortname = false;
  bool zerobyte = false, lock40comp = false, intvar = false;
  std::int32_t debugkey = 0, breakkey = 0, breakkey_companion = 0;
  std::int32_t escdelay = 10;  // tenths of a second
  std::string pathdelims = ";;,,";

  // May run() and exec() start programs, and pipes commands? Programs decide, not options.
  bool commands = false, pipes = true;
};

Settings& settings();
void reset_settings();

}  // namespace tarnel
