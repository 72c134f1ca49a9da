// Runs tnsh on the transcripts of this folder, one test for each NAME.tr: an input line stands
// behind "> ", the lines that it shows on standard output and standard error stand below it or
// behind it, each after " ==> ":
//
//     > 6 * 7 ==>         42
//     > .t. + 1 ==> error 902: (warning);addition on logicals ==>          2
//
// Shown lines are exact, blanks included (" ==>" at the end shows an empty line); one that ends in
// blanks stands below. Only what the evaluator reports of an input that it expanded to itself is
// cut to ";@input". No input holds " ==> ", for the language has no such operator. Lines that begin
// with # are remarks. Every transcript runs in an empty directory of its own.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/files.h"
#include "tests/support/process.h"

namespace {

namespace fs = std::filesystem;
using namespace tarnel::testing;

constexpr int kSeconds = 120;  // of one run of tnsh; a sanitized one takes a few

struct Finished {
  int status;  // of the exit, below 0 a signal's number
  std::string output;
};

Finished run_tnsh(const Folder& folder, const std::vector<std::string>& arguments,
                  const std::string& input) {
  folder.write("input", input);
  std::string command = "cd " + folder.path("") + " && TERM=dumb exec timeout " +
                        std::to_string(kSeconds) + " " TARNEL_CONSOLE;
  for (const std::string& argument : arguments) command += " " + shell_word(argument);
  Finished run;
  run.output = output_of(command + " < input 2>&1", &run.status);
  return run;
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

struct ExpectedLine {
  std::string text;
  int number;  // in the transcript
};

struct Input {
  std::string text;
  std::size_t expected;  // the first line that it shows
};

struct Transcript {
  std::string input;
  std::vector<Input> inputs;
  std::vector<ExpectedLine> expected;
  bool with_errors = false;
};

bool is_error_line(const std::string& line) {
  for (const char* word : {"warning ", "error ", "fatal ", "internal "})
    if (line.starts_with(word) &&
        std::isdigit(static_cast<unsigned char>(line[std::string(word).size()])) != 0)
      return true;
  return false;
}

// The line with the report that ";@input" stands for.
std::string with_report(std::string line, const std::string& input) {
  constexpr std::string_view kMark = ";@input";
  if (const std::size_t at = line.find(kMark); at != std::string::npos)
    line.replace(
        at, kMark.size(),
        ";evaluating expression:;--> " + input + " ;after expanding it to:;'" + input + "'");
  return line;
}

// What stands in front of transcripts that show rows of values and don't say how.
const std::string kShowRows = R"(> all := "" ==>
> show := {|a| all := "", aeval(a, {|x| all += valtype(x) + transform(x) + " "}), trim(all)} ==> CODEBLOCK
)";

Transcript read_transcript(const fs::path& path) {
  constexpr std::string_view kShows = " ==> ";
  Transcript transcript;
  std::string input, text = read_file(path);
  const bool rows = text.find("> eval(show, ") != text.npos && text.find("> show := ") == text.npos;
  int number = rows ? -2 : 0;
  for (std::string line : lines_of(rows ? kShowRows + text : text)) {
    ++number;
    if (line.starts_with("#")) continue;
    if (line.ends_with(" ==>")) line += " ";
    std::size_t begin = 0, end = 0;
    if (line.starts_with("> ")) {
      end = line.find(kShows);
      input = line.substr(2, end - 2);
      transcript.input += input + "\n";
      transcript.inputs.push_back({input, transcript.expected.size()});
      begin = end + kShows.size();
    }
    for (; end != std::string::npos; begin = end + kShows.size()) {
      end = line.find(kShows, begin);
      const std::string shown = with_report(line.substr(begin, end - begin), input);
      transcript.expected.push_back({shown, number});
      transcript.with_errors |= is_error_line(shown);
    }
  }
  return transcript;
}

std::vector<std::string> transcript_names() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(TARNEL_SOURCE_DIR "/tests/transcripts"))
    if (entry.path().extension() == ".tr") names.push_back(entry.path().stem().string());
  std::sort(names.begin(), names.end());
  return names;
}

class Transcripts : public ::testing::TestWithParam<std::string> {};

TEST_P(Transcripts, ShowsTheExpectedLines) {
  const std::string file = GetParam() + ".tr";
  const Transcript transcript =
      read_transcript(fs::path(TARNEL_SOURCE_DIR "/tests/transcripts") / file);
  const Folder scratch;
  const Finished run = run_tnsh(scratch, {}, transcript.input);
  const std::vector<std::string> actual = lines_of(run.output);
  for (std::size_t i = 0; i < std::max(actual.size(), transcript.expected.size()); ++i) {
    const bool over = i >= transcript.expected.size();
    ASSERT_EQ(over ? "" : "line: " + transcript.expected[i].text,
              i < actual.size() ? "line: " + actual[i] : "")
        << file << ":"
        << (over ? transcript.expected.back().number + 1 : transcript.expected[i].number);
  }
  EXPECT_EQ(transcript.with_errors ? 1 : 0, run.status);
}

