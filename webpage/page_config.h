// tnpage.conf: what an administrator decides, read at start. It lies beside the program, else in the system's folder
// of configurations. A line is `name = value`; `#` begins a comment.
#pragma once

#include <cstdint>
#include <string>

namespace tarnel {

struct PageConfig {
  std::string data =
      "../data";  // folder of the tables; one without / at its front begins at the document root
  std::string include;         // a folder of files that pages may include, beside their own
  std::string log = "local0";  // facility, `stderr`, or a socket
  std::int32_t seconds = 30;   // that a page may take, whatever it waits for; 0: any
  std::int32_t memory = 64;    // MiB; 0: any
  std::int32_t body = 8;       // MiB of a form
  bool show_errors = false;    // in full to whoever asks for a page
  bool allow_run = false;      // run(), exec() and pipes
};

// Reads it, or leaves the usual values where there is none. False, with words in `fault`, when it isn't right.
[[nodiscard]] bool read_page_config(PageConfig& config, std::string& fault);

}  // namespace tarnel
