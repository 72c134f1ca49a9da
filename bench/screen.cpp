// What the screen costs: calls of setpos and dispout between two flush points, and the flush of a full screen
// to a pseudo-terminal that somebody reads.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/core_modules.h"
#include "core/frame.h"
#include "core/runtime.h"
#include "lib/lib_modules.h"
#include "term/curses/painter.h"
#include "term/screen.h"
#include "term/term_modules.h"

namespace {

using namespace tarnel;

constexpr auto kModules = join_modules(kTermModules, kCoreModules, kLibModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);
constexpr int kRows = 60, kColumns = 200, kCalls = 10'000;

void BM_SetposAndDispout(benchmark::State& state) {
  const Function setpos_function = GET_FUNC("setpos"), dispout_function = GET_FUNC("dispout");
  for (auto _ : state) {
    for (int i = 0; i < kCalls; ++i) {
      const std::int32_t mark = temp_top();
      CALL_SIMPLE(setpos_function, TMP_INT(i % kRows), TMP_INT(i % 180));
      CALL_SIMPLE(dispout_function, TMP_STR("ten bytes."));
      POP_TEMPS(mark);
    }
  }
  state.SetItemsProcessed(state.iterations() * kCalls);
}
BENCHMARK(BM_SetposAndDispout);

// Every cell differs from what the terminal shows.
void BM_FlushOfAllCells(benchmark::State& state) {
  int turn = 0;
  for (auto _ : state) {
    state.PauseTiming();
    ++turn;
    for (int row = 0; row < screen_rows(); ++row)
      for (int col = 0; col < screen_columns(); ++col)
        fill_area({row, col, row, col}, {static_cast<char32_t>('a' + (row + col + turn) % 26),
                                         {static_cast<std::uint8_t>((row + turn) % 8), 0, 0}});
    state.ResumeTiming();
    show_screen();
  }
}
BENCHMARK(BM_FlushOfAllCells);

void BM_FlushOfOneCell(benchmark::State& state) {
  int turn = 0;
  for (auto _ : state) {
    fill_area({5, 5, 5, 5}, {static_cast<char32_t>('a' + ++turn % 26), {}});
    show_screen();
  }
}
BENCHMARK(BM_FlushOfOneCell);

// Hands on what the benchmark prints and drops what it paints.
int serve(int painted, int printed) {
  pollfd ends[] = {{painted, POLLIN, 0}, {printed, POLLIN, 0}};
  char bytes[65536];
  while (poll(ends, 2, -1) > 0) {
    if (ends[0].revents != 0 && read(painted, bytes, sizeof bytes) <= 0) ends[0].fd = -1;
    if (ends[1].revents == 0) continue;
    const ssize_t n = read(printed, bytes, sizeof bytes);
    if (n <= 0 || write(STDOUT_FILENO, bytes, static_cast<std::size_t>(n)) != n) break;
  }
  int status = 0;
  wait(&status);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

int measure(const char* terminal, int argc, char** argv) {
  setsid();
  const int tty = open(terminal, O_RDWR);  // the controlling terminal of the new session
  const int none = open("/dev/null", O_RDONLY);
  dup2(none, STDIN_FILENO);
  setenv("TERM", "xterm-256color", 1);
  const winsize size = {kRows, kColumns, 0, 0};
  ioctl(tty, TIOCSWINSZ, &size);
  start_library({kFunctions.table(), kModules});
  if (const std::string fault = open_terminal(); !fault.empty()) {
    fprintf(stderr, "%s\n", fault.c_str());
    return 1;
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  close_terminal();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const int painted = posix_openpt(O_RDWR | O_NOCTTY);
  int printed[2];
  if (painted < 0 || grantpt(painted) != 0 || unlockpt(painted) != 0 || pipe(printed) != 0)
    return 1;
  if (fork() != 0) {
    close(printed[1]);
    return serve(painted, printed[0]);
  }
  dup2(printed[1], STDOUT_FILENO);
  for (const int fd : printed) close(fd);
  return measure(ptsname(painted), argc, argv);
}
