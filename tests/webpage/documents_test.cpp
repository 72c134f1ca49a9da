// What docs/pages.md shows works, and tells of all that pages call.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/support/files.h"
#include "tests/support/texts.h"
#include "tests/webpage/site.h"
#include "webpage/page_functions.h"

namespace tarnel::testing {
namespace {

std::string document() {
  return read_file(TARNEL_SOURCE_DIR "/docs/pages.md");
}

class Documents : public ::testing::Test, public Site {};

// The lines that are indented behind a text, without their indent.
std::string block_behind(const std::string& text, const std::string& before) {
  std::size_t at = text.find("\n\n", text.find(before)) + 2;
  std::string block;
  for (std::size_t end; (end = text.find('\n', at)) != std::string::npos; at = end + 1) {
    const std::string line = text.substr(at, end - at);
    if (!line.starts_with("    ")) break;
    block += line.substr(4) + "\n";
  }
  return block;
}

TEST_F(Documents, FunctionsDoWhatTheirExamplesSay) {
  const std::string text = document();
  for (const FunctionEntry& entry : kPageBuiltins) {
    if (entry.usage == nullptr) continue;
    const std::string usage = entry.usage, example = entry.example, arrow = " ==> ";
    EXPECT_TRUE(holds(text, "| `" + usage.substr(0, usage.find(": ")) + "` |")) << usage;
    const std::size_t at = example.find(arrow);
    write("root/example.tnp", "<%\nx := " + example.substr(0, at) + "\n%>\n<%= x %>");
    const std::string page = get("example.tnp");
    EXPECT_EQ(page.substr(page.find("\n\n") + 2), example.substr(at + arrow.size())) << example;
  }
}

TEST_F(Documents, TheFirstPageStoresAGuest) {
  const std::string text = document(), make = block_behind(text, "## From an empty folder");
  const std::string command = make.substr(make.find("tnsh -e") + 4);
  ASSERT_EQ(std::system(("cd " + path("") + " && " TARNEL_CONSOLE + command).c_str()), 0);
  const std::string page = block_behind(text, "Then `pages/index.tnp`:");
  EXPECT_GT(page.size(), 500U);
  write("root/index.tnp", page);
  const std::string town = "&town=Lund", letter = "%C3%A9";
  for (const std::string& name : {std::string("Ada+%3Cb%3E"), repeat(letter, 30)})
    EXPECT_TRUE(post("index.tnp", "name=" + name + town).starts_with("Status: 303 See Other\n"));
  const std::string guests = get("index.tnp");
  EXPECT_TRUE(holds(guests, "<li>Ada &lt;b&gt;, Lund</li>\n"));
  for (const std::string& fields :
       {town, "name=b&town=c" + town, "name=b&name=c" + town, "name=b&town=" + repeat(letter, 31),
        "name=" + repeat(letter, 31) + town})
    EXPECT_TRUE(holds(post("index.tnp", fields), "A name has from 1 to 30 letters")) << fields;
  EXPECT_TRUE(
      holds(get("index.tnp", "REQUEST_METHOD=POST", "name=Forged"), "isn&#39;t one of this visit"));
  const std::string after = get("index.tnp");
  EXPECT_EQ(after.substr(after.find("<ul>")), guests.substr(guests.find("<ul>")))
      << "none was added";
}

}  // namespace
}  // namespace tarnel::testing
