// What transcripts can't show: limits, stacks, areas and the use of the evaluator from C++.
#include <string>

#include "core/blocks.h"
#include "core/core_modules.h"
#include "core/memvars.h"
#include "core/sequence.h"
#include "core/symbols.h"
#include "lib/lib_modules.h"
#include "macro/compiler.h"
#include "macro/evaluator.h"
#include "macro/expand.h"
#include "tests/support/fail_allocation.h"
#include "tests/support/test_runtime.h"
#include "tests/support/texts.h"

namespace tarnel::testing {
namespace {

Var* break_out(std::int32_t argc, Var** argv) {
  break_sequence(argc > 0 ? argv[0] : nil_value());
}

constexpr FunctionEntry kTestFunctions[] = {{"break_out", break_out, nullptr}};
constexpr ModuleRecord kTestModule{.name = "test", .functions = kTestFunctions};
constexpr std::array kTestModules = {&kTestModule};
constexpr auto kModules = join_modules(kTestModules, kLibModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);
const auto* runtime = start_before_tests({kFunctions.table(), kModules}, init_macro);

class Evaluator : public RuntimeTest {};
class Expander : public RuntimeTest {};

std::string value_of(const std::string& text) {
  return show(EXP_EVAL(text));
}

void set_text(const char* name, const std::string& text) {
  SET_STR(GET_MEMVAR(name), text);
}

TEST_F(Evaluator, NestsToTheLimitAndSaysSoBeyond) {
  struct Nesting {
    const char *open, *close;
  };
  const Nesting cases[] = {{"(", ")"},        {"{", "}"},      {"- ", ""},    {"! ", ""},
                           {"iif(.t.,", ")"}, {"max(1,", ")"}, {"{|| ", "}"}, {"nest := ", ""}};
  SET_INT(GET_MEMVAR("nest"), 0);
  for (const Nesting& c : cases) {
    const int most = kDeepestNesting - 1;
    EXP_EVAL(repeat(c.open, most) + "1" + repeat(c.close, most));
    EXPECT_EQ("", take_errors()) << c.open;
    EXPECT_TRUE(is_error(EXP_EVAL(repeat(c.open, most + 1) + "1" + repeat(c.close, most + 1))));
    EXPECT_TRUE(take_errors().starts_with("309 yacc stack overflow\nevaluating expression:\n--> "))
        << c.open;
  }
}

TEST_F(Evaluator, ChainsAreNoNesting) {
  EXPECT_EQ("L T", value_of(".t." + repeat(" .and. .t.", 400)));
  EXPECT_EQ("I 1001", value_of("1" + repeat("+1", 1000)));
  EXPECT_EQ("", take_errors());
}

TEST_F(Evaluator, TakesFourThousandNinetySixBytes) {
  EXPECT_EQ("I 1", value_of("1" + std::string(4095, ' ')));
  EXPECT_EQ("", take_errors());
  EXPECT_EQ("E", value_of("1" + std::string(4096, ' ')));
  EXPECT_TRUE(take_errors().ends_with("; 319 trying to macroexpand the expression"));
}

TEST_F(Evaluator, LeavesOneTemporaryWhateverHappens) {
  set_text("v", "text");
  for (const char* text :
       {"1", "v", "v + 'x'", "{1, {2}, {|| 3}}", "1 + 'x'", "((", "nosuch()",
        "upper(left(v, 2)) + v", "eval({|x| x + x}, 'ab')", "iif(.t., {1}[1], 2)"}) {
    const std::int32_t before = temp_top();
    EXP_EVAL(text);
    EXPECT_EQ(before + 1, temp_top()) << text;
  }
}

TEST_F(Evaluator, OddTextsAreErrorsOnly) {
  EXPECT_TRUE(is_error(EXP_EVAL(std::string_view())));
  EXPECT_EQ("407 EXP_EVAL", take_errors());
  EXPECT_EQ("C ", value_of(""));
  EXPECT_EQ("C " + std::string("a\0b", 3), value_of(std::string("'a\0b'", 5)));
  EXPECT_EQ("", take_errors());
  EXPECT_EQ("E", value_of(std::string("1\0", 2)));
  EXPECT_EQ("E", value_of("\xff\xfe"));
  EXPECT_EQ("E", value_of("  "));
  take_errors();
}

// What is done twice: the second run meets names that are found, and constants that the first one used.
// The console asks for a fault first; a text that is evaluated does what stands before it.
TEST_F(Evaluator, FaultsAreFoundWithoutRunning) {
  struct Case {
    const char* text;
    int at;  // -1: none
    bool unfinished;
  };
  for (const Case& c : {Case{"1 + 2", -1, false},
                        {"1 +", 3, true},
                        {"max(1, {|| 2 + ", 15, true},
                        {"'abc", 0, true},
                        {"1 + [abc", 4, true},
                        {"1 + ) (", 4, false},
                        {"f() := 1", 4, false},
                        {"{|x| x * }", 9, false},
                        {"1 ~ 2", 2, false},
                        {"&nothing )", -1, false}}) {
    const auto fault = find_syntax_fault(c.text);
    EXPECT_EQ(c.at, fault ? static_cast<int>(fault->at) : -1) << c.text;
    EXPECT_EQ(c.unfinished, fault && fault->unfinished) << c.text;
  }
  EXPECT_EQ("", take_errors());
  for (const char* text : {"none.b", "none:5", "none[1"}) {
    EXPECT_TRUE(is_error(EXP_EVAL(text)));
    EXPECT_TRUE(take_errors().starts_with("307 ")) << text;
  }
}

TEST_F(Evaluator, CodeRunsAgainAsBefore) {
  GET_MEMVAR("t");
  Var* block =
      EXP_EVAL("{|p| t := 5, ++t, t++, p := 'ab', p += 'c', {5, t, p, 7++, 'x' + 'y', later}[p2]}");
  SET_INT(GET_MEMVAR("p2"), 1);
  EXPECT_EQ("E", show(run_block_with(block, TMP_INT(9))));
  take_errors();
  for (const char* later : {"first", "again"}) {
    set_text("later", later);
    for (int i = 1; i <= 6; ++i) {
      const std::string expected[] = {"I 5", "I 7",  "C abc",
                                      "I 7", "C xy", "C " + std::string(later)};
      SET_INT(GET_MEMVAR("p2"), i);
      EXPECT_EQ(expected[i - 1], show(run_block_with(block, TMP_INT(9))));
    }
    FORGET_NAME("later");
    GET_MEMVAR("other");  // may take the index
  }
  EXPECT_EQ("E", show(run_block_with(block, TMP_INT(9))));
  EXPECT_TRUE(take_errors().starts_with("307 access of undefined variable later"));
}

// Each of these ends the variable, element or array that an operand before it stands for.
TEST_F(Evaluator, OperandsOutliveWhatIsEvaluatedAfterThem) {
  struct Case {
    const char *text, *value;
  };
  const Case cases[] = {
      {"a[1] + eval({|| a := 0, 'x'})", "C long enough for the heapx"},
      {"a[1] + eval({|| __mclear(), 'y'})", "C long enough for the heapy"},
      {"a[1] + eval({|| asize(a, 0), 'z'})", "C long enough for the heapz"},
      {"a[2][eval({|| a := 0, 1})]", "I 5"},
      {"a[1] := eval({|| a := 0, 'new'})", "C new"},
      {"eval({|p, q| p}, @a[1], a := 0)", "C long enough for the heap"},
      {"len(a) + eval({|| a := 0, 1})", "I 3"},
  };
  for (const Case& c : cases) {
    GET_MEMVAR("a");
    EXP_EVAL("a := {'long enough for the heap', {5}}");
    EXPECT_EQ(c.value, value_of(c.text)) << c.text;
    EXPECT_EQ("", take_errors());
  }
}

TEST_F(Evaluator, ABreakLeavesTheEvaluatorReady) {
  Var* broken = in_sequence([] { EXP_EVAL("1 + eval({|x| {x, break_out(x)}}, 'out')"); });
  ASSERT_NE(nullptr, broken);
  EXPECT_EQ("C out", show(broken));
  EXPECT_EQ("I 3", value_of("eval({|x| x + 1}, 2)"));
}

TEST_F(Evaluator, TextBlocksRunFromCode) {
  Var* block = ogmakecb("1 + 2");
  EXPECT_EQ("I 3", show(run_block_with(block)));
  EXPECT_EQ("E", show(ogmakecb("1 }, {|| 2")));
  EXPECT_EQ("I 7", show(run_block_with(EXP_EVAL("{|x, y| x + y}"), TMP_INT(3), TMP_INT(4))));
  Var* variable = GET_MEMVAR("blockvar");
  CPY_VAR(variable, block);
  CPY_VAR(variable, nil_value());
  EXPECT_EQ("I 3", show(run_block_with(block)));  // the text belongs to both until the last
  take_errors();
}

TEST_F(Evaluator, EveryAllocationMayFail) {
  const std::string texts[] = {
      "len({" + repeat("1,", 600) + "1})",
      "a := {'element', {2, {3, 'inner'}}}",
      "aclone(a)",
      "aeval(array(30), {|x, i| aadd(a, 'element ' + str(i))})",
      "long := long + replicate('x', 500) + long - ' '",
      "afill(asize(a, 40), long)",
      "eval({|x, y| upper(x) + y}, 'one ', long)",
      "&macro + substr('&macro', 1)",
      "{'a', errornew()}[2]:descriptio := long",
      "__mvprivate('n1', 'n2', 'n3', 'n4') = nil .and. len(asort({3, 1, 2})) = 3",
      "1 + 'x'",
  };
  set_text("macro", "long");
  set_text("long", "a text that finds no room in the cell itself");
  GET_MEMVAR("a");
  // The exit road of a run that has no memory still runs procedures.
  runtime_hooks().close_areas = [] {
    for (int i = 0; i < 600; ++i) TMP_TEXT("on the exit road");
    DECLARE_PRIVATE(ADD_SYMBOL("leaving"));
  };
  for (const std::string& text : texts) {
    const std::uint64_t count = fail_each_allocation(
        text, [] {}, [&] { EXP_EVAL(text); },
        [&] {
          EXP_EVAL(text);
          return take_errors().find("301") == std::string::npos &&
                 value_of("len({1, 'two'}) + eval({|x| x}, 3)") == "I 5";
        },
        [] {});
    EXPECT_GT(count, 0U) << text;
    EXP_EVAL(text);
  }
  runtime_hooks().close_areas = nullptr;
  take_errors();
}

TEST_F(Expander, QuotesHideMacros) {
  set_text("a", "x");
  struct Case {
    const char *source, *target;
  };
  const Case cases[] = {
      {"&a.b &a b", "xb x b"},
      {"'&a' \"&a\"", "'&a' \"&a\""},
      {"[&a] x[&a]", "[&a] x[x]"},
      {"`&a\"&a' &a", "`&a\"&a' x"},
      {"\"'&a\" &a", "\"'&a\" x"},
      {"&nosuch.&", "&nosuch.&"},
      {"&A", "x"},
      {"", ""},
  };
  for (const Case& c : cases) {
    std::string target = "old";
    EXPECT_TRUE(EXPAND_MACRO(c.source, target, kExpandLimit, kLeaveUnknown));
    EXPECT_EQ(c.target, target);
  }
  EXPECT_EQ("", take_errors());
}

TEST_F(Expander, CountsWhatIsReadAndWhatIsInserted) {
  set_text("a", "12345");
  std::string target;
  EXPECT_TRUE(EXPAND_MACRO("&a.", target, 8, kLeaveUnknown));
  EXPECT_FALSE(EXPAND_MACRO("&a.", target, 7, kLeaveUnknown));
  EXPECT_EQ("315 Macro evaluation of '&a.'", take_errors());
  set_text("b", "<&a.&a>");
  Var* cell = EXPAND_MACRO("&b", NEW_TEMP(), kExpandLimit, kUnknownIsError);
  EXPECT_EQ("C <1234512345>", show(cell));
  EXPECT_EQ(13, cell->length);
  EXPECT_EQ(nullptr, EXPAND_MACRO("&b &nosuch", cell, kExpandLimit, kUnknownIsError));
  EXPECT_EQ("307 'nosuch' in macro evaluation of '&b &nosuch'", take_errors());
  EXPECT_EQ("C ", show(expand_macro_operand(int_one(), kLeaveUnknown)));
  EXPECT_EQ("312 when expanding macro, should be character to evaluate", take_errors());
}

// Forty variables that each name the next one twice: the work is bounded, the depth counter falls.
TEST_F(Expander, DoublingIsBoundedAndLeavesNoTrace) {
  for (int i = 0; i < 40; ++i)
    set_text(format_text("dbl%d", i).c_str(), format_text("&dbl%d.&dbl%d", i + 1, i + 1));
  set_text("dbl40", "");
  std::string target;
  EXPECT_FALSE(EXPAND_MACRO("&dbl0", target, kExpandLimit, kUnknownIsError));
  EXPECT_TRUE(take_errors().starts_with("315 "));
  set_text("loop", "&loop");
  for (int i = 0; i < 300; ++i) EXPECT_TRUE(EXPAND_MACRO("&loop", target, kExpandLimit, 0));
  EXPECT_TRUE(take_errors().starts_with("314 Macro evaluation of '&loop'; 314 "));
  set_text("a", "x");
  EXPECT_TRUE(EXPAND_MACRO("&a", target, kExpandLimit, 0));
  EXPECT_EQ("x", target);
}

}  // namespace
}  // namespace tarnel::testing
