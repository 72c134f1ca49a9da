// Procedures: parameters, results, the chain, sequences, error handling.
#include "core/blocks.h"
#include "core/error_object.h"
#include "core/memvars.h"
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
  Var* others = error_class().make();
  others->sclass = 'N';
  const BindCase cases[] = {
      {'U', TMP_INT(1), "I 1", 'N', ""},
      {'N', TMP_INT(1), "I 1", 'S', ""},
      {'L', TMP_NUM(2, 0), "N 2", 'S', ""},
      {'C', nullptr, "C ", 's', ""},
      {'D', nullptr, "D 0", 'S', ""},
      {'U', nullptr, "U", 'N', ""},
      {'U', caller, "C abc", 'N', ""},
      {'U', int_one(), "I 1", 'N', ""},
      {'A', ARG_VAR(others), "A 0", 'S',
       "201 for parameter #1;expected A - received O;defaulting to empty parameter of type A"},
      {'N', caller, "N 0", 'S',
       "201 for parameter #1;expected N - received C;defaulting to empty parameter of type N"},
      {static_cast<char>('N' | kQuiet), caller, "N 0", 'S', ""}};
  for (const BindCase& c : cases) {
    Frame frame;
    BEGIN_PROC(&frame, "test", "bind", 1, c.argument != nullptr ? 1 : 0);
    Var* argv[] = {c.argument};
    const Var* bound = BIND_PARAM(frame.argc, 0, argv, c.letter);
    POP_TEMPS(frame.temp_mark);  // as a loop of the procedure does
    EXPECT_EQ(show(bound), c.shown) << c.letter;
    EXPECT_EQ(bound->sclass, c.sclass) << c.letter;
    EXPECT_EQ(take_errors(), c.error) << c.letter;
    END_PROC(&frame, nil_value(), 'U');
  }
  EXPECT_EQ(show(caller), "C abc");
  EXPECT_GT(element_count(others), 2);

  Procedure p("test", "macro_parameters", 1, 2);
  Var* empty_slot[] = {nullptr, TMP_INT(2)};
  for (std::int32_t i = 0; i < 3; ++i) BIND_MACRO_PARAM(TMP_TEXT("xparam"), 2, i, empty_slot);
  EXPECT_EQ(show(GET_MEMVAR("xparam")), "U");
  p.end();
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

