// What is wrong with statements and commands, and where.
#include "lang/program.h"

#include "tests/lang/read_statements.h"
#include "tests/support/texts.h"

namespace tarnel::testing {
namespace {

TEST(Faults, AreToldWhereStatementsStopToBeOnes) {
  const Fault faults[] = {
      {"local a, b, a", "2:13", "a is declared already (the first ten characters count)"},
      {"if a > (1\nendif", "2:10", "the expression lacks its end"},
      {"x := 1 +", "2:9", "the expression lacks its end"},
      {"if a\nendif x", "3:7", "\"x\" isn't expected here"},
      {"for i := 1 to\nnext", "2:14", "the statement lacks its end"},
      {"a := @b", "2:6", "\"@\" isn't expected here"},
      {"f(@b[1])", "2:8", "only a variable goes by reference"},
      {"do case\ny := 1\nendcase", "3:1", "a statement between DO CASE and its first CASE"},
      {"do case\ncase .t. ;\n .and. ]\nendcase", "4:8", "\"]\" isn't expected here"},
      {"\"abc", "2:1", "a text without its closing \""},
      {"next", "2:1", "NEXT without FOR"},
      {"loop", "2:1", "LOOP outside of a loop"},
      {"d := {13/45/99}", "2:6", "this is no date"},
      {"private p[3 ~ 4]", "2:13", "\"~\" isn't expected here"},
      {"procedure customer_number\nprocedure customer_name", "3:1",
       "a second procedure customer_name, after that of line 2 (the first ten characters count)"},
      {"while .t.\nif .t.", "3:1", "IF of line 3 has no ENDIF"},
      {"while .t.\nif .t.", "3:1", "DO WHILE of line 2 has no ENDDO"},
      {"class c\nvar x\nprocedure after", "2:1", "CLASS of line 2 has no ENDCLASS"},
      {"replace name with 1 + * 2 for k = 1", "2:23", "\"*\" isn't expected here"},
      {"seek \"abc\" + )", "2:14", "\")\" isn't expected here"},
      {"locate for 1 + +", "2:17", "the expression lacks its end"},
      {"index on upper(name + to x", "2:27", "the statement lacks its end"},
      {"store 1 + to x", "2:14", "\"x\" isn't expected here"},
      {"replace a with 3 ;\n 3", "3:2", "\"3\" isn't expected here"},
      {"delete for a b", "2:14", "\"b\" isn't expected here"},
      {"sum a, b + to c", "2:15", "\"c\" isn't expected here"},
      {"set softseek maybe", "2:14", "\"maybe\" isn't expected here"},
      {"go 1 +", "2:7", "the expression lacks its end"},
      {"seek", "2:5", "the statement lacks its end"},
      {"count for a", "2:12", "the statement lacks its end"},
  };
  for (const Fault& fault : faults) {
    std::string told;
    EXPECT_EQ(nullptr,
              LoadedProgram::of_text("x.prg", std::string("procedure main\n") + fault.text, told));
    EXPECT_TRUE(holds(told, fault.line())) << fault.text;
  }
}

}  // namespace
}  // namespace tarnel::testing
