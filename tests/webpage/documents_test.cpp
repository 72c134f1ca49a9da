// What docs/pages.md shows works, and tells of all that pages call.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "tests/webpage/site.h"
#include "webpage/page_functions.h"

namespace tarnel::testing {
namespace {

std::string document() {
  std::ifstream in(TARNEL_SOURCE_DIR "/docs/pages.md", std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
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
    EXPECT_NE(text.find("| `" + usage.substr(0, usage.find(": ")) + "` |"), std::string::npos)
        << usage;
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
  const std::string first = get("index.tnp"), mark = "Set-Cookie: tnvisitor=";
  const std::string cookie = " REQUEST_METHOD=POST HTTP_COOKIE=tnvisitor=" +
                             first.substr(first.find(mark) + mark.size(), 32);
  const std::string field = "name=\"tntoken\" value=\"";
  const std::string token = "&tntoken=" + first.substr(first.find(field) + field.size(), 64);
  EXPECT_TRUE(get("index.tnp", cookie, "name=Ada+%3Cb%3E&town=Lund" + token)
                  .starts_with("Status: 303 See Other\n"));
  EXPECT_NE(get("index.tnp").find("<li>Ada &lt;b&gt;, Lund</li>\n"), std::string::npos);
  EXPECT_NE(get("index.tnp", cookie, "name=Forged").find("isn&#39;t one of this visit"),
            std::string::npos);
  EXPECT_EQ(get("index.tnp").find("Forged"), std::string::npos);
}

}  // namespace
}  // namespace tarnel::testing
