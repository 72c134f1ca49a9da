// The core beside the same work in plain C++ on a tagged union with std::string.
#include <benchmark/benchmark.h>

#include <string>
#include <variant>
#include <vector>

#include "core/core_modules.h"
#include "core/frame.h"
#include "core/operators.h"

namespace {

using namespace tarnel;

constexpr auto kModules = join_modules(kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

using Plain = std::variant<std::monostate, double, std::int32_t, std::string>;

Var* variable(Var* temp) {
  temp->sclass = 'N';
  return temp;
}

constexpr const char* kText = "a text of some length";

void AssignNumberCell(benchmark::State& state) {
  Var *a = variable(NEW_TEMP()), *b = variable(TMP_NUM(1.5, 1));
  for (auto _ : state) benchmark::DoNotOptimize(CPY_VAR(a, b));
}
void AssignNumberPlain(benchmark::State& state) {
  Plain a, b = 1.5;
  for (auto _ : state) benchmark::DoNotOptimize(a = b);
}
void AssignTextCell(benchmark::State& state) {
  Var *a = variable(NEW_TEMP()), *b = variable(TMP_TEXT(kText));
  for (auto _ : state) benchmark::DoNotOptimize(CPY_VAR(a, b));
}
void AssignTextPlain(benchmark::State& state) {
  for (Plain a, b = std::string(kText); auto _ : state) {
    Plain fresh = b;
    benchmark::DoNotOptimize(a = std::move(fresh));
  }
}

void AddNumbersCell(benchmark::State& state) {
  Var *a = variable(TMP_NUM(1, 0)), *b = variable(TMP_NUM(2, 0));
  const std::int32_t mark = temp_top();
  for (auto _ : state) {
    benchmark::DoNotOptimize(csumulu(csuaddu(a, b, false), b, false));
    POP_TEMPS(mark);
  }
}
Plain plain_add(const Plain& a, const Plain& b) {
  if (const auto* x = std::get_if<double>(&a), *y = std::get_if<double>(&b); x && y) return *x + *y;
  return {};
}
Plain plain_multiply(const Plain& a, const Plain& b) {
  if (const auto* x = std::get_if<double>(&a), *y = std::get_if<double>(&b); x && y) return *x * *y;
  return {};
}
void AddNumbersPlain(benchmark::State& state) {
  Plain a = 1.0, b = 2.0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    benchmark::DoNotOptimize(plain_multiply(plain_add(a, b), b));
  }
}

void ConcatenateCell(benchmark::State& state) {
  Var *a = variable(TMP_TEXT(kText)), *b = variable(TMP_TEXT(kText));
  const std::int32_t mark = temp_top();
  for (auto _ : state) {
    benchmark::DoNotOptimize(csuaddu(csuaddc(a, ", ", false), b, false));
    POP_TEMPS(mark);
  }
}
void ConcatenatePlain(benchmark::State& state) {
  Plain a = std::string(kText), b = std::string(kText);
  for (auto _ : state)
    benchmark::DoNotOptimize(Plain(std::get<std::string>(a) + ", " + std::get<std::string>(b)));
}

void CompareTextsCell(benchmark::State& state) {
  Var *a = variable(TMP_TEXT(kText)), *b = variable(TMP_TEXT(kText));
  for (auto _ : state) benchmark::DoNotOptimize(csuequu(a, b));
}
void CompareTextsPlain(benchmark::State& state) {
  Plain a = std::string(kText), b = std::string(kText);
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    benchmark::DoNotOptimize(a == b);
  }
}

void ArrayAccessCell(benchmark::State& state) {
  Var* list = cscreara(variable(NEW_TEMP()), 1000, kAllNil);
  std::int32_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(csgetarr(list, 1 + (i++ & 511)));
}
void ArrayAccessPlain(benchmark::State& state) {
  std::vector<Plain> list(1000);
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(&list.at(1 + (i++ & 511)));
}

void ArrayGrowthCell(benchmark::State& state) {
  const std::int32_t mark = temp_top();
  for (auto _ : state) {
    Var* list = cscreara(NEW_TEMP(), 0, kAllNil);
    Var* item = variable(TMP_NUM(1, 0));
    for (int i = 0; i < 1000; ++i) CALL_SIMPLE(aadd, list, item);
    POP_TEMPS(mark);
  }
}
void ArrayGrowthPlain(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<Plain> list;
    for (int i = 0; i < 1000; ++i) list.emplace_back(1.0);
    benchmark::DoNotOptimize(list);
  }
}

[[gnu::noinline]] Var* called(std::int32_t argc, Var** argv) {
  Procedure p("bench", "called", 1, argc);
  Var* a = p.param(argv, 'N');
  Var* b = p.param(argv, 'N');
  p.param(argv);
  p.param(argv);
  LINE_HOOK(3);
  return p.result(csuaddu(a, b, false));
}
void CallCell(benchmark::State& state) {
  Var* text = variable(TMP_TEXT("x"));
  const std::int32_t mark = temp_top();
  for (auto _ : state) {
    benchmark::DoNotOptimize(CALL_SIMPLE(called, TMP_NUM(1, 0), TMP_NUM(2, 0), text, nil_value()));
    POP_TEMPS(mark);
  }
}
[[gnu::noinline]] Plain plain_called(Plain a, Plain b, const Plain&, const Plain&) {
  return plain_add(a, b);
}
void CallPlain(benchmark::State& state) {
  Plain text = std::string("x"), nil;
  for (auto _ : state) benchmark::DoNotOptimize(plain_called(1.0, 2.0, text, nil));
}

#define PAIR(name)       \
  BENCHMARK(name##Cell); \
  BENCHMARK(name##Plain)
PAIR(AssignNumber);
PAIR(AssignText);
PAIR(AddNumbers);
PAIR(Concatenate);
PAIR(CompareTexts);
PAIR(ArrayAccess);
PAIR(ArrayGrowth);
PAIR(Call);

}  // namespace

int main(int argc, char** argv) {
  start_library({kFunctions.table(), kModules});
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
