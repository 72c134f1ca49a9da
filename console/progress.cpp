#include "console/progress.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <utility>

#include "core/errors.h"
#include "core/output.h"
#include "db/progress.h"
#include "term/screen.h"

namespace tarnel {
namespace {

using Clock = std::chrono::steady_clock;

// What is shown: from half a second on, at most five times a second.
constexpr double kFirst = 0.5, kInterval = 0.2;

struct Shown {
  bool running = false, written = false;
  Clock::time_point start, last;
} shown;

// What else was written to the terminal.
struct Beside {
  bool open_line = false;
  Clock::time_point last;
} beside;

constexpr std::string_view kErase = "\r\033[K";

double seconds_since(Clock::time_point when) {
  return std::chrono::duration<double>(Clock::now() - when).count();
}

void finish() {
  if (shown.written) std::fputs(kErase.data(), stderr);
  shown = Shown();
}

void write_line(const char* work, std::int64_t done, std::int64_t total) {
  const double taken = seconds_since(shown.start);
  const double rate = static_cast<double>(done) / taken;
  std::string line = format_text("\r%s: %lld", work, static_cast<long long>(done));
  if (total > 0 && total >= done)
    line += format_text(" of %lld, %d%%", static_cast<long long>(total),
                        static_cast<int>(done * 100 / total));
  line += format_text(", %.0f records/s", rate);
  if (total > done && rate > 0)
    line += format_text(", %.0f s left", static_cast<double>(total - done) / rate);
  std::fputs((line + "\033[K").c_str(), stderr);
  std::fflush(stderr);
  shown.written = true;
}

void show(const char* work, std::int64_t done, std::int64_t total) {
  if (screen_open()) return;
  if (done < 0) return finish();
  if (!shown.running) {
    shown.running = true;
    shown.start = shown.last = Clock::now();
    return;
  }
  if (seconds_since(shown.start) < kFirst || seconds_since(shown.last) < kInterval) return;
  if (beside.open_line || seconds_since(beside.last) < kFirst) return;
  flush_output();  // nothing that was written before may come behind it
  shown.last = Clock::now();
  write_line(work, done, total);
}

}  // namespace

std::string_view give_way_to(std::string_view text) {
  if (text.empty()) return {};
  beside = {text.back() != '\n', Clock::now()};
  return std::exchange(shown.written, false) ? kErase : std::string_view();
}

void show_progress() {
  if (isatty(STDERR_FILENO) != 0) progress_hook() = show;
}

}  // namespace tarnel
