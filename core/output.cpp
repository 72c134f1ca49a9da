#include "core/output.h"

#include <unistd.h>

#include <cerrno>
#include <string>
#include <utility>

#include "core/errors.h"
#include "core/runtime.h"
#include "core/signals.h"
#include "core/switched.h"

namespace tarnel {
namespace {

// The first room holds most pages, and with what the allocator adds no more than a page of memory.
constexpr std::size_t kBufferLimit = 64 * 1024, kFirstSize = 4 * 1024 - 64;

struct OutputState {
  std::string buffer;
  void (*tee)(std::string_view) = nullptr;
  void (*device)(std::string_view) = nullptr;
  std::string (*filter)(std::string_view) = nullptr;
  void (*error_writer)(std::string_view) = nullptr;
  void (*begin)() = nullptr;
  char last = '\n';     // byte that went to descriptor 1
  bool broken = false;  // a write failed
  bool reader_may_go = false;
} state;

}  // namespace

void write_output(std::string_view text) {
  if (state.tee != nullptr) state.tee(text);
  if (state.device != nullptr) return state.device(text);
  if (state.begin != nullptr && !text.empty()) begin_output();
  if (!text.empty()) state.last = text.back();
  if (state.buffer.capacity() < kFirstSize) state.buffer.reserve(kFirstSize);
  if (state.filter != nullptr)
    state.buffer.append(state.filter(text));
  else
    state.buffer.append(text);
  if (state.buffer.size() > kBufferLimit) flush_output();
}

void set_output_beginning(void (*begin)()) {
  state.begin = begin;
}

void begin_output() {
  if (void (*const begin)() = std::exchange(state.begin, nullptr); begin != nullptr) begin();
}

bool write_gathered() {
  if (state.broken) state.buffer.clear();
  std::size_t done = 0;
  ssize_t n = 0;
  while (done < state.buffer.size() && n >= 0) {
    n = write_some(STDOUT_FILENO, std::string_view(state.buffer).substr(done));
    if (n >= 0) done += static_cast<std::size_t>(n);
  }
  state.buffer.erase(0, done);
  if (n < 0 && errno != EINTR) state.broken = true;
  return n >= 0;
}

void flush_output() {
  while (!write_gathered()) {
    if (state.broken && state.reader_may_go && errno == EPIPE) return;
    if (state.broken) {
      set_dos_error(errno);
      RT_WARNING(104, "Write error on standard output");
    } else {
      look_at_signals();
      if (on_exit_road() || waits_are_given_up()) return;
    }
  }
}

void write_standard(std::string_view text) {
  const Switched<void (*)(std::string_view)> no_copies(state.tee, nullptr);
  write_output(text);
}

void end_last_line() {
  if (state.last != '\n') write_standard("\n");
}

void write_error(std::string_view text) {
  flush_output();
  if (state.error_writer != nullptr)
    state.error_writer(text);
  else
    write_fully(STDERR_FILENO, text);
}

void set_error_writer(void (*writer)(std::string_view text)) {
  state.error_writer = writer;
}

void write_direct(std::string_view text) {
  if (!text.empty()) begin_output();
  flush_output();
  state.buffer.append(text);
  flush_output();
}

void write_direct_line(std::string_view text) {
  write_direct(text);
  write_direct("\n");
}

void set_output_device(void (*device)(std::string_view text)) {
  state.device = device;
}

void set_output_filter(std::string (*filter)(std::string_view text)) {
  state.filter = filter;
}

void renew_output(bool reader_may_go) {
  state.broken = false;
  state.reader_may_go = reader_may_go;
}

bool output_works() {
  return !state.broken;
}

void set_output_tee(void (*tee)(std::string_view text)) {
  state.tee = tee;
}

}  // namespace tarnel
