// What the unit tests of all folders share: a runtime that is up, a record of raised errors, and
// the short way to build cells and read them.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/arrays.h"
#include "core/errors.h"
#include "core/frame.h"
#include "core/modules.h"
#include "core/runtime.h"
#include "core/settings.h"
#include "core/stacks.h"
#include "core/var.h"

namespace tarnel::testing {

struct Raised {
  int code;
  int severity;
  std::string text;
};

inline std::vector<Raised>& raised_errors() {
  static std::vector<Raised> list;
  return list;
}

inline void record_error(const RaisedError& e) {
  if (e.always || error_entry(e.code).level >= error_threshold())
    raised_errors().push_back({e.code, e.severity, std::string(e.text)});
}

// "201 text; 312 text" of what was raised since the last call, "" for nothing.
inline std::string take_errors() {
  std::string all;
  for (const Raised& e : raised_errors()) {
    if (!all.empty()) all += "; ";
    all += std::to_string(e.code) + " " + e.text;
  }
  raised_errors().clear();
  return all;
}

// Starts the runtime before the first test; to be named by a global: `const auto* runtime =
// start_before_tests({kFunctions.table(), kModules});`
inline ::testing::Environment* start_before_tests(const Program& program,
                                                  void (*setup)() = nullptr) {
  struct Start : ::testing::Environment {
    Start(const Program& p, void (*s)()) : program(p), setup_hook(s) {}
    void SetUp() override {
      runtime_hooks().setup = setup_hook;
      start_library(program);
      set_error_caller(record_error);
    }
    Program program;
    void (*setup_hook)();
  };
  return ::testing::AddGlobalTestEnvironment(new Start(program, setup));
}

// Leaves no temporaries, settings or errors of one test to the next.
class RuntimeTest : public ::testing::Test {
 protected:
  RuntimeTest() : mark_(temp_top()) {
    raised_errors().clear();
    set_error_caller(record_error);
    reset_settings();
    set_error_threshold(800);
  }
  ~RuntimeTest() override { POP_TEMPS(mark_); }

 private:
  std::int32_t mark_;
};

// "I 5", "N 1.50", "C abc", "L T", "D 719163", "A 3", or the bare type letter.
inline std::string show(const Var* v) {
  switch (v->type) {
    case 'C':
    case 'M':
      return std::string(1, v->type) + " " + std::string(text_of(v));
    case 'N':
    case 'F':
      return format_text("%c %.*f", v->type, static_cast<int>(v->decimals), v->num);
    case 'I':
      return format_text("I %d", v->i);
    case 'L':
      return v->i != 0 ? "L T" : "L F";
    case 'D':
      return format_text("D %d", v->i);
    case 'A':
      return format_text("A %d", element_count(v));
    default:
      return std::string(1, v->type);
  }
}

}  // namespace tarnel::testing