TEST_F(Procedures, AResultIsTheOneTemporaryLeftWhereverItLay) {
  Var* (*const results[])() = {
      [] { return csuaddu(TMP_NUM(1, 0), TMP_NUM(2, 0), false); },  // of two the lower
      [] { return NEW_TEMP(), NEW_TEMP(), SET_NUM(NEW_TEMP(), 3, 0); },
      [] { return NEW_TEMP(), SET_NUM(NEW_TEMP(), 3, 0); },
      [] {
        Var* const bound = SET_NUM(NEW_VAR('T', 'U'), 3, 0);
        PUSH_VARSTACK(ADD_SYMBOL("bound_result"), bound);
        return bound;
      }};
  const std::int32_t before = temp_top(), bindings = varstack_top();
  for (const auto& result_of : results) {
    Procedure p("test", "gives", 1, 0);
    const Var* const result = p.result(result_of());
    EXPECT_EQ(show(result), "N 3");
    EXPECT_EQ(result->refs, 1U);
    ASSERT_EQ(temp_top(), before + 1);
    EXPECT_EQ(temp_at(before), result);
    EXPECT_EQ(varstack_top(), bindings);
    POP_TEMPS(before);
  }
  EXPECT_EQ(show(Procedure("test", "gives", 1, 0).end()), "U");
  EXPECT_EQ(temp_top(), before + 1);
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
  EXPECT_EQ(show(CALL_SIMPLE(procfile, TMP_INT(1))), "C OUTER_MODULE");
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

// Overwrites the native stack that a break has left, then breaks itself.
Var* scorching_axit(std::int32_t argc, Var** argv) {
  Procedure p("test", "axit", 1, argc);
  p.self(argv);
  volatile char scratch[1 << 14];
  for (volatile char& c : scratch) c = 0x55;
  break_sequence(TMP_TEXT("out of a destructor"));
}
Var* breaking_method(std::int32_t argc, Var** argv) {
  Procedure p("test", "leave", 1, argc);
  p.self(argv);
  break_sequence(p.param(argv));
}
Var* breaking_block(std::int32_t argc, Var** argv, Var**) {
  Procedure p("test", "cb_1_4_1", 4, argc);
  break_sequence(p.param(argv));
}
constexpr MethodEntry kMethods[] = {{"axit", scorching_axit}, {"leave", breaking_method}};
const ClassDescriptor& scorching_class() {
  static const ClassDescriptor descriptor("scorching", {}, kMethods);
  return descriptor;
}

// A procedure that binds a private and calls itself; `leave` runs in the deepest one.
Var* dive(int depth, void (*leave)()) {
  Procedure p("test", "dive", 1, 0);
  CPY_VAR(symbol_var(DECLARE_PRIVATE(ADD_SYMBOL("xdive"))), scorching_class().make());
  if (depth > 0)
    dive(depth - 1, leave);
  else
    leave();
  return p.end();
}

struct FailingGuard {
  ~FailingGuard() { RT_ERROR(102, "in a guard"); }
};

TEST_F(Procedures, ABreakRestoresFrameLevelAndStacksFromWhereverItComes) {
  struct Road {
    const char* name;
    void (*leave)();
  };
  const Road roads[] = {{"procedure", [] { break_sequence(TMP_INT(42)); }},
                        {"block", [] { run_block_with(TMP_BLOCK(breaking_block), TMP_INT(42)); }},
                        {"method", [] { send(scorching_class().make(), "leave", TMP_INT(42)); }},
                        {"error block", [] { RT_ERROR(317, "in a procedure"); }},
                        {"guard", [] {
                           const FailingGuard guard;
                           break_sequence(TMP_INT(42));
                         }}};
  Var* variable = GET_MEMVAR("xdive");
  SET_INT(variable, 7);
  set_error_caller(raise_error_object);
  Var* old_block = CALL_SIMPLE(errorblock);
  for (const Road& road : roads) {
    Procedure p("test", "outer", 1, 0);
    CALL_SIMPLE(errorblock, TMP_BLOCK(breaking_block));
    const std::int32_t level = activation_level(), temps = temp_top(), vars = varstack_top();
    Var* broken = in_sequence([&] {
      Var* nested = in_sequence([&] { dive(30, road.leave); });
      EXPECT_TRUE(inside_sequence());
      break_sequence(nested);
    });
    ASSERT_NE(broken, nullptr);
    EXPECT_EQ(show(broken), road.name == std::string("error block") ? "O" : "I 42") << road.name;
    EXPECT_EQ(current_frame(), &p.frame()) << road.name;
    EXPECT_EQ(activation_level(), level) << road.name;
    EXPECT_EQ(temp_top(), temps + 1) << road.name;
    EXPECT_EQ(varstack_top(), vars) << road.name;
    EXPECT_EQ(errors_in_progress(), 0) << road.name;
    EXPECT_EQ(GET_MEMVAR("xdive"), variable) << road.name;
    EXPECT_FALSE(inside_sequence());
    p.end();
  }
  CALL_SIMPLE(errorblock, old_block);
  EXPECT_EQ(in_sequence([] {}), nullptr);
}

class ErrorObjects : public RuntimeTest {
 protected:
  ErrorObjects() { set_error_caller(raise_error_object); }
};

TEST_F(ErrorObjects, ReportsShowTheSubcodeTrimmed) {
  const std::pair<int, std::string> cases[] = {
      {0, ""}, {-9999, ";SUB"}, {7, ";SUB (7)"}, {999, ";SUB (999)"}, {1000, ";SUB (***)"}};
  Var* error = CALL_SIMPLE(errornew);
  put_ivar(error, "severity", int_one());
  put_ivar(error, "gencode", TMP_INT(7));
  put_ivar(error, "filename", TMP_TEXT("a.dbf"));
  put_ivar(error, "subsystem", TMP_TEXT("SUB"));
  for (const auto& [subcode, expected] : cases) {
    put_ivar(error, "subcode", TMP_INT(subcode));
    EXPECT_EQ(error_report(error), "I/O error   7 in a.dbf;" + expected);
  }
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

}  // namespace
}  // namespace tarnel::testing
