// Tables taken out of their files and made anew: of random structure and contents, all bytes come back, whatever set
// of characters they are said to be in.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "lib/code_pages.h"
#include "tests/support/files.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kWholePages[] = {"cp437", "latin1", "cp852",
                                       "cp866"};  // in which all bytes are characters

bool is_utf8(const std::string& text) {
  std::string ignored;
  return !tarnel::to_utf8(ignored, text, tarnel::CodePage::kUtf8);
}

class RoundTrip : public ::testing::Test, protected tarnel::testing::Folder {
 protected:
  RoundTrip() {
    for (const char* name : {"a", "b"}) fs::create_directory(path(name));
  }

  int run(const std::string& folder, const std::string& arguments) {
    return system(
        ("cd " + path(folder) + " && timeout 60 " TARNEL_CONSOLE " " + arguments).c_str());
  }
  int below(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }

  // A text of JSON for a number of bytes, any of them but the end mark of memos, or digits.
  std::string text(int bytes, bool odd) {
    std::string all = "\"";
    for (int i = 0; i < bytes; ++i) {
      const int c = odd ? (below(255) + 27) & 255 : '0' + below(10);
      char escape[8];
      snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
      all += c < ' '                 ? escape
             : c == '"' || c == '\\' ? std::string("\\") + char(c)
                                     : std::string(1, char(c));
    }
    return all + '"';
  }
  std::string value(char type, int length, int decimals) {
    if (below(5) == 0) return "null";
    switch (type) {
      case 'C':
        return text(below(length + 1), true);
      case 'M':
        return text(below(4) == 0 ? below(3000) : below(20), true);
      case 'L':
        return below(2) == 0 ? "true" : "false";
      case 'D':
        return "\"" + std::to_string(19000101 + below(28) + 100 * below(12)) + "\"";
      default: {
        std::string digits = std::to_string(below(2) == 0 ? below(10) : -below(10));
        if (decimals > 0)
          digits += "." + std::to_string(1000000 + below(1000000)).substr(1, std::size_t(decimals));
        return odd_numbers_ && below(4) == 0 ? text(length, false) : digits;
      }
    }
  }
  // A table of random fields, with an order or two.
  std::string script() {
    std::string create = ".create t", rows;
    struct Field {
      char type;
      int length, decimals;
    };
    std::vector<Field> fields;
    for (int i = 1 + below(7); i > 0; --i) {
      const char type = "CNFDLM"[below(6)];
      const bool number = type == 'N' || type == 'F';
      const int length = type == 'C'   ? 1 + below(300)
                         : number      ? 10 + below(10)
                         : type == 'L' ? 1
                                       : 8;
      fields.push_back({type, length, number ? below(6) : 0});
      create += (fields.size() > 1 ? ", F" : " F") + std::to_string(i) + ' ' + type;
      if (type == 'C' || number) create += ' ' + std::to_string(length);
      if (number) create += ' ' + std::to_string(fields.back().decimals);
    }
    for (int i = below(40); i > 0; --i) {
      rows += odd_numbers_ && below(4) == 0 ? ".row -d " : ".row ";
      const char* between = "[";
      for (const Field& field : fields) {
        rows += between + value(field.type, field.length, field.decimals);
        between = ",";
      }
      rows += "]\n";
    }
    return ".bail on\n" + create + "\n" + rows +
           "ordcondset('recno() > 2', , , , , , , , , , .T.)\nordcreate('i', , 'recno()')\n"
           "ordcreate('j', , 'str(recno())', , .T.)\nordlistadd('i')\n";
  }

  bool odd_numbers_ = true;  // and delete marks, which only a dump has
  std::mt19937 random_{20};
};

TEST_F(RoundTrip, ADumpMakesTheSameBytes) {
  for (int i = 0; i < 20; ++i) {
    const std::string lines = script();
    std::ofstream(path("a/script"), std::ios::binary) << lines << ".output ../dump\n.dump\n";
    for (const char* folder : {"a", "b"})
      for (const char* file : {"t.dbf", "t.dbt"}) fs::remove(path() / folder / file);
    ASSERT_EQ(run("a", "script > log 2>&1"), 0) << lines << read("a/log");
    ASSERT_EQ(run("b", "../dump > log 2>&1"), 0) << read("dump") << read("b/log");
    ASSERT_TRUE(is_utf8(read("dump"))) << lines;
    ASSERT_EQ(read("a/t.dbf").substr(32), read("b/t.dbf").substr(32)) << lines;
    ASSERT_EQ(read("a/t.dbt"), read("b/t.dbt")) << lines;
    const std::string orders =
        "-csv -e \".open t\" -e \"len({dbsetindex('j'), dbsetindex('i')})\" -e .orders > orders";
    ASSERT_EQ(run("a", orders) | run("b", orders), 0);
    ASSERT_EQ(read("a/orders"), read("b/orders"));
  }
}

