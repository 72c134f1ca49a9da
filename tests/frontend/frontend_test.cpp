// The form decoder, the toolkit's output, the state object, the parts of the error page.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "core/classes.h"
#include "core/error_object.h"
#include "core/output.h"
#include "frontend/account.h"
#include "frontend/error_page.h"
#include "frontend/escaped_toolkit.h"
#include "frontend/form.h"
#include "frontend/log.h"
#include "frontend/state_object.h"
#include "frontend/toolkit.h"
#include "lib/url.h"
#include "tests/support/test_runtime.h"

namespace tarnel::testing {
namespace {

class FrontEnd : public RuntimeTest {};

// --- Form.

std::string fields_of(const std::string& body, std::int32_t length) {
  int ends[2];
  if (pipe(ends) != 0) return "no pipe";
  write_fully(ends[1], body);
  close(ends[1]);
  FormReader reader(ends[0], length);
  std::string field, all;
  while (reader.next(field)) all += "[" + decode_url(field) + "]";
  close(ends[0]);
  return all;
}

TEST_F(FrontEnd, BodiesAreCutIntoFieldsByTheLengthThatWasSaid) {
  const struct {
    const char* body;
    std::int32_t length;
    const char* fields;
  } cases[] = {{"a=1&b=2", 7, "[a=1][b=2]"},
               {"a=1&&b=2", 8, "[a=1][][b=2]"},
               {"a=1&", 4, "[a=1]"},
               {"a=1&b=2", 5, "[a=1][b]"},
               {"a=1", 0, ""},
               // A body that ends early leaves the mark of its end behind.
               {"a=1", 10, "[a=1\xFF]"},
               {"a=1&", 10, "[a=1][\xFF]"}};
  for (const auto& c : cases) EXPECT_EQ(fields_of(c.body, c.length), c.fields) << c.body;
}

TEST_F(FrontEnd, EscapesGiveBytesAlsoWhenTheyAreBroken) {
  const std::pair<std::string, std::string> cases[] = {
      {"a%3Db=c", "a=b=c"}, {"1+%2B+2", "1 + 2"}, {"%e5%E4", "\xE5\xE4"},
      {"x%", "x\xD0"},      {"x%4", "x\x10"},     {"%00z", std::string("\0z", 2)},
      {"%zz", "\x53"},      {"100%25", "100%"},   {"%+1%1+", std::string("\1\0", 2)}};
  for (const auto& [sent, decoded] : cases) EXPECT_EQ(decode_url(sent), decoded) << sent;
}

TEST_F(FrontEnd, LengthsAreReadAsNumbersWithinBounds) {
  const std::pair<const char*, std::int32_t> cases[] = {
      {nullptr, 0}, {"", 0}, {"x", 0}, {"-3", 0}, {"12x", 12}, {"99999999999999999999", INT32_MAX}};
  for (const auto& [text, length] : cases) EXPECT_EQ(content_length(text), length);
}

TEST(Form, ABodyThatIsTooLongEndsAtAWholeField) {
  std::FILE* body = std::tmpfile();
  const std::string half = "a=" + std::string(kMostBodyBytes / 2, 'x');
  for (const char* end : {"&b=1&", "", "&c=1"}) std::fputs((half + end).c_str(), body);
  std::rewind(body);
  FormReader reader(fileno(body), kMostBodyBytes + 20);
  std::string field;
  ASSERT_TRUE(reader.next(field));
  EXPECT_EQ(field, half);
  ASSERT_TRUE(reader.next(field));
  EXPECT_EQ(field, "b=1");
  EXPECT_FALSE(reader.next(field));
  EXPECT_EQ(lseek(fileno(body), 0, SEEK_CUR), kMostBodyBytes) << "no more is read";
  std::fclose(body);
}

TEST_F(FrontEnd, LoggedTextsActOnlyOnDirectivesWithoutArguments) {
  errno = ENOENT;
  EXPECT_EQ(plain_format("100%% %m %s%n %"), "100% No such file or directory %s%n %");
}

TEST_F(FrontEnd, AccountsAreNamedByTheFileThenByTheProgramInTime) {
  const std::filesystem::path directory = ::testing::TempDir() + "accounts";
  std::filesystem::create_directories(directory);
  const auto script = [&](const char* name, const char* text) {
    const std::string path = directory / name;
    std::ofstream(path) << "#!/bin/sh\n" << text;
    chmod(path.c_str(), 0755);
    return path;
  };
  const std::string answers =
                        script("answers", "[ \"$1 $3\" = 'passwd ' ] && echo \"u$2:x:$2:\"\n"),
                    hangs = script("hangs", "exec sleep 20\n"),
                    floods = script("floods", "exec yes\n");
  const std::string file = directory / "passwd";
  std::ofstream(file) << "root:x:0:0::/:/bin/sh\n\nbroken\n#off:x:1702:\n+:x:1702:\nzed:x:1703\n"
                      << "two:1702:17031:0::/:\nlong:x:1704:0:" << std::string(9000, 'x')
                      << "\neve:x:1705:0::/:\n"
                      << std::string(4090, 'y') << "\nada:x:1700:100:Ada:/home:/bin/sh";
  const struct {
    uid_t uid;
    const char* file;
    const char* programs[2];
    int patience;
    const char* name;
  } cases[] = {{1700, file.c_str(), {answers.c_str(), "/none"}, 9000, "ada"},
               {1701, file.c_str(), {answers.c_str(), "/none"}, 9000, "u1701"},
               {1702, file.c_str(), {answers.c_str(), "/none"}, 9000, "u1702"},
               {1703, file.c_str(), {answers.c_str(), "/none"}, 9000, "u1703"},
               {1704, file.c_str(), {"/none", "/none"}, 9000, "long"},
               {1705, file.c_str(), {"/none", "/none"}, 9000, "eve"},
               {1701, "/none", {"/none", answers.c_str()}, 9000, "u1701"},
               {1701, "/none", {"/none", "/none"}, 9000, "1701"},
               {4294967294U, "/none", {hangs.c_str(), "/none"}, 200, "4294967294"},
               {7, "/none", {floods.c_str(), "/none"}, 9000, "7"}};
  for (const auto& c : cases)
    EXPECT_EQ(
        account_name(
            c.uid, {c.file, {c.programs[0], c.programs[1]}, std::chrono::milliseconds(c.patience)}),
        c.name);
}

// --- Toolkit.

std::string written;

std::string output_of(Var* (*procedure)(std::int32_t, Var**), std::vector<Var*> arguments) {
  written.clear();
  set_output_tee([](std::string_view text) { written += text; });
  CALL_VECTOR(procedure, static_cast<std::int32_t>(arguments.size()), arguments.data());
  set_output_tee(nullptr);
  return written;
}

Var* texts(std::initializer_list<const char*> list) {
  Var* made = cscreara(NEW_TEMP(), 0, kAllNil);
  for (const char* text : list) CALL_SIMPLE(aadd, made, TMP_STR(text));
  return made;
}

TEST_F(FrontEnd, TheToolkitWritesItsFixedForms) {
  Var* rows = cscrearr(NEW_TEMP(), 2, kCopyValues, {texts({"a", "b"}), texts({})});
  const struct {
    Callable procedure;
    std::vector<Var*> arguments;
    const char* text;
  } cases[] = {
      {tnhtml, {}, "<HTML>\n"},
      {tnhtml, {TMP_STR("T")}, "<HTML>\n<TITLE>T</TITLE><BR>\n"},
      {tnline, {TMP_INT(5)}, "<BR>\n"},
      {tnline, {TMP_STR("x")}, "x<BR>\n"},
      {tnem, {TMP_STR("x")}, "<EM>x</EM>\n"},
      {tnlink, {TMP_STR("u"), TMP_STR("t")}, "<A HREF=\"u\">t</A>\n"},
      {tnimage, {TMP_STR("s")}, "<IMG=\"s\" ALT=\"[image here]\">\n"},
      {tnlist, {texts({"a"}), true_value()}, "<OL>\n<LI>a\n</OL>\n"},
      {tnlist, {texts({})}, "<UL>\n</UL>\n"},
      {tntable,
       {rows, TMP_STR("c")},
       "<TABLE CAPTION='c'>\n<TR>\n<TD>a</TD>\n<TD>b</TD>\n</TR>\n<TR>\n</TR>\n</TABLE>\n"},
      {tntable, {texts({})}, "<TABLE>\n</TABLE>\n"},
      {tnesc, {TMP_STR("<b>")}, "&lt;b&gt;\n"},
      {tnelist, {texts({"<a>"}), true_value()}, "<OL>\n<LI>&lt;a&gt;\n</OL>\n"},
      {tnelink, {TMP_STR("?q=\"&x"), TMP_STR("<")}, "<A HREF=\"?q=&quot;&amp;x\">&lt;</A>\n"},
      {tnelink, {TMP_STR(" java\tScript:alert(1)"), TMP_STR("x")}, "<A HREF=\"#\">x</A>\n"},
      {tnelink, {TMP_STR("HTTPS://a/b:c"), TMP_STR("x")}, "<A HREF=\"HTTPS://a/b:c\">x</A>\n"},
      {tnelink, {TMP_STR("/a:b"), TMP_STR("x")}, "<A HREF=\"/a:b\">x</A>\n"},
      {tnefield,
       {TMP_STR("n"), TMP_STR("\">")},
       "<INPUT TYPE=TEXT NAME=\"n\" VALUE=\"&quot;&gt;\" SIZE=20>\n"},
      {tneoption,
       {TMP_STR("<"), nil_value(), true_value()},
       "<OPTION VALUE=\"&lt;\" SELECTED>&lt;</OPTION>\n"},
      {tnetable, {texts({}), TMP_STR("<c>")}, "<TABLE>\n<CAPTION>&lt;c&gt;</CAPTION>\n</TABLE>\n"}};
  for (const auto& c : cases) EXPECT_EQ(output_of(c.procedure, c.arguments), c.text);
  EXPECT_EQ(take_errors(), "");
}

TEST_F(FrontEnd, ValuesThatAreNoTextsFailInTheConcatenation) {
  output_of(tnem, {TMP_INT(1)});
  EXPECT_EQ(take_errors().substr(0, 47), "201 strings can only be concatenated to strings");
}

TEST_F(FrontEnd, LookupFindsUpperCaseNamesOnly) {
  Var* pairs =
      cscrearr(NEW_TEMP(), 2, kCopyValues, {texts({"PATH_INFO", "/x"}), texts({"low", "1"})});
  EXPECT_EQ(show(CALL_SIMPLE(tnlookup, pairs, TMP_STR(" path_info "))), "C /x");
  EXPECT_EQ(show(CALL_SIMPLE(tnlookup, pairs, TMP_STR("low"))), "C ");
  EXPECT_EQ(show(CALL_SIMPLE(tnlookup, texts({}), TMP_STR("X"))), "C ");
}

// --- State object.

TEST_F(FrontEnd, TheStateObjectKeepsNamesAndGivesThemBack) {
  Var* state = CALL_SIMPLE(tnstate);
  EXPECT_EQ(show(get_ivar(state, "state")), "N 0");
  EXPECT_EQ(show(get_ivar(state, "foo")), "U");
  EXPECT_EQ(show(put_ivar(state, "Foo", TMP_INT(1))), "I 1");
  put_ivar(state, "FOO", TMP_INT(2));
  EXPECT_EQ(show(get_ivar(state, "fOO")), "C foo");
  EXPECT_EQ(element_count(get_ivar(state, "adata")), 2);
  EXPECT_EQ(take_errors(), "");
}

// --- Error page.

TEST_F(FrontEnd, PrintableFormsByType) {
  const std::pair<Var*, const char*> cases[] = {
      {TMP_NUM(1.5, 2), "C 1.5"},   {TMP_INT(7), "C 7"},
      {TMP_STR("x"), "C x"},        {TMP_LOG(true), "C .T."},
      {texts({}), "C <array>"},     {true_block(), "C <block>"},
      {nil_value(), "C <unknown>"}, {CALL_SIMPLE(errornew), "C <object>"}};
  for (const auto& [value, text] : cases) EXPECT_EQ(show(CALL_SIMPLE(x2c, value)), text);
}

std::string thrown;
Var* catching_block(std::int32_t argc, Var** argv, Var**) {
  Procedure p("test", "cb_1_1_1", 1, argc);
  Var* error = p.param(argv);
  for (const char* name : {"subsystem", "subcode", "severity", "descriptio"})
    thrown += show(get_ivar(error, name)) + ",";
  return p.result(false_value());
}

TEST_F(FrontEnd, ThrownErrorsReachTheErrorBlockWithTheirDefaults) {
  CALL_SIMPLE(errorblock, TMP_BLOCK(catching_block));
  CALL_SIMPLE(throwerror, TMP_STR("X"), TMP_INT(1));
  EXPECT_EQ(thrown, "C X,I 1,I 2,C <no description available>,");
}

}  // namespace
}  // namespace tarnel::testing
