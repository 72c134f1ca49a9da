// Program texts, and the statements that come out of them.
#include "lang/statements.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/file_ops.h"

#include "tests/lang/read_statements.h"

namespace tarnel::testing {
namespace {

TEST(Statements, AreWhatLinesSay) {
  const Case cases[] = {
      {"comments", "* one ;\n&& two\n// three\na /* b */ c // d\n/* e\nf */ * g\n/**/h()\n",
       "a c\nh()"},
      {"goes on", "x := a ; // why\n\n  /* so */\n * b\ny(1,;\r\n2)\r\nz ;",
       "x := a * b\ny(1, 2)\nz"},
      {"separated", "a();b() ; ; c() ; * d\n;e()\n", "a()\nb()\nc()\ne()"},
      {"a comment within, more behind it", "a ; /* x\n */ b\nc /* y\n */ d\n", "a b\nc d"},
      {"texts", "x := 'a;b' + \"//c\" + [&&d'] + `e[' \n", "x := 'a;b' + \"//c\" + [&&d'] + `e['"},
      {"subscripts", "a[1] := b [2] + c()[i] + {[1]}[1] + [x;y]\nreturn [a;b]\n return[1]",
       "a[1] := b [2] + c()[i] + {[1]}[1] + [x;y]\nreturn [a;b]\nreturn[1]"},
      {"empty date", "x := {//} + { // }\ny // }\nz{//", "x := {//} + { // }\ny\nz{"},
      {"first line of a script", "#!/usr/bin/tnsh ;\na\n", "a"},
      {"mark of UTF-8, end mark, form feed", "\xEF\xBB\xBF\f a\r\n\x1A", "a"},
      {"no line feed at the end", "a\nb", "a\nb"},
      {"nothing", "\n\n ;;\n// c", ""},
      {"stars that multiply", "x := ;\n* 2\n", "x := * 2"},
      {"numbers", "1.and.2 .5 .t.", "1.and.2 .5 .t."},
  };
  for (const Case& c : cases) EXPECT_EQ(c.statements, read(c.text)) << c.name;
  using namespace std::string_literals;
  EXPECT_EQ("a\0b \1"s, read("a\0b \1\n"s));
}

TEST(Statements, TellWhatHasNoEndAndGoOn) {
  EXPECT_EQ(
      "a\nb\n"
      "x.prg:2:4: error: a text without its closing '\n"
      "\tx 'abc ;\n"
      "\t  ^\n"
      "x.prg:5:3: error: a comment without its */\n"
      "b /* c\n"
      "  ^\n",
      read("a\n\tx 'abc ;\n 'd ;\n 'e\nb /* c\n"));
}

TEST(Statements, StandWhereTheirBytesStand) {
  SourceFiles files;
  Diagnostics diagnostics(files);
  StatementReader reader(files, diagnostics);
  reader.open(files.add("x.prg", "a\n  b /**/ c;\n\n\td\nTEXT\n * raw ;\r\n\nendtext\n"));
  PlacedText statement;
  ASSERT_TRUE(reader.next(statement) && reader.next(statement));
  ASSERT_EQ("b c d", statement.text());
  const Place places[] = {{0, 2, 3}, {0, 2, 10}, {0, 2, 10}, {0, 4, 2}, {0, 4, 2}, {0, 4, 3}};
  for (std::size_t i = 0; i < std::size(places); ++i)
    EXPECT_EQ(places[i], statement.place_at(i)) << i << ' ' << statement.place_at(i).column;
  EXPECT_EQ((Place{0, 2, 3}), statement.start());

  ASSERT_TRUE(reader.next(statement));
  std::string_view line;
  Place place;
  ASSERT_TRUE(reader.raw_line(line, place));
  EXPECT_EQ(" * raw ;", line);
  EXPECT_EQ((Place{0, 6, 1}), place);
  ASSERT_TRUE(reader.raw_line(line, place));
  EXPECT_EQ("", line);
  ASSERT_TRUE(reader.next(statement));
  EXPECT_EQ("endtext", statement.text());
  EXPECT_FALSE(reader.raw_line(line, place));
}

TEST(Diagnostics, CutLinesRoundTheColumnAndStopAtTwenty) {
  SourceFiles files;
  Diagnostics diagnostics(files);
  const std::string wide = std::string(200, '.') + "\t\xC3\xA4\x01!" + std::string(200, '.');
  files.add("x.prg", wide + "\nshort");
  diagnostics.error({0, 1, 205}, "no \x1B word");
  EXPECT_EQ("x.prg:1:205: error: no ? word\n" + std::string(76, '.') + "\t\xC3\xA4?!" +
                std::string(79, '.') + '\n' + std::string(76, ' ') + "\t  ^\n",
            diagnostics.text());
  for (int i = 0; i < 19; ++i) diagnostics.error({0, 2, 99}, "e");
  EXPECT_TRUE(diagnostics.text().ends_with("x.prg:2:99: error: e\nshort\n     ^\n"));
  EXPECT_FALSE(diagnostics.full());
  for (int i = 0; i < 3; ++i) diagnostics.error({0, 2, 1}, "e");
  EXPECT_TRUE(diagnostics.full() && diagnostics.text().ends_with("^\nmore errors\n"));
}

TEST(SourceFiles, AreReadOnceMoreWhenTheyChangeMeanwhile) {
  static const FileOps real = file_ops();
  static int looks, changes;
  file_ops().fstat = [](int fd, struct stat* status) {
    const int result = real.fstat(fd, status);
    if (++looks % 2 == 0 && changes-- > 0) status->st_mtim.tv_nsec ^= 1;
    return result;
  };
  const Folder folder;
  folder.write("x.prg", "a\n");
  const int fd = open(folder.path("x.prg").c_str(), O_RDONLY);
  const std::pair<int, std::string> cases[] = {
      {0, ""}, {1, ""}, {2, "is changed while it is read"}};
  for (const auto& [times, expected] : cases) {
    SourceFiles files;
    looks = 0;
    changes = times;
    std::string fault;
    EXPECT_EQ(expected.empty() ? 0 : -1, files.read_open(fd, "x.prg", fault));
    EXPECT_EQ(expected, fault);
  }
  close(fd);
  file_ops() = real;
}

TEST(SourceFiles, RefuseWhatIsNoProgram) {
  const Folder folder;
  SourceFiles files;
  const auto refused = [&](const std::string& name) {
    std::string fault;
    EXPECT_EQ(-1, files.read(name, fault)) << name;
    return fault;
  };
  EXPECT_EQ("is a folder", refused(folder.path("")));
  EXPECT_EQ("is a device", refused("/dev/zero"));
  mkfifo(folder.path("pipe").c_str(), 0600);
  EXPECT_EQ("is a pipe", refused(folder.path("pipe")));
  EXPECT_EQ("can't be read: No such file or directory", refused(folder.path("none.prg")));
  folder.write("large.prg", "");
  std::filesystem::resize_file(folder.path("large.prg"), kLargestSource + 1);
  EXPECT_EQ("has more than 16 MiB", refused(folder.path("large.prg")));
  std::filesystem::resize_file(folder.path("large.prg"), kLargestSource);
  for (int i = 0; i < 4; ++i) {
    std::string fault;
    EXPECT_EQ(0, files.read(folder.path("large.prg"), fault)) << fault;
  }
  EXPECT_EQ("makes the program larger than 64 MiB", refused(folder.path("large.prg")));
}

}  // namespace
}  // namespace tarnel::testing