TEST_F(RoundTrip, AnExportIsImportedAsTheSameBytes) {
  odd_numbers_ = false;
  for (int i = 0; i < 12; ++i)
    for (const std::string name : {"t.csv", "t.tsv"}) {
      for (const char* folder : {"a", "b"}) {
        fs::remove_all(path() / folder);
        fs::create_directory(path() / folder);
      }
      const std::string lines = script();
      std::ofstream(path("a/script"), std::ios::binary)
          << lines << ".once ../schema\n.schema\n.charset " << kWholePages[i % 4] << "\n.export ../"
          << name << "\n";
      ASSERT_EQ(run("a", "script > log 2>&1"), 0) << lines << read("a/log");
      ASSERT_TRUE(is_utf8(read(name)));
      std::ofstream(path("b/script"))
          << ".bail on\n"
          << read("schema").substr(0, read("schema").find('\n')) << "\n.charset "
          << kWholePages[i % 4] << "\n.import -append ../" << name << "\n";
      ASSERT_EQ(run("b", "script > log 2>&1"), 0) << lines << read("b/log");
      ASSERT_EQ(read("a/t.dbf").substr(32), read("b/t.dbf").substr(32)) << name << lines;
      ASSERT_EQ(read("a/t.dbt"), read("b/t.dbt")) << lines;
    }
}

// Any bytes are rows or complaints, and never more rows than lines.
TEST_F(RoundTrip, AnImportOfAnyBytesEnds) {
  const std::string_view pieces[] = {"\"",   ",", "\n",   "\r\n",       "\t",    "{",    "}",
                                     "[",    "]", ":",    "\\",         "\\u12", "null", "1",
                                     "-.5e", "a", "\xff", "2024-01-31", "T"};
  for (const char* name : {"t.csv", "t.tsv", "t.json"})
    for (int i = 0; i < 40; ++i) {
      std::string text = i % 2 == 0 ? "" : "{\"a\":1}\n";
      for (int n = below(60); n > 0; --n)
        text += pieces[below(static_cast<int>(std::size(pieces)))];
      fs::remove(path("a/t.dbf"));
      std::ofstream(path() / "a" / name, std::ios::binary) << text;
      const int status = run("a", std::string("-e '.import ") + name + "' > log 2>&1");
      ASSERT_TRUE(status == 0 || status == 0x100) << name << ": " << text << read("a/log");
    }
}

// What breaks an export off leaves the file that was there, and nothing else.
TEST_F(RoundTrip, AnExportThatFailsLeavesTheFormerFile) {
  std::ofstream(path("a/script"))
      << ".create t C C 250\nlen(aeval(array(20000), {|| dbappend()}))\n";
  ASSERT_EQ(run("a", "script > log"), 0);
  std::ofstream(path("a/t.csv")) << "former";
  const char* kFailing[] = {
      "t.dbf -e '.export t.csv for recno() < 30000 .and. iif(recno() = 15000, __quit(3), .t.)'",
      "t.dbf -e '.export t.csv for iif(recno() = 15000, 1 + {}, .t.)'"};
  for (const char* arguments : kFailing) {
    EXPECT_NE(run("a", arguments + std::string(" > log 2>&1")), 0) << arguments;
    EXPECT_EQ(read("a/t.csv"), "former") << arguments;
  }
  ASSERT_EQ(system(("cd " + path("") +
                    "/a && (ulimit -f 10; trap '' XFSZ; exec " TARNEL_CONSOLE
                    " t.dbf -e '.export t.csv') 2> log")
                       .c_str()),
            0x100);
  EXPECT_EQ(read("a/log"), "t.csv: file too large\n");
  EXPECT_EQ(read("a/t.csv"), "former");
  EXPECT_EQ(std::distance(fs::directory_iterator(path("a")), fs::directory_iterator()), 4);
}

}  // namespace