// Where programs differ from texts: their integers are numbers, their dates have an order of their own, an array as
// an argument is a variable of its own, a macro is an operand, and a statement shows a text as its bytes are.
constexpr std::string_view kOtherInPrograms[] = {
    "aeval(w, {|x| w := 0, seen := x})",
    "eval({|x| x := 3}, @t[1])",
    "t[1]",
    "eval(show, {eval(m), eval(m, \"new\"), v, memvarblock(\"nothing\"), memvarblock(5)})",
    "eval(show, {acopy(a, a, 1, 3, 2)[4], a[2], acopy(a, a, 2, 3, 1)[3], acopy({7, 8}, a, 2, 99, "
    "4)[4], len(a)})",
    "eval(show, {acopy(a, {}), acopy(a, {9}, -5, -5)[1], acopy(a, {9}, 99)[1], acopy(5, a), "
    "acopy(a)})",
    "eval(show, {abs(-5), abs(.t.), abs('x')})",
    "eval(show, {min(1, 1.00), max(5), max(5, 'x')})",
    "eval(show, {max(5, .t.), max()})",
    "eval(show, {ov_set('intvar', .T.), valtype(5), ov_set('intvar', .F.)})",
    "strtran(memoread(\"copy.txt\"), chr(10), \"/\")",  // the copy of all output
    "eval(show, {do(\"upper\", \"abc\"), do(\" UPPER\", \"abc\"), do({|a, b| a + b}, 2, 3), "
    "do(\"repl\", \"x\", 2)})",
    "&a &op",
    "eval(k)",  // a block with a macro in it
    "eval(show, {e:gencode := 2.9, e:gencode += 1, e:gencode++, e:gencode})",
    "2147483647 + 1",
    "eval(show, {.t. * 5, 65536 * 65536, 7 / 2})",
    "eval(show, {7 % 2, -7 % 2, 7.5 % 2})",
    "eval(show, {2 ** 10, 2 ^ 0.5, 2 ^ -1})",
    "eval(show, {-2 ^ 2, 2 ** 3 ** 2, 2 * 3 ^ 2, 7 - 2 * 3 % 4})",
    "eval(show, {{02/30/99} = {//}, {6/3/1}, len({6/3, 1})})",
    "{31.12.1999}",
    "x // once more",  // the mark behind it would be a comment
};

// All but those about character sets: a statement shows the bytes of a text.
std::vector<std::string> names_for_programs() {
  std::vector<std::string> names = transcript_names();
  std::erase(names, "charset");
  return names;
}

class TranscriptValues : public ::testing::TestWithParam<std::string> {};

// What each input shows that is an expression without an error: the one line of its value.
TEST_P(TranscriptValues, AreTheSameInPrograms) {
  const Transcript transcript =
      read_transcript(fs::path(TARNEL_SOURCE_DIR "/tests/transcripts") / (GetParam() + ".tr"));
  const auto mark = [](std::size_t i) { return "\n(" + std::to_string(i) + ")\n"; };
  std::string script;
  std::vector<std::size_t> values;
  for (std::size_t i = 0; i < transcript.inputs.size(); ++i) {
    const auto& [text, first] = transcript.inputs[i];
    const bool last = i + 1 == transcript.inputs.size();
    const std::size_t end = last ? transcript.expected.size() : transcript.inputs[i + 1].expected;
    const bool command = text.starts_with('?') || text.starts_with('#') ||
                         (text.size() > 2 && text[0] == '.' && text[2] != '.');
    if (end != first + 1 || command || is_error_line(transcript.expected[first].text)) {
      script += text + "\n";
      continue;
    }
    values.push_back(i);
    script += "?? " + text + "; ?? chr(10) + '(" + std::to_string(i) + ")' + chr(10)\n";
  }
  const Folder scratch;
  const std::string output = "\n" + run_tnsh(scratch, {}, script).output;
  for (const std::size_t i : values) {
    const auto& [text, first] = transcript.inputs[i];
    if (std::ranges::find(kOtherInPrograms, text) != std::end(kOtherInPrograms)) continue;
    const std::size_t at = output.find(mark(i));
    ASSERT_NE(at, output.npos) << text;
    const std::string expected = "\n" + transcript.expected[first].text;
    EXPECT_TRUE(output.substr(0, at).ends_with(expected))
        << text << " ==>" << output.substr(at - std::min<std::size_t>(at, 80), 80);
  }
}

INSTANTIATE_TEST_SUITE_P(Files, Transcripts, ::testing::ValuesIn(transcript_names()),
                         [](const auto& suite) { return suite.param; });
INSTANTIATE_TEST_SUITE_P(Files, TranscriptValues, ::testing::ValuesIn(names_for_programs()),
                         [](const auto& suite) { return suite.param; });

