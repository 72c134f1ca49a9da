// tnsh with a screen, on a terminal that shows what it paints.
#include <fcntl.h>
#include <signal.h>

#include "core/file_ops.h"
#include "tests/console/tmux.h"

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
  EXPECT_NE(picture("-e").find("\x1b[31m\x1b[47mhä 日"), std::string::npos) << picture("-e");
  type("x");
  EXPECT_NE(wait_for("over").find(
                "error 201: data type mismatch;in not equals '#' operation\nstatus 1\nover"),
            std::string::npos);
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
    type(key);
    wait_for(std::string(shown) + ".");
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
  EXPECT_NE(read("t.dbf").find("     7"), std::string::npos)
      << "the record is written on the exit road";
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
  type("Enter");
  wait_for("9 69");
  EXPECT_TRUE(becomes([&] { return picture() == shown; })) << picture();
  tmux("resize-window -x 50 -y 12");
  type("x");
  wait_for(" 11 49");
  EXPECT_TRUE(becomes([&] { return picture().ends_with("──┘\n"); })) << picture();
  type("x");
  wait_for("over");
}

TEST_F(OnScreen, AnInterruptIsAskedAboutAndASecondOneEnds) {
  run_script("set(12, .F.)\nqout('off')\ninkey(0)\nset(12, .T.)\nqout('shown')\ninkey(0)\n");
  wait_for("off");
  type("C-c x");
  wait_for("shown");
  type("C-c");
  EXPECT_NE(wait_for("Waiting 5 seconds !!!").find("DO YOU REALLY WANT TO EXIT ???"),
            std::string::npos);
  type("C-c");
  wait_for("status 130");
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
  type("C-c");
  wait_for("Waiting 5 seconds !!!");
  type("C-c");
  wait_for("status 130");
  close(fd);
}

TEST_F(OnScreen, WithoutATerminalForItNothingIsWritten) {
  write("script", "qout('shown')\n");
  const std::string run = "cd " + path("") + "; ", screen = TARNEL_CONSOLE " --screen script";
  EXPECT_EQ(output_of(run + "setsid -w " + screen + " 2>&1 < /dev/null; echo $?"),
            "tnsh: there is no terminal for a screen\n2\n");
  start("TERM=dumb " + screen + "; echo $?; TERM=none " + screen + " > out; echo $?; ls -s out");
  const std::string shown = wait_for("over");
  EXPECT_NE(shown.find("tnsh: terminal type 'dumb' can't place the cursor\n2\n"), std::string::npos)
      << shown;
  EXPECT_NE(shown.find("tnsh: terminal type 'none' is not known\n2\n0 out"), std::string::npos)
      << shown;
}

TEST_F(OnScreen, OtherOutputsStayApart) {
  write("script", "x := 1 # '1'\nqout('shown')\ninkey(0)\n");
  start(TARNEL_CONSOLE " --screen script > out 2> errors < /dev/null; cat errors; ls -s out");
  wait_for("shown");
  EXPECT_NE(read("errors").find("error 201"), std::string::npos) << "at once";
  type("x");
  EXPECT_NE(wait_for("over").find("0 out"), std::string::npos);
}

TEST_F(OnScreen, AFileRunsOnAScreenInsideASession) {
  write("script", "y := 7\nqout('shown')\ninkey(0)\n");
  start(TARNEL_CONSOLE);
  wait_for("tnsh>");
  type("'.screen script' Enter");
  wait_for("shown");
  type("x");
  wait_for("tnsh> .screen script");
  type("'y + 1000' Enter");
  wait_for("  1007");
  type("'.screen none' Enter");
  wait_for("none: no such file");
}

TEST_F(OnScreen, BoxesAskAndLinesAreAccepted) {
  run_script(
      "n := alert('Go on?;Really', {'Yes', 'No'})\nc := __accept('name: ')\nqout(n * 100, c + "
      "'.')\ninkey(0)\n"
      "errorblock({|e| _deferror(e)})\nx := 1 # '1'\n__quit(9)\n");
  EXPECT_NE(wait_for("Really").find("Yes    No"), std::string::npos);
  type("Right Enter");
  wait_for("name:");
  type("ab BSpace 'c' Enter");
  wait_for("200 ac.");
  type("x");
  wait_for("Abort");
  type("Enter");
  wait_for("status 1");
}

TEST_F(OnScreen, OptionsReachTheTerminal) {
  run_script(
      "qout('one')\nov_set('setenvir', 'TERM', 'none', .t.)\nqout(termtype())\ninkey(0)\n"
      "ov_set('setenvir', 'TERM', 'vt100', .t.)\nqout(termtype())\n"
      "ov_set('breakkey', 24)\nqout('key', inkey(0))\ninkey(0)\n");
  wait_for("one\ntmux-256color");
  type("x");
  wait_for("one\ntmux-256color\nvt100");
  type("C-c");
  wait_for("key          3");
  type("C-x");
  wait_for("EXIT ???");
  type("C-x");
  EXPECT_NE(
      wait_for("status 130").find("error 320: Illegal value;Cannot initialize terminal (ignored)"),
      std::string::npos)
      << picture();
}

TEST_F(OnScreen, TheExamplesRun) {
  start("cd " TARNEL_SOURCE_DIR "/examples/screen; " TARNEL_CONSOLE " -s demo.tn; " TARNEL_CONSOLE
        " -s keys.tn; echo status $?",
        80, 24);
  wait_for("Scroll the frames?");
  type("l");
  wait_for("Esc leaves");
  type("F5");
  wait_for("-4      F5              1B 5B 31 35 7E");
  type("Escape");
  wait_for("status 0");
}

}  // namespace
}  // namespace tarnel::testing
