// The signals that the runtime answers. A handler only notes that its signal came; it is answered where
// the run looks: at lines and blocks of the language, and where a read or write was broken off.
//
//   SIGTERM, SIGHUP  the exit road, status 128 + signal
//   SIGINT           what the program wants, see InterruptAnswer
//   SIGPIPE          ignored: the write that fails is an error
//   SIGQUIT          nothing; there is no debugger to call
//   SIGTSTP, SIGCONT, SIGWINCH  only while there is a screen, see ScreenSignals
//   SIGFPE, SIGSEGV  answered in the handler
#pragma once

#include <csignal>
#include <cstdint>

namespace tarnel {

void install_signal_handlers();

// What SIGINT does while no dialogue is set.
enum class InterruptAnswer {
  kPassOver,  // nothing: a page goes on
  kLeave,     // the exit road, as SIGTERM does
  kCancel     // an error, then a break out of the innermost sequence; nothing outside of one
};
void set_interrupt_answer(InterruptAnswer answer);
// Forgets an interrupt that waits: has one come?
bool take_interrupt();

// Does an interrupt wait, or is the time over, so that what runs will be broken off as soon as nobody holds it? Long work
// within such a hold may then end early where it can be taken up again.
bool interrupt_cancels();

// A program that has a screen may ask there whether to leave, by end_by_signal(). Null, as long as none asks: the answer
// above.
void set_interrupt_dialogue(void (*dialogue)());

// What a program with a screen does for the signals of terminals. While it is set SIGTSTP, SIGCONT and
// SIGWINCH are noted and answered like the others; null gives them back what they did before. A record
// must outlive its use.
struct ScreenSignals {
  void (*give_back)();  // the terminal, before the process stops
  void (*take_again)();
  void (*resized)();
};
void watch_screen_signals(const ScreenSignals* answers);

// From now on the run may take so many seconds, whatever it waits for. Then `answer`, which doesn't return, is called
// where signals are answered. A run that looks at none is killed by the system, after `killed` seconds.
constexpr double killed_after(double seconds) {
  return 2 * seconds + 5;
}
void set_time_limit(double seconds, void (*answer)(), double killed);
bool has_time_limit();

// For the life of the guard a function is called now and then where signals are answered, first after half a
// second: it may show how work goes on, and may break. Guards may nest; the outermost one counts.
class RunWatch {
 public:
  explicit RunWatch(void (*watcher)());
  ~RunWatch();
  RunWatch(const RunWatch&) = delete;
  RunWatch& operator=(const RunWatch&) = delete;

 private:
  const bool outermost_;
};

namespace detail {
extern volatile std::sig_atomic_t signal_noted;
}
// Answers a signal that was noted, unless it is held. May not return: see above.
void answer_signals();
// A handler: the run ends by the exit road, with 128 and the number as its status, where signals are looked at next.
void end_by_signal(int number);
inline void look_at_signals() {
  if (detail::signal_noted != 0) answer_signals();
}
// A signal was noted and may be answered now, or came while the run ends: what waits must give way.
bool signal_waits();

// A wait for others: for their locks, for the other end of a pipe, for a program to end. Whatever waits asks one of
// these, each time that a signal broke it off or a while has passed, and fails as if the others had refused, with
// EINTR, when it says no. That failure isn't told: the raise of its error answers the signal instead.
class Wait {
 public:
  // In the middle of work, which no answer may leave: false when a signal ends the run or breaks off what runs. While
  // interrupts are held and tables are closed that is put off a little, for those who wait only for a moment: what
  // has begun is finished then.
  [[nodiscard]] bool goes_on();
  // Where any answer may be given: false when any signal waits for one.
  [[nodiscard]] bool undisturbed() { return goes_on() && !signal_waits(); }

 private:
  std::int64_t begin_ = 0;  // when it was told first to end, in nanoseconds; 0 not yet
};
// Sleeps until the time is over or a signal was answered, which may leave it.
void pause_run(double seconds);
// What failed because a wait was given up answers the signal, before it tells of an error.
void answer_given_up_wait();
// Have all waits been given up? What tries again must not do so for ever.
bool waits_are_given_up();

}  // namespace tarnel