TEST(CommandLine, ChoosesWhatIsEvaluatedAndTheExitStatus) {
  struct Case {
    std::vector<std::string> arguments;
    const char *input, *output;
    int status;
  };
  const Case cases[] = {{{"-e", "{|a,b| a+b}"}, "7", "CODEBLOCK\n", 0},
                        {{"-e", "x := 2", "-e", "x * 3"}, "7", "         2\n         6\n", 0},
                        {{"-e", "x := 2", "script"}, "7", "         2\n         3\n.T.\n", 0},
                        {{"script"}, "7", "script:1:\nerror 307: ", 1},
                        {{"-e", "1 # \"1\"", "-e", "__quit()"}, "", "error 201: ", 1},
                        {{"-e", "1 # \"1\"", "-e", "__quit(7)"}, "", "error 201: ", 7},
                        {{"-e", "1/0"}, "", "         0\n", 0},
                        {{"no such file"}, "7", "no such file: no such file\n", 1},
                        {{"-e", ".quit", "-e", "1"}, "7", "", 0},
                        {{}, "  # skipped\n\n 7 \r\n.quit\n8", "         7\n", 0},
                        {{}, "8", "         8\n", 0},
                        {{"-e", "dbcreate('t', {{'n', 'N', 3, 0}})"}, "", ".T.\n", 0},
                        {{"T.DBF", "t.dbf", "-e", "alias()", "-e", "2->n"}, "", "T\n  0\n", 0},
                        {{"t.dbf", "script"}, "", "script:1:\nerror 307: ", 1},
                        {{"arguments", "a", "-b"}, "", "         2\n-b\n", 0},
                        {{"-w", "t.dbf", "-e", ".tables"},
                         "",
                         "area  alias  records  use     locked  file\n"
                         "1*    T            0  shared  -       t.dbf\n",
                         0},
                        {{"-x", "-readonly", "t.dbf", "-e", "7"},
                         "",
                         "t.dbf: this session only reads\n         7\n",
                         1},
                        {{"-readonly", "-e", "dbusearea(.t., , 't', , .f.)", "-e", ".copy u"},
                         "",
                         ".T.\nwarning 105: ",
                         1},
                        {{"-e", ".help chr"},
                         "",
                         "chr(nCode) -> cText: the character of a code 0 to 255\n  chr(65) ==> A\n",
                         0},
                        {{"-y"}, "7", TARNEL_CONSOLE ": unrecognized option", 2}};
  const Folder scratch;
  std::ofstream(scratch.path() / "script") << "x + 1\n.t.\n";
  std::ofstream(scratch.path() / "arguments") << "len(aArgs)\naArgs[2]\n";
  for (const Case& c : cases) {
    const Finished run = run_tnsh(scratch, c.arguments, c.input);
    const std::string expected = c.output;
    EXPECT_EQ(c.status, run.status) << run.output;
    EXPECT_EQ(expected,
              expected.ends_with("\n") ? run.output : run.output.substr(0, expected.size()));
  }
}

// The line with the fault, cut where it is long, and nothing of it has run.
TEST(CommandLine, AScriptTellsWhereItIsWrong) {
  const Folder scratch;
  const std::string script = "b := 1\n\n.read deep\n\tmax(\x01 +, b := 2)\nb\n1 +\n" +
                             std::string(300, '(') + "*\naeval({1, 2, 3, 4, 5}, {|n| n + \"\"})\n";
  std::ofstream(scratch.path() / "script") << script;
  std::ofstream(scratch.path() / "deep") << ".nix\n\"open\n";
  std::string shown;
  for (const std::string& line : lines_of(run_tnsh(scratch, {"script"}, "").output))
    shown += line.substr(0, line.find(";evaluating")) + "\n";
  const std::string wrong = "error 309: Syntax error in expression",
                    and_value = wrong + "\nERROR\n";
  const std::string mixed =
      "error 201: data type mismatch;only dates/numerics can be added to numerics";
  EXPECT_EQ(
      "         1\n"
      "deep:1:\nunknown command .nix, .help lists them\n"
      "deep:2:\n  \"open\n  ^\n" +
          and_value + "script:4:\n  max(? +, b := 2)\n      ^\n" + and_value +
          "         1\nscript:6:\n  1 +\n     ^\n" + and_value + "script:7:\n  " +
          std::string(160, '(') + "\n" + std::string(82, ' ') + "^\n" + wrong +
          ";yacc stack overflow\nERROR\nscript:8:\n" + mixed + "\n" + mixed + "\n" + mixed +
          "\nARRAY\n" + mixed + " (2 more times)\n",
      shown);
}

TEST(CommandLine, AFileThatReadsItselfIsAComplaint) {
  const Folder scratch;
  std::ofstream(scratch.path() / "loop") << ".read loop\n";
  const Finished run = run_tnsh(scratch, {"loop"}, "");
  EXPECT_EQ("loop:1:\nloop: files read each other too deeply\n", run.output);
  EXPECT_EQ(1, run.status);
}

}  // namespace
