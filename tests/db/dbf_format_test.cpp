// The .dbf and .dbt files against bytes written by hand.
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>

#include "core/symbols.h"
#include "db/dbfidx/format/format_dbf.h"
#include "tests/db/table_test.h"

namespace tarnel::testing {
namespace {

using DbfFormat = TableTest;

std::string descriptor(std::string_view name, char type, int length, int decimals) {
  std::string d(name);
  d.resize(11, '\0');
  d += type;
  d += std::string(4, '\0');
  d += static_cast<char>(length);
  d += static_cast<char>(decimals);
  return d + std::string(14, '\0');
}

std::string header(int version, unsigned records, unsigned header_size, unsigned record_size,
                   std::string_view date) {
  return std::string(1, static_cast<char>(version)) + std::string(date) + le32(records) +
         le16(header_size) + le16(record_size) + std::string(19, '\0') + '\1';
}

std::string today() {
  const std::time_t now = std::time(nullptr);
  const std::tm* parts = std::localtime(&now);
  return {static_cast<char>(parts->tm_year), static_cast<char>(parts->tm_mon + 1),
          static_cast<char>(parts->tm_mday)};
}

TEST_F(DbfFormat, CreateWritesHeaderAndDescriptors) {
  ASSERT_TRUE(create("t", {{"name", "c", 300, 0},
                           {"born", "D", 99, 5},
                           {"amount", "N", 8, 2},
                           {"rate", "F", 12, 3},
                           {"ok", "L", 7, 0},
                           {"elevenchars", "C", 1, 0}}));
  EXPECT_EQ(read_file("t.dbf"),
            header(3, 0, 225, 331, today()) + descriptor("NAME", 'C', 300 % 256, 1) +
                descriptor("BORN", 'D', 8, 0) + descriptor("AMOUNT", 'N', 8, 2) +
                descriptor("RATE", 'F', 12, 3) + descriptor("OK", 'L', 1, 0) +
                descriptor("ELEVENCHARS", 'C', 1, 0) + '\r');
}

TEST_F(DbfFormat, MemoFieldMakesAMemoFileWithOneBlock) {
  ASSERT_TRUE(create("t", {{"note", "M", 10, 0}}));
  EXPECT_EQ(read_file("t.dbf"),
            header(0x83, 0, 65, 11, today()) + descriptor("NOTE", 'M', 10, 0) + '\r');
  const std::string memo = read_file("t.dbt");
  EXPECT_EQ(memo.size(), 512u);
  EXPECT_EQ(memo.substr(0, 4), le32(1));
}

TEST_F(DbfFormat, RecordsReadFromHandWrittenBytes) {
  write_file("t.dbf", header(3, 2, 193, 30, "\x7E\x0B\x18") + descriptor("NAME", 'C', 5, 0) +
                          descriptor("BORN", 'D', 8, 0) + descriptor("AMOUNT", 'N', 7, 2) +
                          descriptor("RATE", 'F', 8, 1) + descriptor("OK", 'L', 1, 0) + '\r' +
                          " Ann  20001231  -1.502.5e+002T" + "*Bob            +12.5nonsense?");
  ASSERT_TRUE(open("t", Use::kExclusive));
  EXPECT_EQ(get("name"), "C Ann  ");
  EXPECT_EQ(get("born"), "D 730485");
  EXPECT_EQ(get("amount"), "N -1.50");
  EXPECT_EQ(get("rate"), "F 250.0");
  EXPECT_EQ(get("ok"), "L T");
  EXPECT_FALSE(yes("deleted"));
  call("dbskip");
  EXPECT_TRUE(yes("deleted"));
  EXPECT_EQ(get("born"), "D 0");
  EXPECT_EQ(get("amount"), "N 12.50");
  EXPECT_EQ(get("rate"), "F 0.0");
  EXPECT_EQ(get("ok"), "L F");
  EXPECT_EQ(take_errors(), "");
}

// Whole numbers, fractions and exponents at every width, beside the system's conversion.
TEST(DbfNumbers, ReadAsTheSystemReadsThem) {
  std::mt19937 random(11);
  const auto up_to = [&](unsigned n) { return static_cast<int>(random() % (n + 1)); };
  for (int i = 0; i < 20000; ++i) {
    std::string field(static_cast<std::size_t>(up_to(10)), ' ');
    if (up_to(3) == 0) field += '-';
    for (int digits = up_to(18); digits > 0; --digits) field += static_cast<char>('0' + up_to(9));
    if (up_to(2) == 0) field += '.';
    for (int digits = up_to(i % 3 == 0 ? 17 : 2); digits > 0; --digits)
      field += static_cast<char>('0' + up_to(9));
    if (up_to(20) == 0) field += "e-3";
    if (up_to(5) == 0) field += up_to(1) == 0 ? " " : "*7";
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(field.data());
    EXPECT_EQ(dbf::parse_number(bytes, static_cast<int>(field.size())),
              std::strtod(field.c_str(), nullptr))
        << '"' << field << '"';
  }
}

TEST_F(DbfFormat, ValuesAreStoredAsText) {
  ASSERT_TRUE(create(
      "t",
      {{"c", "C", 4, 0}, {"d", "D", 8, 0}, {"n", "N", 7, 2}, {"f", "F", 9, 2}, {"l", "L", 1, 0}}));
  ASSERT_TRUE(open("t", Use::kExclusive));
  struct {
    const char* field;
    Var* value;
    const char* stored;
    const char* read;
  } const cases[] = {{"c", text("ab"), "ab  ", "C ab  "},
                     {"c", text("abcdef"), "abcd", "C abcd"},
                     {"d", TMP_DATE(730485), "20001231", "D 730485"},
                     {"d", empty_date(), "        ", "D 0"},
                     {"n", number(12.346, 3), "  12.35", "N 12.35"},
                     {"n", true_value(), "   1.00", "N 1.00"},
                     {"f", number(250, 0), "      250", "F 250.00"},
                     {"f", number(1.0 / 3, 2), "0.3333333", "F 0.33"},
                     {"l", true_value(), "T", "L T"},
                     {"l", integer(0), "F", "L F"}};
  for (const auto& c : cases) {
    ASSERT_TRUE(yes("dbappend"));
    put(c.field, c.value);
    EXPECT_EQ(get(c.field), c.read);
    call("dbcommit");
    const std::string file = read_file("t.dbf");
    const int at =
        table().fields[static_cast<std::size_t>(count("fieldpos", {text(c.field)}) - 1)].offset;
    const std::size_t record = file.size() - table().recordSize;
    EXPECT_EQ(file.substr(record + static_cast<std::size_t>(at), std::string_view(c.stored).size()),
              c.stored);
  }
  EXPECT_EQ(take_errors(), "");
}

TEST_F(DbfFormat, NumberTooWideLeavesBlanksAndZero) {
  ASSERT_TRUE(create("t", {{"n", "N", 5, 1}}) && open("t", Use::kExclusive));
  run("dbappend(), n := 1234.5");
  EXPECT_EQ(take_errors(),
            "205 DBFIDX:FieldPut();numeric field overflow in assign;205 (illegal field value)");
  EXPECT_EQ(get("n"), "N 0.0");
  call("dbcommit");
  EXPECT_EQ(read_file("t.dbf").substr(65), std::string("      "));
}

TEST_F(DbfFormat, VersionBytesThatOpen) {
  struct {
    int version;
    const char* error;
  } const cases[] = {
      {0x03, ""},
      {0x43, ""},
      {0x8B,
       "326 DBFIDX:Init();'dBASE IV' file format not supported;326 (Wrong version of DBF file)"},
      {0xF5, "326 DBFIDX:Init();'Fox' file format not supported;326 (Wrong version of DBF file)"},
      {0x30,
       "326 DBFIDX:Init();the file has 0x30 as version code;326 (Wrong version of DBF file)"}};
  for (const auto& c : cases) {
    write_file("v.dbf", header(c.version, 0, 65, 4, "\1\1\1") + descriptor("A", 'C', 3, 0) + '\r');
    EXPECT_EQ(open("v", Use::kExclusive), *c.error == 0) << c.version;
    EXPECT_EQ(take_errors(), c.error);
    EXPECT_EQ(yes("neterr"), *c.error != 0);
    close_all_areas();
  }
}

TEST_F(DbfFormat, MemoTextsLieInBlocks) {
  ASSERT_TRUE(create("t", {{"note", "M", 10, 0}}) && open("t", Use::kShared));
  const std::string full(512, 'x');
  run("dbappend(), note := 'first', dbappend()");
  put("note", text(full));  // two blocks: the end mark needs the second
  run("dbappend(), note := 'third', dbcommit()");
  std::string memo = read_file("t.dbt");
  ASSERT_EQ(memo.size(), 5u * 512);
  EXPECT_EQ(memo.substr(0, 4), le32(5));
  EXPECT_EQ(memo.substr(512, 6), "first\x1A");
  EXPECT_EQ(memo.substr(1024, 513), full + '\x1A');
  EXPECT_EQ(memo.substr(2048, 6), "third\x1A");
  EXPECT_EQ(read_file("t.dbf").substr(65), "          1          2          4");

  run("dbgotop(), note := 'longer, but in the room of its block'");
  EXPECT_EQ(get("note"), "M longer, but in the room of its block");
  EXPECT_EQ(run("dbgoto(3), note"), "M third");
  call("rlock");
  put("note", text(std::string(600, 'y')));  // outgrows its block and moves to the end
  call("dbcommit");
  EXPECT_EQ(read_file("t.dbf").substr(65), "          1          2          5");
  EXPECT_EQ(read_file("t.dbt").substr(0, 4), le32(7));
  EXPECT_EQ(run("note := '', dbcommit(), note"), "M ");
  EXPECT_EQ(read_file("t.dbt").substr(5 * 512, 1), "\x1A");

  // A text of whole blocks has no room for its end mark, which must not lie in another one's.
  run("dbappend(), note := 'last', dbcommit()");
  EXPECT_EQ(read_file("t.dbf").substr(98), "          7");
  put("note", text(full));
  call("dbcommit");
  EXPECT_EQ(read_file("t.dbf").substr(98), "          7") << "the last stays";
  EXPECT_EQ(read_file("t.dbt").substr(0, 4), le32(9));
  run("dbgotop(), rlock()");
  put("note", text(full));
  call("dbcommit");
  EXPECT_EQ(read_file("t.dbf").substr(65, 33), "          9          2          5") << "others move";
  EXPECT_EQ(run("dbgoto(2), note"), "M " + full);
  EXPECT_EQ(take_errors(), "");

  // What could not be read again isn't written.
  run("dbgotop(), rlock(), note := replicate('x', 65535)");
  EXPECT_EQ(run("len(note)"), "I 65535");
  run("note := replicate('x', 65536)");
  EXPECT_EQ(take_errors().substr(0, 62), "301 DBFIDX:FieldGet();memo content exceeds 65536 bytes;301 (no");
  EXPECT_EQ(run("len(note)"), "I 65535");
}

// Everything a command writes to its standard output.
std::string output_of(const char* command) {
  std::string output;
  std::FILE* pipe = popen(command, "r");
  for (int c; pipe != nullptr && (c = std::fgetc(pipe)) != EOF;) output += static_cast<char>(c);
  if (pipe != nullptr) pclose(pipe);
  return output;
}

TEST_F(DbfFormat, UnrelatedProgramReadsTheSameTable) {
  ASSERT_TRUE(create("t", {{"name", "C", 8, 0}, {"amount", "N", 9, 2}, {"n", "N", 5, 0}}));
  ASSERT_TRUE(open("t", Use::kShared));
  for (int i = 1; i <= 3; ++i) {
    call("dbappend");
    put("name", text(std::string(static_cast<std::size_t>(i), 'x')));
    put("amount", number(i * 1.25, 2));
    put("n", integer(-i));
  }
  call("dbclosearea");
  EXPECT_EQ(output_of("dbfdump -h t.dbf 2>&1 | tr -s ' '"),
            "Field 0: Type=C/String, Title=`NAME', Width=8, Decimals=0\n"
            "Field 1: Type=N/Double, Title=`AMOUNT', Width=9, Decimals=2\n"
            "Field 2: Type=N/Integer, Title=`N', Width=5, Decimals=0\n"
            "NAME AMOUNT N \n"
            "x 1.25 -1 \nxx 2.50 -2 \nxxx 3.75 -3 \n");
}

}  // namespace
}  // namespace tarnel::testing
