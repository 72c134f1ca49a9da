// Procedures: parameters, results, the chain, sequences, error handling.
#include "core/blocks.h"
#include "core/error_object.h"
#include "core/operators.h"
#include "core/sequence.h"
#include "core/symbols.h"
#include "tests/support/test_runtime.h"

namespace tarnel::testing {
namespace {

class Procedures : public RuntimeTest {};

struct BindCase {
  char letter;
  Var* argument;
  const char* shown;
  char sclass;
  const char* error;
};

TEST_F(Procedures, ParametersTakeTheirDeclaredTypeAndClass) {
  Var* caller = NEW_TEMP();
  caller->sclass = 'N';
  SET_STR(caller, "abc", -1);
  const BindCase cases[] = {
      {'U', TMP_INT(1), "I 1", 'N', ""},
      {'N', TMP_INT(1), "I 1", 'S', ""},
      {'L', TMP_NUM(2, 0), "N 2", 'S', ""},
      {'C', nullptr, "C ", 's', ""},
      {'D', nullptr, "D 0", 'S', ""},
      {'U', nullptr, "U", 'N', ""},
      {'U', caller, "C abc", 'N', ""},
      {'U', int_one(), "I 1", 'T', ""},
      {'N', caller, "N 0", 'S',
       "201 for parameter #1;expected N - received C;defaulting to empty parameter of type N"},
      {static_cast<char>('N' | kQuiet), caller, "N 0", 'S', ""},
  };
  for (const BindCase& c : cases) {
    Frame frame;
    BEGIN_PROC(&frame, "test", "bind", 1, c.argument != nullptr ? 1 : 0);
    Var* argv[] = {c.argument};
    const Var* bound = BIND_PARAM(frame.argc, 0, argv, c.letter);
    EXPECT_EQ(show(bound), c.shown) << c.letter;
    EXPECT_EQ(bound->sclass, c.sclass) << c.letter;
    EXPECT_EQ(take_errors(), c.error) << c.letter;
    END_PROC(&frame, 'U');
  }
  EXPECT_EQ(show(caller), "C abc");
}

TEST_F(Procedures, AResultOutlivesTheProcedureAndAWrongTypeIsReported) {
  const std::int32_t before = temp_top();
  Var* result;
  {
    Procedure p("test", "gives", 1, 0);
    Var* local = p.local('C');
    SET_STR(local, "kept", -1);
    result = p.result(local, 'N');
  }
  EXPECT_EQ(show(result), "C kept");
  EXPECT_EQ(temp_top(), before + 1);
  EXPECT_EQ(take_errors(), "201 Illegal return type, expected N - received C");
}

TEST_F(Procedures, LoopsKeepParametersAndDropIntermediates) {
  Procedure p("test", "loops", 1, 0);
  Var* sum = p.local();
  SET_INT(sum, 0);
  const std::int32_t top = temp_top();
  for (int i = 0; i < 1000; ++i) {
    CPY_VAR(sum, csnaddu(1, 0, sum, false));
    p.next_iteration(3);
    ASSERT_EQ(temp_top(), top);
  }
  EXPECT_EQ(show(p.result(sum)), "I 1000");
}

TEST_F(Procedures, TheChainSkipsHiddenFrames) {
  Procedure outer("outer_module", "outer", 10, 0);
  Procedure hidden("library", "hidden", -1, 0);
  Procedure inner("inner_module", "inner", 20, 3);
  EXPECT_EQ(show(CALL_SIMPLE(procname)), "C INNER");
  EXPECT_EQ(show(CALL_SIMPLE(procname, TMP_INT(1))), "C OUTER");
  EXPECT_EQ(show(CALL_SIMPLE(modulename, TMP_INT(1))), "C OUTER_MODULE");
  EXPECT_EQ(show(CALL_SIMPLE(procline, TMP_INT(1))), "I 10");
  EXPECT_EQ(show(CALL_SIMPLE(procname, TMP_INT(2))), "C ");
  EXPECT_EQ(show(CALL_SIMPLE(pcount)), "I 3");
  inner.end();
  hidden.end();
  outer.end();
}

Var* null_function(std::int32_t, Var**) {
  return nullptr;
}

TEST_F(Procedures, NullResultsBecomeErrors) {
  EXPECT_EQ(CALL_SIMPLE(null_function), error_value());
  EXPECT_EQ(take_errors(), "320 function returned zero pointer");
}

// {|n| nCount += n} on a detached local
Var* counting_block(std::int32_t argc, Var** argv, Var** locals) {
  Procedure p("test", "cb_1_1_1", 1, argc);
  Var* n = p.param(argv);
  return p.result(csuaddu(locals[0], n, true));
}

TEST_F(Procedures, DetachedLocalsSurviveTheirProcedureAndAreSharedByItsBlocks) {
  Var *first, *second;
  {
    Procedure p("test", "counter", 1, 0);
    Var* count = p.local();
    SET_INT(count, 10);
    Var* pair =
        cscrearr(NEW_TEMP(), 2, kCopyValues,
                 {TMP_BLOCK(counting_block, &count, 1), TMP_BLOCK(counting_block, &count, 1)});
    pair = p.result(pair);
    first = element(pair, 1);
    second = element(pair, 2);
  }
  run_block_with(first, TMP_INT(5));
  EXPECT_EQ(show(run_block_with(second, TMP_INT(1))), "I 16");
  EXPECT_EQ(show(CALL_SIMPLE(eval, second, TMP_INT(1))), "I 17");
  EXPECT_EQ(CALL_SIMPLE(eval, TMP_INT(1)), error_value());
  EXPECT_EQ(take_errors(), "312 in EVAL()");
}

TEST_F(Procedures, ABreakRestoresFrameLevelAndStacks) {
  const std::int32_t level = activation_level();
  Frame* frame = current_frame();
  Var* broken = in_sequence([] {
    Procedure p("test", "breaks", 1, 0);
    Var* nested = in_sequence([] { break_sequence(TMP_TEXT("inner")); });
    EXPECT_EQ(show(nested), "C inner");
    EXPECT_TRUE(inside_sequence());
    break_sequence(TMP_INT(42));
  });
  ASSERT_NE(broken, nullptr);
  EXPECT_EQ(show(broken), "I 42");
  EXPECT_EQ(current_frame(), frame);
  EXPECT_EQ(activation_level(), level);
  EXPECT_FALSE(inside_sequence());
  EXPECT_EQ(in_sequence([] {}), nullptr);
}

class ErrorObjects : public RuntimeTest {
 protected:
  ErrorObjects() { set_error_caller(raise_error_object); }
};

std::vector<std::string> handled;
Var* handler(std::int32_t argc, Var** argv, Var**) {
  Procedure p("test", "cb_1_2_1", 2, argc);
  Var* error = p.param(argv);
  handled.push_back(std::string(text_of(get_ivar(error, "description"))) + " in " +
                    std::string(text_of(CALL_SIMPLE(procname, TMP_INT(1)))));
  return p.result(false_value());
}

TEST_F(ErrorObjects, TheBlockReceivesTheErrorAndTheRunGoesOn) {
  handled.clear();
  CALL_SIMPLE(errorblock, TMP_BLOCK(handler));
  Procedure p("test", "fails", 5, 0);
  EXPECT_EQ(csuaddc(int_one(), "x", false), error_value());
  RT_ERROR(902, "a notice without the developer option");
  set_error_threshold(700);
  RT_ERROR(902, "a notice with it");
  RT_ERROR(321, "never shown");
  p.end();
  const std::vector<std::string> expected = {
      "data type mismatch;strings can only be concatenated to strings in FAILS",
      "(warning);a notice with it in FAILS"};
  EXPECT_EQ(handled, expected);
  EXPECT_EQ(errors_in_progress(), 0);
}

TEST_F(ErrorObjects, DescriptionsAreSplitAndShortened) {
  const std::string long_word(100, 'w');
  const std::string cut = std::string(56, 'w') + " ... " + std::string(15, 'w');
  const std::string head(60, 'a'), tail(60, 'b');
  const std::pair<std::string, std::string> cases[] = {
      {"plain", "Illegal type;plain"},
      {"two\nlines", "Illegal type;two;lines"},
      {long_word, "Illegal type;" + cut},
      // The comma at position 2 is less than the three lines: the line breaks behind it.
      {"a," + long_word + ";x;y", "Illegal type;a,;" + cut + ";x;y"},
      {head + "," + tail,
       "Illegal type;" + (head + "," + tail).substr(0, 56) + " ... " + std::string(15, 'b')},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(error_description(317, text), expected);
}

TEST_F(ErrorObjects, ErrorblockIgnoresWhatIsNoBlock) {
  CALL_SIMPLE(errorblock, TMP_BLOCK(handler));
  Var* current = CALL_SIMPLE(errorblock, TMP_INT(5));
  EXPECT_EQ(current->function, handler);
  EXPECT_EQ(CALL_SIMPLE(errorblock)->function, handler);
}

using ErrorObjectsDeathTest = ErrorObjects;

Var* failing_handler(std::int32_t argc, Var**, Var**) {
  Procedure p("test", "cb_1_3_1", 3, argc);
  RT_ERROR(317, "again");
  return p.end();
}

TEST_F(ErrorObjectsDeathTest, ErrorsInsideErrorsEndInTheFatalReport) {
  EXPECT_EXIT(
      {
        CALL_SIMPLE(errorblock, TMP_BLOCK(failing_handler));
        RT_ERROR(317, "first");
      },
      ::testing::ExitedWithCode(1), "FATAL ERROR in module test 3: cb_1_3_1");
}

TEST_F(ErrorObjectsDeathTest, BreakOutsideASequenceEndsTheRun) {
  EXPECT_EXIT(
      {
        set_error_caller([](const RaisedError& e) {
          fprintf(stderr, "%d %.*s", e.code, static_cast<int>(e.text.size()), e.text.data());
        });
        break_sequence(nil_value());
      },
      ::testing::ExitedWithCode(1), "335 Break without a BEGIN SEQUENCE");
}

}  // namespace
}  // namespace tarnel::testing
