// Which file a request wants. The server says so in SCRIPT_FILENAME; in PATH_TRANSLATED only where it has passed the
// request on by itself, since a client can write any path behind the name of a program. Nothing that a client sends
// (HTTP_..., arguments, which are a query without an equals sign) has a part in it.
#pragma once

#include <string>

namespace tarnel {

enum class PageKind { kProgram, kTemplate };  // .prg, .tnp

struct PageChoice {
  int status = 200;    // of HTTP; other than 200: there is no page to run
  std::string reason;  // why not, for the log
  std::string path,
      root;  // as realpath() gives them: the file, and the folder of the server's documents
  PageKind kind = PageKind::kProgram;
};

// The path without links, "" where there is none, with errno set.
std::string real_path(const std::string& path);

PageChoice choose_page();

// Why the file of a page that was opened by its path must not be run, "" if it may.
std::string unfit_page(int fd, const std::string& path);

}  // namespace tarnel
