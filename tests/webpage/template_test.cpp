// Statements in HTML: what goes out, in which lines it stands, what is wrong with it.
#include <gtest/gtest.h>

#include "tests/support/texts.h"
#include "tests/webpage/site.h"

namespace tarnel::testing {
namespace {

class Templates : public ::testing::Test, public Site {
 protected:
  std::string body(const std::string& text, const std::string& environment = "",
                   const std::string& form = "") {
    write("root/list.tnp", text);
    const std::string page = get("list.tnp", environment, form);
    return page.starts_with(kHeader) ? page.substr(kHeader.size()) : page;
  }
};

TEST_F(Templates, TextsAndValuesGoOutInTheOrderOfTheFile) {
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},
      {"plain & <b>\n 'x' \"y\" [z] &x. %> \xFF", "plain & <b>\n 'x' \"y\" [z] &x. %> \xFF"},
      // One line feed behind statements goes, none behind values.
      {"a\n<% x := 1 %>\nb\n<%= x %>\nc", "a\nb\n1\nc"},
      {"a\r\n<% x := 1 %>\r\n\r\nb", "a\r\n\r\nb"},
      {"a<% x := 1 %> \nb", "a \nb"},
      {"a<%-- <% x %> \n --%>\nb", "a\nb"},
      {"a <%%= x %> b<%%", "a <%= x %> b<%"},
      // The first %> outside a text ends a tag, in comments too.
      {"<% x := \"%>\" %><%= x %>", "%&gt;"},
      {"<% x := [%>]; y := {1}\n z := y[1] %><%== x %><%= z %>", "%>1"},
      {"<% // don't %>a<%= 'b' %>'", "ab'"},
      {"<% * it's %>a'", "a'"},
      {"<% && \" %>a\"", "a\""},
      {"<% x := {//} // ' %><%= empty(x) %>'", ".T.'"},
      {"<% /* ' %> */ %>", "Status: 500 Internal Server Error\n"},
      // What is shown.
      {"<%= '<a href=\"x\">&\\'' %>", "Status: 500 Internal Server Error\n"},
      {"<%= \"<'&>\" %>|<%= [\"] %>|<%== '<&>' %>", "&lt;&#39;&amp;&gt;|&quot;|<&>"},
      {"<%= 1 + 1 %>|<%= 1.5 %>|<%= 1 > 2 %>|<%= NIL %>|<%= {12/31/1999} %>|<%== 7 %>|<%= '' %>",
       "2|1.5|.F.||12/31/99|7|"},
      // Blocks span tags; blanks before a CASE are no statement.
      {"<ul>\n<% FOR i := 1 TO 2 %>\n <li><%= i %>\n<% NEXT %>\n</ul>\n",
       "<ul>\n <li>1\n <li>2\n</ul>\n"},
      {"<% DO CASE %>\n <% CASE .F. %>\na\n<% OTHERWISE\n x := 2 %>b<%= x %>\n<% ENDCASE %>",
       "b2\n"},
      {"<% IF .F. %>\na\n<% ELSE %>\nb\n<% ENDIF %>\nc", "b\nc"},
      {"<% TEXT\n a %> b\n ENDTEXT %>", "Status: 500 Internal Server Error\n"},
      {"<% TEXT\n a\nENDTEXT\n?? 'b' %>", " a\nb"},
      // Directives and commands, but no command in a value.
      {"<%\n#define TITLE 'T<'\n%>\n<h1><%= TITLE %></h1><% ?? 'x' %>", "<h1>T&lt;</h1>x"},
      {"<%\n#ifdef NONE\n%>hidden<%= nosuch( %><%\n#else\n%>seen<%\n#endif\n%>", "seen"},
      // The parameters, and procedures at the end.
      {"<%= len(aForm) %><%= valtype(aEnv) %><%= valtype(oState) %><%= procname() %>", "0AOLIST"},
      {"<% STATIC n := 2\nLOCAL m := 3 %><%= twice(n) + m %>\n<%\nFUNCTION twice(n)\nRETURN 2 * n\n"
       "%>\n  ",
       "7\n"},
      {"<%\nFUNCTION main()\nRETURN 'main'\n%>\n", ""},
      {"<%= str(5, 1) %>", "5"}};
  for (const auto& [text, expected] : cases) {
    const std::string shown = body(text);
    if (expected.starts_with("Status"))
      EXPECT_TRUE(shown.starts_with(expected)) << text << shown;
    else
      EXPECT_EQ(shown, expected) << text;
  }
}

TEST_F(Templates, FaultsHaveTheLinesOfTheFile) {
  const std::pair<std::string, std::string> cases[] = {
      {"a\n\n b <% x := 1 ", "list.tnp:3: a tag without its %>"},
      {"a\n<%-- x --> %>", "list.tnp:2: a comment without its --%>"},
      {"\n<%\n\nx := ) %>", "list.tnp:4: something isn't expected here"},
      {"\n\n<%= %>", "list.tnp:3: a tag that shows a value takes one expression"},
      {"\n<%= a; b %>", "list.tnp:2: a tag that shows a value takes one expression"},
      {"<%= 1, 2 %>", "list.tnp:1: something isn't expected here"},
      {"<%= 1), x(2 %>", "list.tnp:1: something isn't expected here"},
      {"<%= USE x %>", "list.tnp:1: something isn't expected here"},
      {"<%=\n#define x\n%>", "list.tnp:1: a tag that shows a value takes one expression"},
      {"\n<% IF .T. %>\nx", "list.tnp:3: IF of line 2 has no ENDIF"},
      {"<% FUNCTION f()\nRETURN 1 %>\n<b>",
       "list.tnp:3: procedures and classes stand behind all texts of a page"},
      {"<% FUNCTION f()\nRETURN 1 %>\n<%= 1 %>",
       "list.tnp:3: procedures and classes stand behind all that a page shows"},
      {"a\n<%= {} %>", "list.tnp:2: illegal data type"},
      {"a\n<%\nx := 1\n#include \"wrong.tnp\"\n%>", "list.tnp:4: data type mismatch"},
      {"\n<% #include \"wrong.tnp\" %>", "list.tnp:2: data type mismatch"},
      {"a\n\n<% IF .T. %>\n\n<%= 1 + {} %><% ENDIF %>", "list.tnp:5: data type mismatch"}};
  configure("show_errors = no");
  write("root/wrong.tnp", "b\n<% x := 2 %>\n\n\n\n<% x := 1 + {} %>");
  for (const auto& [text, words] : cases) {
    std::string page = body(text);
    for (const auto& [html, plain] : {std::pair{"&quot;", "\""}, {"&#39;", "'"}, {"&gt;", ">"}})
      for (std::size_t at; (at = page.find(html)) != std::string::npos;)
        page.replace(at, std::string(html).size(), plain);
    EXPECT_TRUE(holds(page, "<p>" + words + "</p>\n")) << text;
  }
}

TEST_F(Templates, PagesIncludePieces) {
  write("root/inc/head.tnp", "<title><%= cTitle %></title>\n<% nSeen := 1 %>\n");
  EXPECT_EQ(body("<%\ncTitle := 'a<b'\n#include \"inc/head.tnp\"\n%>\n<%= nSeen %>"),
            "<title>a&lt;b</title>\n1");
}

}  // namespace
}  // namespace tarnel::testing
