// Expressions held as text, beside the same ones written with the operators in C++.
#include <benchmark/benchmark.h>

#include <string>

#include "core/blocks.h"
#include "core/core_modules.h"
#include "core/frame.h"
#include "core/operators.h"
#include "core/runtime.h"
#include "core/stacks.h"
#include "core/symbols.h"
#include "lib/lib_modules.h"
#include "macro/evaluator.h"
#include "macro/machine.h"

namespace tarnel {
namespace {

constexpr auto kModules = join_modules(kLibModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

void evaluate_in_loop(benchmark::State& state, const std::string& text) {
  for (auto _ : state) {
    const std::int32_t mark = temp_top();
    benchmark::DoNotOptimize(EXP_EVAL(text));
    POP_TEMPS(mark);
  }
}

void ArithmeticText(benchmark::State& state) {
  evaluate_in_loop(state, "a + b * 2");
}
BENCHMARK(ArithmeticText);

void ArithmeticOperators(benchmark::State& state) {
  Var *a = GET_MEMVAR("a"), *b = GET_MEMVAR("b");
  for (auto _ : state) {
    const std::int32_t mark = temp_top();
    benchmark::DoNotOptimize(csuaddu(a, csnmulu(2, 0, b, false), false));
    POP_TEMPS(mark);
  }
}
BENCHMARK(ArithmeticOperators);

void ConditionText(benchmark::State& state) {
  evaluate_in_loop(state, "upper(left(c, 3)) = \"ABC\" .and. n > 5");
}
BENCHMARK(ConditionText);

void ConditionOperators(benchmark::State& state) {
  Var *c = GET_MEMVAR("c"), *n = GET_MEMVAR("n");
  const Function upper_function = lookup_function("upper"), left_function = lookup_function("left");
  for (auto _ : state) {
    const std::int32_t mark = temp_top();
    Var* part = CALL_SIMPLE(left_function, c, TMP_INT(3));
    bool found = csifu(csuequc(CALL_SIMPLE(upper_function, part), "ABC"));
    found = found && csifu(csnltu(5, n));
    benchmark::DoNotOptimize(found);
    POP_TEMPS(mark);
  }
}
BENCHMARK(ConditionOperators);

void run_in_loop(benchmark::State& state, Var* block) {
  for (auto _ : state) {
    const std::int32_t mark = temp_top();
    benchmark::DoNotOptimize(run_block_with(block, TMP_INT(2), TMP_INT(3)));
    POP_TEMPS(mark);
  }
}

// The same expressions, once compiled.
void run_code_in_loop(benchmark::State& state, const std::string& text) {
  const CodeHold code(compile(text));
  for (auto _ : state) {
    const std::int32_t mark = temp_top();
    benchmark::DoNotOptimize(run_code(*code, text, {0, nullptr}));
    POP_TEMPS(mark);
  }
}
void ArithmeticCode(benchmark::State& state) {
  run_code_in_loop(state, "a + b * 2");
}
BENCHMARK(ArithmeticCode);
void ConditionCode(benchmark::State& state) {
  run_code_in_loop(state, "upper(left(c, 3)) = \"ABC\" .and. n > 5");
}
BENCHMARK(ConditionCode);
void ComparisonCode(benchmark::State& state) {
  run_code_in_loop(state, "n > 500");
}
BENCHMARK(ComparisonCode);

void TextBlock(benchmark::State& state) {
  run_in_loop(state, EXP_EVAL("{|a, b| a + b}"));
}
BENCHMARK(TextBlock);

Var* add_parameters(std::int32_t argc, Var** argv, Var**) {
  Procedure p("bench", "cb_1_1_1", 1, argc);
  Var* a = p.param(argv);
  Var* b = p.param(argv);
  return p.result(csuaddu(a, b, false));
}
void CompiledBlock(benchmark::State& state) {
  run_in_loop(state, TMP_BLOCK(add_parameters));
}
BENCHMARK(CompiledBlock);

// Time per byte stays the same as the text grows, here beyond what an expression may have.
void ConditionChain(benchmark::State& state) {
  std::string text = "n > 5";
  for (std::int64_t i = 1; i < state.range(0); ++i) text += ".and.n>5";
  const std::int32_t mark = temp_top();
  for (auto _ : state) {
    const CodeHold code(compile(text));
    if (!truth_of(run_code(*code, text, {0, nullptr}))) state.SkipWithError("the chain is true");
    POP_TEMPS(mark);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(ConditionChain)->Arg(10)->Arg(100)->Arg(1000);

}  // namespace
}  // namespace tarnel

int main(int argc, char** argv) {
  using namespace tarnel;
  init_macro();
  start_library({kFunctions.table(), kModules});
  SET_INT(GET_MEMVAR("a"), 1);
  SET_INT(GET_MEMVAR("b"), 2);
  SET_STR(GET_MEMVAR("c"), "abcdef");
  SET_INT(GET_MEMVAR("n"), 6);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
