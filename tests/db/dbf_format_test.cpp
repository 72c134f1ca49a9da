// The .dbf and .dbt files against bytes written by hand.
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>

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
  const char* fields = "name + dtos(born) + str(amount) + str(rate)";
  EXPECT_EQ(run(fields), "C Ann  20001231  -1.50   250.0");
  EXPECT_EQ(run("ok .and. !deleted()"), "L T");
  call("dbskip");
  EXPECT_EQ(run(fields), "C Bob            12.50     0.0");
  EXPECT_EQ(run("ok .or. !deleted()"), "L F");
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
  run("aeval({'x', 'xx', 'xxx'}, {|x, i| dbappend(), name := x, amount := i * 1.25, n := -i})");
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
