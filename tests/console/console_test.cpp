// tnsh as a process: signals, descriptors, the terminal. What it evaluates is in the transcripts.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "core/file_ops.h"
#include "tests/support/files.h"
#include "tests/support/texts.h"

namespace {

namespace fs = std::filesystem;
using tarnel::testing::holds;

constexpr int kSeconds = 60;  // after which a program that hangs is ended
constexpr const char* kMakeTable =
    "dbcreate('t', {{'a', 'C', 10, 0}})\ndbusearea(.f., , 't', , .f.)\ndbappend()\nt->a := "
    "'kept'\n";
constexpr const char* kEndless = "aeval(array(60000), {|| aeval(array(60000), {|| 1})})\n";

class Console : public ::testing::Test, protected tarnel::testing::Folder {
 protected:
  ~Console() override { end(); }

  // Starts it by the shell in the test's directory, its input and output a pipe each or a terminal.
  void start(const std::string& command, bool terminal = false) {
    const int master = terminal ? posix_openpt(O_RDWR | O_NOCTTY) : -1;
    int to[2] = {-1, -1}, from[2] = {-1, -1};
    ASSERT_EQ(terminal ? grantpt(master) | unlockpt(master) : pipe(to) | pipe(from), 0);
    child_ = fork();
    if (child_ == 0) {
      setsid();
      if (terminal) to[0] = from[1] = open(ptsname(master), O_RDWR);
      dup2(to[0], STDIN_FILENO);
      dup2(from[1], STDOUT_FILENO);
      dup2(from[1], STDERR_FILENO);
      for (const int fd : {to[0], to[1], from[0], from[1], master})
        if (fd > STDERR_FILENO) close(fd);
      alarm(kSeconds);
      setenv("TERM", "dumb", 1);
      setenv("HOME", path().c_str(), 1);
      const std::string text = "cd " + path("") + "\n" + command;
      execl("/bin/sh", "sh", "-c", text.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    for (const int fd : {to[0], from[1]})
      if (fd >= 0) close(fd);
    in_ = terminal ? master : to[1];
    out_ = terminal ? dup(master) : from[0];
  }
  void type(const std::string& text) {
    ASSERT_EQ(::write(in_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  // The prompt comes before the terminal takes keys one by one: until then a control character is its own.
  void wait_for_editing() const {
    termios modes;
    while (tcgetattr(in_, &modes) == 0 && (modes.c_lflag & ICANON) != 0) usleep(1000);
  }
  // What it writes until a text comes, or its end.
  std::string read_to(const std::string& end) {
    std::string all;
    char c;
    while ((end.empty() || !all.ends_with(end)) && ::read(out_, &c, 1) == 1) all += c;
    return all;
  }
  // What it writes behind something typed, as far as a text.
  std::string answer(const std::string& typed, const std::string& end = "tnsh> ") {
    type(typed);
    return read_to(end);
  }
  void wait_until_ready() { answer("'re' + 'ady'\n", "ready"); }
  // Its exit status, below 0 a signal's number.
  int end() {
    for (int* fd : {&in_, &out_})
      if (*fd >= 0) close(std::exchange(*fd, -1));
    int status = -1;
    if (child_ > 0) waitpid(std::exchange(child_, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  int quit() {
    answer(".quit\n", "");
    return end();
  }
  std::string output_of(const std::string& command) {
    start(command);
    const std::string output = read_to("");
    end();
    return output;
  }
  std::string records() {
    return output_of(TARNEL_CONSOLE
                     " -e \"dbusearea(.f., , 't', , .t.)\" -e 'reccount()' -e 't->a'");
  }

  pid_t child_ = -1;
  int in_ = -1, out_ = -1;
};

constexpr const char* kKept = ".T.\n      1\nkept      \n";

TEST_F(Console, SignalsLeaveByTheExitRoadWithTablesAndOutput) {
  for (const bool terminal : {false, true})
    for (const bool running : {false, true})
      for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        if (terminal && number == SIGINT) continue;
        SCOPED_TRACE(std::to_string(number) + (terminal ? " at a prompt" : "") +
                     (running ? " in an expression" : ""));
        start("rm -f t.dbf; exec " TARNEL_CONSOLE, terminal);
        type(kMakeTable);
        if (terminal) read_to("kept      ");
        wait_until_ready();
        if (running) {
          type(kEndless);
          usleep(50'000);
        }
        kill(child_, number);
        read_to("");
        EXPECT_EQ(end(), 128 + number);
        EXPECT_EQ(records(), kKept);
      }
}

// This process holds the internal lock of the table all the time.
TEST_F(Console, AWaitForALockGivesWayToSignals) {
  for (const auto& [number, terminal] :
       {std::pair{SIGTERM, false}, {SIGINT, false}, {SIGTERM, true}, {SIGINT, true}}) {
    SCOPED_TRACE(std::to_string(number) + (terminal ? " at a prompt" : ""));
    start("rm -f t.dbf; exec " TARNEL_CONSOLE, terminal);
    type(kMakeTable);
    if (terminal) read_to("kept      ");
    answer("dbcloseall()\n're' + 'ady'\n", "ready");
    const int fd = open(path("t.dbf").c_str(), O_RDWR);
    ASSERT_TRUE(tarnel::lock_range(fd, F_WRLCK, 0, 2));
    type("dbusearea(.f., , 't', , .t.)\n");
    usleep(100'000);
    kill(child_, number);
    if (terminal && number == SIGINT) {
      read_to("interrupted");
      answer("'go' + 'es on'\n", "goes on");
      kill(child_, SIGTERM);
    }
    read_to("");
    EXPECT_EQ(end(), 128 + (terminal ? SIGTERM : number));
    close(fd);
    EXPECT_EQ(records(), kKept);
  }
}

TEST_F(Console, AnErrorInAnExitProcedureCounts) {
  write("e.prg", "EXIT PROCEDURE fails\n? 1 + {}\n");
  write("n.prg", "EXIT PROCEDURE chooses\nerrorlevel(7)\n");
  for (const auto& [lines, status] :
       {std::pair{".load e.prg\n", 1}, {".load e.prg\nQUIT\n", 1}, {".load n.prg\n", 7}}) {
    start(std::string("exec " TARNEL_CONSOLE " 2>&1"));
    type(lines);
    close(std::exchange(in_, -1));
    read_to("");
    EXPECT_EQ(end(), status) << lines;
  }
}

// The condition takes nearly all of the time, however fast the machine is.
TEST_F(Console, ASignalWaitsForTheKeysOfAChangeAndOfABuild) {
  for (const std::string work : {"dbappend()", "dbreindex()"}) {
    start("rm -f t.dbf i.idx; exec " TARNEL_CONSOLE);
    type(kMakeTable);
    type("ordcondset('len(aeval(array(2000), {|| 1})) > 0')\ndbcreateindex('i', 'a')\n");
    wait_until_ready();
    type("aeval(array(60000), {|| " + work + "})\n");
    usleep(100'000);
    kill(child_, SIGTERM);
    read_to("");
    EXPECT_EQ(end(), 128 + SIGTERM) << work;
    EXPECT_EQ(output_of(TARNEL_CONSOLE " -e \"dbusearea(.f., , 't')\" -e \"dbsetindex('i')\""
                                       " -e 'dborderinfo(5002)'"),
              ".T.\n.T.\n         0\n")
        << work;
  }
}

TEST_F(Console, AnInterruptAtThePromptCancelsOneLine) {
  start("exec " TARNEL_CONSOLE, true);
  type(kMakeTable);
  answer("'re' + 'ady'\n", "ready\r\ntnsh> ");
  answer("7 + ", "7 + ");
  type("\x03");
  EXPECT_TRUE(read_to("tnsh> ").ends_with("^C\r\ntnsh> "));
  usleep(150'000);  // no tick that comes late ends the session
  answer(kEndless, "{|| 1})})\r\n");
  usleep(50'000);
  EXPECT_TRUE(holds(answer("\x03"), "error 335: BREAK unexpected;interrupted\r\n"));
  EXPECT_TRUE(holds(answer("100 + reccount()\n"), "       101\r\n"));
  EXPECT_EQ(quit(), 1);
  EXPECT_EQ(records(), kKept);
}

TEST_F(Console, AnInterruptEndsAScanWhoseProgressIsShown) {
  start("exec " TARNEL_CONSOLE, true);
  type(kMakeTable);
  type(
      "dbcreate('u', {{'a', 'C', 1, 0}})\ndbusearea(.t., , 'u', , .f.)\nlen({dbappend(), "
      "dbappend()})\n");
  EXPECT_TRUE(holds(answer("dbeval({|| dbgoto(1)})\n", "records/s"), "eval: "));
  EXPECT_TRUE(holds(answer("\x03"), "interrupted"));
  EXPECT_TRUE(holds(answer("{dbcount(), alias()}[1] + 1000\n"), "      1002\r\n"));
  EXPECT_EQ(quit(), 1);
  EXPECT_EQ(records(), kKept);
}

// The condition takes nearly all of the time, however fast the machine is.
TEST_F(Console, AnInterruptEndsABuildWhoseOrderSaysSoAndProgressGivesWayToRows) {
  start("exec " TARNEL_CONSOLE, true);
  type(kMakeTable);
  type("len({aeval(array(9000), {|| dbappend()})})\nslow := 'empty(sleep(0.0001))'\n");
  answer("ordcondset(slow)\ndbcreateindex('i', 'a')\n", "index: ");
  type("\x03");
  const std::string broken_off = read_to("interrupted");
  EXPECT_TRUE(holds(broken_off, ".F.\r\n"));
  EXPECT_TRUE(holds(answer(".orders\n", "i.idx"), "differs"));
  answer("{dbsetorder(0), 7}[2]\n.list all a for &slow .and. recno() == 9000\n", "list: ");
  EXPECT_TRUE(holds(read_to("  9000"), "\r\033[Krecord"));
}

TEST_F(Console, ATerminalIsAskedBeforeAllRecordsGo) {
  start("exec " TARNEL_CONSOLE, true);
  answer(kMakeTable, "kept      \r\n");
  for (const char* reply : {"n", "y"}) {
    answer(".zap\n", "drop all 1 records of T? (y/n) ");
    type(std::string(reply) + "\n");
    type("100 + reccount()\n");
    const std::string left = reply[0] == 'n' ? "       101\r\n" : "       100\r\n";
    EXPECT_TRUE(read_to(left).ends_with(left)) << reply;
  }
  EXPECT_EQ(quit(), 0);
}

TEST_F(Console, AReaderThatGoesAwayIsAnErrorAndNotAnEnd) {
  std::ofstream(path("script")) << kMakeTable;
  EXPECT_EQ(output_of("mkfifo gone; { (read x < gone; " TARNEL_CONSOLE " script; echo $? >&2) |"
                      " { exec <&-; echo > gone; }; } 2>&1"),
            "warning 104: file write error;Write error on standard output\n1\n");
  EXPECT_EQ(records(), kKept);
}

TEST_F(Console, TheStatusIsWhatQuitSays) {
  EXPECT_EQ(output_of(TARNEL_CONSOLE " -e '.nix' -e '.quit 7' -e 2 2> /dev/null; echo $?"), "7\n");
  EXPECT_EQ(output_of(TARNEL_CONSOLE " -e '.nix' -e .quit 2> /dev/null; echo $?"), "1\n");
}

TEST_F(Console, OddDescriptorsAreRead) {
  const std::pair<const char*, const char*> cases[] = {
      {TARNEL_CONSOLE " <&-; echo $?", "0\n"},
      {TARNEL_CONSOLE " -e 1 >&-; echo $?", "0\n"},
      {"echo 7 | " TARNEL_CONSOLE " 2>&-", "         7\n"},
      // Its input doesn't block, and neither does its output: the reader is late for more than a pipe.
      {"python3 -c 'import os; os.set_blocking(0, False); os.set_blocking(1, False);"
       "os.execv(\"" TARNEL_CONSOLE "\", [\"tnsh\"])' < fifo | (sleep 0.3; wc -c) &"
       "(sleep 0.2; echo \"replicate('x', 300000)\") > fifo; wait",
       "300001\n"},
      {"tic -o types - <<END\nmine|a terminal, cols#80,\nEND\n"
       "OVTERM=mine TERM=xterm OVTERMINFO=types " TARNEL_CONSOLE " -e 'termtype()'",
       "mine\n"},
      {TARNEL_CONSOLE " -e '__shutdown()' -e '1 # \"1\"' -e 5 2>/dev/null; echo $?", "NIL\n1\n"},
  };
  ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
  for (const auto& [command, output] : cases) EXPECT_EQ(output_of(command), output) << command;
}

TEST_F(Console, ATableInUseIsOpenedAsFarAsOthersLetIt) {
  const std::string busy = "t.dbf: in use by another program\n";
  for (const bool alone : {true, false}) {
    std::ofstream(path("script")) << kMakeTable << (alone ? "" : ".close\n.open t\n")
                                  << "'re' + 'ady'\n";
    EXPECT_EQ(
        output_of("rm -f t.dbf in; mkfifo in; " TARNEL_CONSOLE " < in > first & exec 3> in; "
                  "cat script >&3; until grep -q ready first; do sleep 0.02; done; " TARNEL_CONSOLE
                  " -e '.open -x t' -e '.open -w t' -e .close -e '.open t'"
                  " -e 'alias()' 2>&1; exec 3>&-; wait"),
        alone ? busy + busy + "no table is open in the current area\n" + busy + "\n"
              : busy + "T\n");
  }
}

// Each line is typed at once, as a paste does it; a tab completes what stands before it.
TEST_F(Console, ThePromptAsksOnAndCompletes) {
  write(".tnshrc", "mine := 41\n.nix\n");
  write("two words.csv", "a\n7\n");
  write("script", "'ran ' + 'it'\n");
  start("exec " TARNEL_CONSOLE, true);
  EXPECT_TRUE(holds(read_to("tnsh> "), ".tnshrc:2:\r\nunknown command .nix"));
  const std::pair<const char*, const char*> cases[] = {
      {"mine +\n  1\n", "        42\r\n"},
      {"{1, 2,\n\n", "^\r\nerror 309: "},
      {"'one\ntwo' $ 'zero'\n", ".F.\r\n"},
      {"min(7,\n\x03", "^C\r\n"},
      {"{7,\n# not yet\n 5\n# 4}[2]\n", ".T.\r\n"},
      {"min(7,\n\x04", "\r\nnote: what was begun has no end and is dropped\r\n"},
      {".read tw\t\n", "         7\r\n"},
      {"1 + * 2\n", "  1 + * 2\r\n      ^\r\nerror 309"},
      {".read scr\t\n", "ran it\r\n"},
      {".diff scr\t x\n", "script.dbf: no such file\r\n"},
      {"memoread('tw\t')\n", "7\r\n"},
      {"len({file('no\t')})\n", "         1\r\n"}};
  for (const auto& [typed, shown] : cases) {
    // A control character that comes while no line is edited is the terminal's.
    const std::string line = typed;
    const std::size_t control = std::min(line.find_first_of("\x03\x04"), line.size());
    type(line.substr(0, control));
    if (control < line.size()) {
      read_to("...> ");
      wait_for_editing();
      type(line.substr(control));
    }
    EXPECT_TRUE(holds(read_to("\r\ntnsh> "), shown)) << typed;
  }
}

TEST_F(Console, ATerminalGetsNoControlBytesAndLinesForRowsThatAreTooWide) {
  start("stty cols 18; exec " TARNEL_CONSOLE, true);
  type(kMakeTable);
  answer("'re' + 'ady'\n", "ready\r\ntnsh> ");
  for (const auto& [line, shown] :
       {std::pair{"t->a := chr(27) + '[7m1234' + chr(155)", "←[7m1234¢"},
        {".list", " record = 1\r\n      A = ←[7m1234¢"},
        {"{1, {'a', {|| 2}}}", "{1, {\"a\", {|| 2}}}"},
        {".mode csv", ""},
        {".list", "A\r\n←[7m1234¢"},
        {"len({dbusearea(.t., , chr(27) + '7')})", ";←7;101"}}) {
    EXPECT_TRUE(holds(answer(std::string(line) + "\n"), shown)) << line;
  }
}

TEST_F(Console, WhatHasFailedIsInColourAtATerminalThatHasAny) {
  for (const auto& [environment, shown] : {std::pair{"TERM=xterm", "\033[1;31merror 201\033[0m: "},
                                           {"TERM=xterm NO_COLOR=1", "\nerror 201: "},
                                           {"TERM=dumb", "\nerror 201: "}}) {
    start(environment + std::string(" exec " TARNEL_CONSOLE " -e 1 -e '1 + {}'"), true);
    EXPECT_TRUE(holds(read_to(""), shown)) << environment;
    end();
  }
}

TEST_F(Console, OutputGoesToFilesAndCommandsForAsLongAsItIsTold) {
  std::ofstream(path("script")) << kMakeTable << ".mode csv\n";
  const std::pair<const char*, const char*> cases[] = {
      {"-e '.once x' -e 5 -e 6; cat x", "         6\n         5\n"},
      {"-e '.output x' -e 5 -e .output -e 6; cat x", "         6\n         5\n"},
      {"-e '.once \"a b\"' -e 5; cat 'a b'", "         5\n"},
      {"-e '.once |tr 5 7' -e 5 -e 6", "         7\n         6\n"},
      {"-e '.output |cat; echo end' -e 5", "         5\nend\n"},
      {"-e '.once |true' -e 'replicate(\"x\", 300000)' -e 6; echo $?", "         6\n0\n"},
      {"-e '.once /no/where' -e 6; echo $?", "/no/where: no such file\n         6\n1\n"},
      {"-e '.once /dev/full' -e 5 -e 6; echo $?",
       "warning 104: file write error;Write error on standard output\n         6\n1\n"},
      {"-bail -e '.once' -e 6; echo $?", ".once needs the name of a file or a command\n1\n"},
      {"-init script -json -e '.list' | tail -1", "[{\"A\":\"kept\"}]\n"},
      {"-init script -cmd '.headers off' -e '.list all' | tail -1", "kept\n"},
      {"-line -e 'dbusearea(.t., , \"t\")' -e .list", ".T.\n record = 1\n      A = kept\n"},
      {"-bail -e '.read fails' -e 6 2>&1; echo $?",
       "fails:1:\n.open needs the name of a table\n1\n"},
      {"--version", "tnsh 1.10\n"}};
  write("fails", ".open\n7\n");
  output_of(TARNEL_CONSOLE " script");
  for (const auto& [arguments, output] : cases) {
    const std::string shown = output_of(TARNEL_CONSOLE " " + std::string(arguments) + " 2>&1");
    EXPECT_EQ(shown, output) << arguments;
  }
}

// An order built under a locale with other letters is the one that every process reads.
TEST_F(Console, AnImportThatCanNotGoOnTellsHowFarItCame) {
  const std::pair<std::string, std::string> cases[] = {
      {"mkfifo p.csv; " TARNEL_CONSOLE " -e '.import p.csv' 2>&1", "p.csv: is no regular file\n"},
      {"ulimit -f 700; " TARNEL_CONSOLE " -e '.import n.csv' 2>&1 | sed 's/of .*n.dbf/of it/'",
       ".create n N N 6\n"
       "n.csv:74901: error 104: DBFIDX:FieldPut();record 37451;of it;104 (file write error)\n"
       "n.csv:74901: broken off, 37450 records were added: the table is incomplete\n"},
      {"ulimit -f 20; " TARNEL_CONSOLE " -e '.import m.csv' 2>&1 | sed 's/written: .*/written/'",
       ".create m M M\n"
       "error 104: DBFIDX:FieldPut();memo block 20;of area TM;104 (file write error)\n"
       "m.csv:20: M can't be written\n"
       "m.csv:20: broken off, 18 records were added: the table is incomplete\n"},
      {"mkfifo in; " TARNEL_CONSOLE " < in > first & exec 3> in; cat script >&3;"
       "until grep -q ready first; do sleep 0.02; done; " TARNEL_CONSOLE
       " -e '.open -w t' -e '.import -append t.csv' 2>&1; echo $?; exec 3>&-; wait",
       "t.csv:2: the table is in use by another program\n"
       "t.csv:2: broken off, 0 records were added\n1\n"}};
  std::ofstream(path("script")) << kMakeTable << ".close\n.open -w t\nflock()\n're' + 'ady'\n";
  write("t.csv", "a\nx\ny\n");
  output_of(
      "seq 100000 200000 | sed '1i n' > n.csv;"
      "seq 999 | tr '\\n' ' ' | fold -w 300 > w; for i in 1 2 3; do cat w w; done |"
      " sed '1i m' > m.csv");
  for (const auto& [command, output] : cases)
    EXPECT_EQ(output_of("trap '' XFSZ; " + command), output) << command;
}

TEST_F(Console, AnInterruptedImportTellsHowFarItCame) {
  output_of("(echo a; seq 500000) > n.csv");
  start("exec " TARNEL_CONSOLE);
  answer(kMakeTable + std::string(".close\n.open -w t\n're' + 'ady'\n"), "ready");
  type(".import -append n.csv\n");
  usleep(300'000);
  kill(child_, SIGINT);
  EXPECT_TRUE(holds(read_to(""), " records were added\n"));
  EXPECT_EQ(end(), 128 + SIGINT);
}

TEST_F(Console, AStructureIsChangedByTheUsersEditor) {
  write("edit", "#!/bin/sh\nsed -i 's/C 10/C 3/' \"$1\"\nls -l \"$1\" > ran\n");
  start("chmod +x edit; TMPDIR=. EDITOR=./edit exec " TARNEL_CONSOLE, true);
  type(kMakeTable + std::string(".close\n"));
  for (const std::string reply : {"n", "y"}) {
    answer(".modify t\n", "record 1, field A is too long: kept\r\n");
    read_to("1 value has no place, go on all the same? (y/n) ");
    type(reply + "\n");
  }
  read_to("t.dbf: 1 records, 1 fields\r\n");
  answer(".modify t\n", "nothing changes\r\n");
  EXPECT_EQ(quit(), 0);
  EXPECT_EQ(records(), ".T.\n      1\nkep\n");
  EXPECT_EQ(output_of("ls; cut -c1-10 ran"), "edit\nran\nt.dbf\n-rw-------\n");
}

// A full disk leaves the former table, and nothing beside it.
TEST_F(Console, AModificationThatIsBrokenOffLeavesTheTable) {
  write("s", ".create t a C 200, m M\n");
  write("wide", ".create t m M, a C 250\n");
  output_of("for i in $(seq 6000); do echo '.row [\"x\", \"memo\"]'; done >> s; " TARNEL_CONSOLE
            " s; sha1sum t.* > sums");
  const std::string after =
      "t.dbf: good (6000 records, 0 orders)\nt.dbf: OK\nt.dbt: OK\ns\nsums\nt.dbf\nt.dbt\nwide\n";
  const std::string check = "; " TARNEL_CONSOLE " -e '.check t'; sha1sum -c sums; ls";
  EXPECT_EQ(output_of("(ulimit -f 1000; trap '' XFSZ; " TARNEL_CONSOLE
                      " -e '.modify t from wide') 2>&1 | sed 's/;.*;/;/'" +
                      check),
            "field A: C 200 -> C 250\nfields: in another order\n"
            "error 104: DBFIDX:MODIFY STRUCTURE;104 (file write error)\nt.dbf stays as it was\n" +
                after);
}

TEST_F(Console, LettersAreThoseOfTheCLocaleAlsoAtThePrompt) {
  ASSERT_EQ(system(("localedef -i de_DE -f ISO-8859-1 " + path("latin")).c_str()), 0);
  start("LOCPATH=. LC_ALL=latin exec " TARNEL_CONSOLE, true);
  read_to("tnsh> ");
  EXPECT_TRUE(holds(answer("asc(upper(chr(228)))\n"), "       228\r\n"));
}

}  // namespace
