// Calls a builtin by name with plain values, for tables of cases.
#pragma once

#include <ostream>
#include <string>
#include <variant>
#include <vector>

#include "core/modules.h"
#include "tests/support/test_runtime.h"

namespace tarnel::testing {

struct Date {
  std::int32_t day;
};
struct Memo {
  std::string text;
};
struct Computed {  // a number without a display width
  double value;
  int decimals;
};
struct Sized {  // a number with a display width
  double value;
  int width, decimals;
};
struct Nil {};
using Arg =
    std::variant<const char*, std::string, int, double, bool, Date, Memo, Computed, Sized, Nil>;

inline Var* cell_of(const Arg& arg) {
  struct Make {
    Var* operator()(const char* text) const { return TMP_TEXT(text); }
    Var* operator()(const std::string& text) const { return TMP_TEXT(text); }
    Var* operator()(int value) const { return TMP_INT(value); }
    Var* operator()(double value) const { return TMP_NUM(value, 2); }
    Var* operator()(bool value) const { return TMP_LOG(value); }
    Var* operator()(Date date) const { return TMP_DATE(date.day); }
    Var* operator()(const Memo& memo) const {
      Var* cell = TMP_TEXT(memo.text);
      cell->type = 'M';
      return cell;
    }
    Var* operator()(Computed n) const { return TMP_NUM(n.value, n.decimals); }
    Var* operator()(Sized n) const {
      Var* cell = TMP_NUM(n.value, n.decimals);
      cell->length = n.width;
      return cell;
    }
    Var* operator()(Nil) const { return nil_value(); }
  };
  return std::visit(Make{}, arg);
}

inline Var* call_cell(const char* name, const std::vector<Arg>& args) {
  std::vector<Var*> argv;
  for (const Arg& arg : args) argv.push_back(cell_of(arg));
  argv.push_back(nullptr);
  return GET_FUNC(name)(static_cast<std::int32_t>(args.size()), argv.data());
}

// The result as show() writes it, and behind " !" the errors raised.
inline std::string call(const char* name, const std::vector<Arg>& args) {
  std::string text = show(call_cell(name, args));
  if (const std::string errors = take_errors(); !errors.empty()) text += " !" + errors;
  return text;
}

// One row of a table: a call and what it gives.
struct Case {
  const char* name;
  std::vector<Arg> args;
  std::string expected;
};

inline void check(const std::vector<Case>& cases) {
  int row = 0;
  for (const Case& c : cases) {
    const std::int32_t mark = temp_top();
    EXPECT_EQ(call(c.name, c.args), c.expected) << c.name << "(), row " << row;
    POP_TEMPS(mark);
    ++row;
  }
}

class LibTest : public RuntimeTest {};

}  // namespace tarnel::testing
