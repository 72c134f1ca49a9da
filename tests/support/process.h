// What a command of the shell writes.
#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <string>

namespace tarnel::testing {

// Its standard output; `status` receives its exit status, below 0 a signal's number.
inline std::string output_of(const std::string& command, int* status = nullptr) {
  std::FILE* const pipe = popen(command.c_str(), "r");
  std::string output;
  char piece[4096];
  for (std::size_t n; (n = std::fread(piece, 1, sizeof piece, pipe)) > 0;) output.append(piece, n);
  const int ended = pclose(pipe);
  if (status != nullptr) *status = WIFEXITED(ended) ? WEXITSTATUS(ended) : -WTERMSIG(ended);
  return output;
}

// A text as one word of the shell.
inline std::string shell_word(std::string text) {
  for (std::size_t at = 0; (at = text.find('\'', at)) != std::string::npos; at += 4)
    text.replace(at, 1, "'\\''");
  return "'" + text + "'";
}

}  // namespace tarnel::testing
