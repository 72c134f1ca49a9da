// The exit road and the signals. Each runs in a process of its own.
#include "core/runtime.h"

#include <signal.h>
#include <sys/time.h>
#include <unistd.h>

#include "core/error_object.h"
#include "core/output.h"
#include "core/signals.h"
#include "tests/support/test_runtime.h"

namespace tarnel::testing {
namespace {

void say(const char* text) {
  write_fully(STDERR_FILENO, text);
}

Var* first_exit(std::int32_t, Var** argv) {
  say(argv[0]->i == 1 ? "first " : "wrong ");
  return nil_value();
}
Var* quitting_exit(std::int32_t, Var**) {
  say("second ");
  QUIT_RUN(3);
}
Var* failing_exit(std::int32_t, Var**) {
  RT_ERROR(301, "too late");
  return nil_value();
}

// Links one module with the given EXIT procedures beside the functions that are there.
void link_exit(std::span<const FunctionEntry> list) {
  static ModuleRecord record;
  static const ModuleRecord* modules[] = {&record};
  record.exit = list;
  LINK_MODULES({function_table(), modules});
}

class RuntimeDeathTest : public RuntimeTest {};

TEST_F(RuntimeDeathTest, AnExitProcedureThatQuitsKeepsTablesAndOutput) {
  constexpr static FunctionEntry kList[] = {{"a", first_exit, nullptr},
                                            {"b", quitting_exit, nullptr}};
  EXPECT_EXIT(
      {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        runtime_hooks().close_areas = [] { say("closed "); };
        link_exit(kList);
        write_output("page");
        QUIT_RUN();
      },
      ::testing::ExitedWithCode(3), "^first second closed page$");
}

TEST_F(RuntimeDeathTest, ErrorsInTheExitRoadAreToldOnceAndBreakOffNoneOfItsSteps) {
  constexpr static FunctionEntry kList[] = {{"a", failing_exit, nullptr},
                                            {"b", quitting_exit, nullptr}};
  EXPECT_EXIT(
      {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        runtime_hooks().close_areas = [] {
          RT_ERROR(104, "too late");
          write_output("closed ");
        };
        runtime_hooks().close_files = [] { write_output("files"); };
        link_exit(kList);
        QUIT_RUN(0);
      },
      ::testing::ExitedWithCode(1), "^\r\nFATAL ERROR during QUIT, exiting\r\n\r\nclosed files$");
}

TEST_F(RuntimeDeathTest, AFailedWriteOfOutputIsOneError) {
  EXPECT_EXIT(
      {
        install_signal_handlers();
        set_error_caller([](const RaisedError& e) { say(std::to_string(e.code).c_str()); });
        int ends[2];
        static_cast<void>(pipe(ends) == 0 && dup2(ends[1], STDOUT_FILENO) > 0);
        close(ends[0]);
        close(ends[1]);
        write_output("lost");
        flush_output();
        write_output("dropped");
        QUIT_RUN(0);
      },
      ::testing::ExitedWithCode(0), "^104$");
}

TEST_F(RuntimeDeathTest, AnInterruptWithoutATerminalIsPassedOver) {
  EXPECT_EXIT(
      {
        install_signal_handlers();
        raise(SIGINT);
        raise(SIGQUIT);
        raise(SIGPIPE);
        say("alive");
        _exit(0);
      },
      ::testing::ExitedWithCode(0), "alive");
}

TEST_F(RuntimeDeathTest, AHeldInterruptIsNotedAndAnsweredAtTheRelease) {
  EXPECT_EXIT(
      {
        install_signal_handlers();
        set_interrupt_dialogue([] { say("asked "); });
        HOLD_INTERRUPT();
        {
          const InterruptHold inner;
          raise(SIGINT);
        }
        say("held ");
        RELEASE_INTERRUPT();
        _exit(0);
      },
      ::testing::ExitedWithCode(0), "held asked $");
}

TEST_F(RuntimeDeathTest, LongWorkOnArraysAnswersSignals) {
  for (const Callable work : {afill, aclone})
    EXPECT_EXIT(
        {
          install_signal_handlers();
          set_interrupt_dialogue([] { say("asked "); });
          Var* list = cscreara(NEW_TEMP(), 1, kAllNil);
          raise(SIGINT);
          work(1, &list);
          say("done");
          _exit(0);
        },
        ::testing::ExitedWithCode(0), "^asked done$");
}

TEST_F(RuntimeDeathTest, WhatLooksAtNoSignalIsKilled) {
  static_assert(killed_after(30) == 65);
  EXPECT_EXIT(
      {
        install_signal_handlers();
        set_time_limit(
            0.05, [] { _exit(0); }, 0.2);
        for (;;) pause();
      },
      ::testing::KilledBySignal(SIGKILL), "");
}

// A timer that went on would break off the read of the next prompt, which would take that for the end.
TEST_F(RuntimeDeathTest, AWatchLeavesNoTimerAndNoSignalBehind) {
  const auto ticking = [] {
    itimerval left{};
    getitimer(ITIMER_REAL, &left);
    return left.it_value.tv_sec + left.it_value.tv_usec > 0;
  };
  {
    const RunWatch watch([] {});
    EXPECT_TRUE(ticking());
    raise(SIGALRM);
  }
  EXPECT_FALSE(ticking());
  EXPECT_FALSE(signal_waits());
}

TEST_F(RuntimeDeathTest, FaultsNameTheLineAndTakeTheExitRoad) {
  EXPECT_EXIT(
      {
        install_signal_handlers();
        runtime_hooks().close_areas = [] { say("closed"); };
        Procedure p("some_module", "faulting", 41, 0);
        LINE_HOOK(42);
        raise(SIGSEGV);
      },
      ::testing::ExitedWithCode(1),
      "Segmentation violation  on line 42 of some_module.\r\nProgram aborted. \r\n\r\nclosed");
  EXPECT_EXIT(
      {
        install_signal_handlers();
        set_error_caller([](const RaisedError& e) {
          write_fully(STDERR_FILENO,
                      std::to_string(e.code) + " " + std::string(e.text.substr(0, 25)));
        });
        raise(SIGFPE);
        _exit(0);
      },
      ::testing::ExitedWithCode(0), "320 FP \\(floating point\\) error");
}

}  // namespace
}  // namespace tarnel::testing
