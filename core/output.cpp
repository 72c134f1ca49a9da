#include "core/output.h"

#include <unistd.h>

#include <cerrno>
#include <string>

namespace tarnel {
namespace {

constexpr std::size_t kBufferLimit = 64 * 1024, kFirstSize = 8 * 1024;

struct OutputState {
  std::string buffer;
  void (*tee)(std::string_view) = nullptr;
} state;

}  // namespace

bool write_fully(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = ::write(fd, bytes.data(), bytes.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

void write_output(std::string_view text) {
  if (state.tee != nullptr) state.tee(text);
  if (state.buffer.capacity() < kFirstSize) state.buffer.reserve(kFirstSize);
  state.buffer.append(text);
  if (state.buffer.size() > kBufferLimit) flush_output();
}

void flush_output() {
  write_fully(STDOUT_FILENO, state.buffer);
  state.buffer.clear();
}

void write_direct(std::string_view text) {
  flush_output();
  write_fully(STDOUT_FILENO, text);
}

void write_direct_line(std::string_view text) {
  write_direct(text);
  write_direct("\n");
}

void set_output_tee(void (*tee)(std::string_view text)) {
  state.tee = tee;
}

}  // namespace tarnel
