// tnsh with a screen, on a terminal that shows what it paints.
#include <fcntl.h>
#include <signal.h>

#include "core/file_ops.h"
#include "tests/console/tmux.h"
#include "tests/support/texts.h"

namespace tarnel::testing {
namespace {

class OnScreen : public OnTerminal {
 protected:
  // The program's number is in the file "pid" then.
  void run_script(const std::string& lines, const std::string& around = "@") {
    write("script", lines);
    std::string commands = around;
    commands.replace(commands.find('@'), 1,
                     "sh -c 'echo $$ > pid; exec " TARNEL_CONSOLE
                     " --screen script'; echo status $?");
    start(commands);
  }
  void send_signal(int number) { ASSERT_EQ(kill(std::stoi(read("pid")), number), 0); }
};

TEST_F(OnScreen, ShowsTextsColoursAndFrames) {
  run_script(
      "#!/usr/bin/env -S tnsh --screen\n"
      "setcolor('W+/B, N/W')\nscroll()\ndispbox(1, 2, 4, 14, 2)\n5 + 5\n"
      "setpos(2, 4)\ndispout('h\xc3\xa4 \xe6\x97\xa5', 'R/W')\nsetpos(3, "
      "4)\ndispout('\xda\xc4\xbf')\n"
      "qout('asked')\nx := 1 # '1'\ninkey(0)\n");
  EXPECT_TRUE(
      wait_for("asked").starts_with("\n"
                                    "  ╔═══════════╗\n"
                                    "  ║ hä 日     ║\n"
                                    "  ║ ┌─┐       ║\n"
                                    "asked═════════╝\n"));
  EXPECT_TRUE(holds(picture("-e"), "\x1b[31m\x1b[47mhä 日"));
  EXPECT_TRUE(holds(press("x", "over"),
                    "error 201: data type mismatch;in not equals '#' operation\nstatus 1\nover"));
}

TEST_F(OnScreen, KeysHaveTheirCodes) {
  const std::pair<const char*, const char*> keys[] = {{"a", "97 a"},
                                                      {"Up", "5 Up"},
                                                      {"C-Up", "397 Ctrl-Up"},
                                                      {"M-Left", "411 Alt-Left"},
                                                      {"F1", "28 F1"},
                                                      {"F12", "-41 F12"},
                                                      {"S-F2", "-11 Shift-F2"},
                                                      {"M-q", "272 Alt-Q"},
                                                      {"Home", "1 Home"},
                                                      {"PageDown", "3 PgDn"},
                                                      {"Enter", "13 Enter"},
                                                      {"BSpace", "8 Backspace"},
                                                      {"Delete", "7 Del"},
                                                      {"BTab", "271 Shift-Tab"},
                                                      {"C-z", "26 Ctrl-Left"},
                                                      {"Escape", "27 Esc"}};
  run_script(
      "k := ov_set('escdelay', 1)\nqout('go')\n"
      "aeval(array(16), {|| k := inkey(0), scroll(), setpos(0, 0), dispout(ltrim(str(k)) + ' ' + "
      "keyname(k) + '.')})\ninkey(0)\n");
  wait_for("go");
  for (const auto& [key, shown] : keys) {
    press(key, std::string(shown) + ".");
    if (HasFailure()) return;
  }
}

TEST_F(OnScreen, TheTerminalComesBackOnEveryWayOut) {
  struct Way {
    const char* rest;  // of the script
    int signal, status;
  };
  const Way ways[] = {{"inkey(0)\n", 0, 0},
                      {"inkey(0)\n__quit(3)\n", 0, 3},
                      {"inkey(0)\n", SIGTERM, 128 + SIGTERM},
                      {"inkey(0)\n", SIGHUP, 128 + SIGHUP},
                      {"inkey(0)\n", SIGSEGV, 1},
                      {"inkey(0)\n", SIGABRT, 128 + SIGABRT},
                      {"dbcreate('t', {{'n', 'N', 5, 0}})\n"
                       "dbusearea(.f., , 't', , .f.)\ndbappend()\nn := 7\ninkey(0)\n",
                       SIGUSR1, 128 + SIGUSR1},
                      {"inkey(0.1)\naeval(array(60000), {|| aeval(array(60000), {|| 1})})\n",
                       SIGTERM, 128 + SIGTERM}};
  for (const Way& way : ways) {
    SCOPED_TRACE(way.rest + std::to_string(way.signal));
    run_script("setcursor(0)\nsetcolor('R/W')\nqout('shown')\n" + std::string(way.rest),
               "rm -f after; stty -g > before; @; stty -g > after");
    wait_for("shown");
    if (way.signal != 0)
      send_signal(way.signal);
    else
      type("x");
    wait_for("status " + std::to_string(way.status) + "\nover");
    EXPECT_EQ(read("before"), read("after"));
    EXPECT_EQ(ask("#{alternate_on} #{cursor_flag}"), "0 1\n");
  }
  EXPECT_TRUE(holds(read("t.dbf"), "     7")) << "the record is written on the exit road";
}

// Jobs of their own, so that the shell goes on when one stops.
TEST_F(OnScreen, StopsGoesOnAndTakesAnotherSize) {
  run_script(
      "dispbox()\naeval(array(2), {|| dispbox(), setpos(1, 1), dispout(str(maxrow(), 3) + "
      "str(maxcol(), 3)), inkey(0)})\n",
      "set -m; stty -g > before; @; stty -g > stopped; echo halted; read x; fg");
  wait_for("9 69");
  EXPECT_TRUE(becomes([&] { return picture().ends_with("──┘\n"); }));
  const std::string shown = picture();
  send_signal(SIGTSTP);
  wait_for("halted");
  EXPECT_EQ(read("before"), read("stopped"));
  EXPECT_EQ(ask("#{alternate_on}"), "0\n");
  press("Enter", "9 69");
  EXPECT_TRUE(becomes([&] { return picture() == shown; })) << picture();
  tmux("resize-window -x 50 -y 12");
  press("x", " 11 49");
  EXPECT_TRUE(becomes([&] { return picture().ends_with("──┘\n"); })) << picture();
  press("x", "over");
}

TEST_F(OnScreen, AnInterruptIsAskedAboutAndASecondOneEnds) {
  run_script("set(12, .F.)\nqout('off')\ninkey(0)\nset(12, .T.)\nqout('shown')\ninkey(0)\n");
  wait_for("off");
  press("C-c x", "shown");
  EXPECT_TRUE(holds(press("C-c", "Waiting 5 seconds !!!"), "DO YOU REALLY WANT TO EXIT ???"));
  press("C-c", "status 130");
}

// Neither the question nor the end waits for the lock.
TEST_F(OnScreen, AnInterruptIsAskedAboutWhileALockIsWaitedFor) {
  run_script(
      "dbcreate('t', {{'a', 'C', 1, 0}})\ndbusearea(.f., , 't', , .t.)\nqout('open')\ninkey(0)\n"
      "dbgobottom()\n");
  wait_for("open");
  const int fd = open(path("t.dbf").c_str(), O_RDWR);
  ASSERT_TRUE(lock_range(fd, F_WRLCK, 0, 2));
  type("x");
  usleep(100'000);
  press("C-c", "Waiting 5 seconds !!!");
  press("C-c", "status 130");
  close(fd);
}

TEST_F(OnScreen, WithoutATerminalForItNothingIsWritten) {
  write("script", "qout('shown')\n");
  const std::string run = "cd " + path("") + "; ", screen = TARNEL_CONSOLE " --screen script";
  EXPECT_EQ(output_of(run + "setsid -w " + screen + " 2>&1 < /dev/null; echo $?"),
            "tnsh: there is no terminal for a screen\n2\n");
  start("TERM=dumb " + screen + "; echo $?; TERM=none " + screen + " > out; echo $?; ls -s out");
  const std::string shown = wait_for("over");
  EXPECT_TRUE(holds(shown, "tnsh: terminal type 'dumb' can't place the cursor\n2\n"));
  EXPECT_TRUE(holds(shown, "tnsh: terminal type 'none' is not known\n2\n0 out"));
}

TEST_F(OnScreen, OtherOutputsStayApart) {
  write("script", "x := 1 # '1'\nqout('shown')\ninkey(0)\n");
  start(TARNEL_CONSOLE " --screen script > out 2> errors < /dev/null; cat errors; ls -s out");
  wait_for("shown");
  EXPECT_TRUE(holds(read("errors"), "error 201")) << "at once";
  EXPECT_TRUE(holds(press("x", "over"), "0 out"));
}

TEST_F(OnScreen, AFileRunsOnAScreenInsideASession) {
  write("script", "y := 7\nqout('shown')\ninkey(0)\n");
  start(TARNEL_CONSOLE);
  wait_for("tnsh>");
  press("'.screen script' Enter", "shown");
  press("x", "tnsh> .screen script");
  press("'y + 1000' Enter", "  1007");
  press("'.screen none' Enter", "none: no such file");
}

TEST_F(OnScreen, BoxesAskAndLinesAreAccepted) {
  run_script(
      "n := alert('Go on?;Really', {'Yes', 'No'})\nc := __accept('name: ')\nqout(n * 100, c + "
      "'.')\ninkey(0)\n"
      "errorblock({|e| _deferror(e)})\nx := 1 # '1'\n__quit(9)\n");
  EXPECT_TRUE(holds(wait_for("Really"), "Yes    No"));
  press("Right Enter", "name:");
  press("ab BSpace 'c' Enter", "200 ac.");
  press("x", "Abort");
  press("Enter", "status 1");
}

TEST_F(OnScreen, OptionsReachTheTerminal) {
  run_script(
      "qout('one')\nov_set('setenvir', 'TERM', 'none', .t.)\nqout(termtype())\ninkey(0)\n"
      "ov_set('setenvir', 'TERM', 'vt100', .t.)\nqout(termtype())\n"
      "ov_set('breakkey', 24)\nqout('key', inkey(0))\ninkey(0)\n");
  wait_for("one\ntmux-256color");
  press("x", "one\ntmux-256color\nvt100");
  press("C-c", "key          3");
  press("C-x", "EXIT ???");
  EXPECT_TRUE(holds(press("C-x", "status 130"),
                    "error 320: Illegal value;Cannot initialize terminal (ignored)"));
}

TEST_F(OnScreen, TheExamplesRun) {
  start("cd " TARNEL_SOURCE_DIR "/examples/screen; " TARNEL_CONSOLE " -s demo.tn; " TARNEL_CONSOLE
        " -s keys.tn; echo status $?",
        80, 24);
  wait_for("Scroll the frames?");
  press("l", "Esc leaves");
  press("F5", "-4      F5              1B 5B 31 35 7E");
  press("Escape", "status 0");
}

}  // namespace
}  // namespace tarnel::testing
