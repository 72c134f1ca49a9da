// The library's functions beside the nearest call of the standard library.
#include <benchmark/benchmark.h>
#include <nettle/sha2.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "core/arrays.h"
#include "core/core_modules.h"
#include "core/operators.h"
#include "core/runtime.h"
#include "core/settings.h"
#include "core/stacks.h"
#include "lib/dates.h"
#include "lib/lib_modules.h"
#include "lib/web_texts.h"

namespace {

using namespace tarnel;

constexpr auto kModules = join_modules(kCoreModules, kLibModules, kBorrowedModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);
constexpr std::size_t kMegabyte = 1 << 20;

void start() {
  static const bool started = (start_library({kFunctions.table(), kModules}), true);
  benchmark::DoNotOptimize(started);
}

template <typename... Args>
void measure(benchmark::State& state, Callable function, Args*... args) {
  Var* argv[] = {args..., nullptr};
  const std::int32_t mark = temp_top();
  for (auto _ : state) {
    benchmark::DoNotOptimize(function(static_cast<std::int32_t>(sizeof...(args)), argv));
    POP_TEMPS(mark);
  }
}

std::string text_of_words() {
  std::string text;
  while (text.size() < kMegabyte) text += "the quick brown fox; ";
  text.resize(kMegabyte);
  return text;
}

void Digest(benchmark::State& state) {
  start();
  measure(state, sha256, TMP_TEXT(text_of_words()));
}
void DigestByTheLibrary(benchmark::State& state) {
  const std::string text = text_of_words();
  std::uint8_t digest[SHA256_DIGEST_SIZE];
  for (auto _ : state) {
    sha256_ctx context;
    sha256_init(&context);
    sha256_update(&context, text.size(), reinterpret_cast<const std::uint8_t*>(text.data()));
    sha256_digest(&context, sizeof digest, digest);
    benchmark::DoNotOptimize(digest);
  }
}

constexpr std::int32_t kJsonRows = 50000;  // an array has no more elements than 65535

void Json(benchmark::State& state) {
  start();
  Var* rows = NEW_TEMP();
  cscreara(rows, kJsonRows, kAllNil);
  for (std::int32_t i = 1; i <= kJsonRows; ++i) {
    const TempsMark mark;
    Var* row = NEW_TEMP();
    cscrearr(row, 3, kCopyValues, {TMP_INT(i), TMP_TEXT("a name of a town"), TMP_NUM(i / 4.0, 2)});
    CPY_VAR(element(rows, i), row);
  }
  measure(state, tojson, rows);
}
void JsonBesideSnprintf(benchmark::State& state) {
  for (auto _ : state) {
    std::string all = "[";
    char row[100];
    for (std::int32_t i = 1; i <= kJsonRows; ++i) {
      const int n =
          std::snprintf(row, sizeof row, "[%d,\"%s\",%.2f],", i, "a name of a town", i / 4.0);
      all.append(row, static_cast<std::size_t>(n));
    }
    benchmark::DoNotOptimize(all);
  }
}

void Str(benchmark::State& state) {
  start();
  measure(state, str, TMP_NUM(1234567.891, 2), TMP_INT(12), TMP_INT(2));
}
void StrBesideSnprintf(benchmark::State& state) {
  double value = 1234567.891;
  char buffer[64];
  for (auto _ : state) {
    benchmark::DoNotOptimize(value);
    std::snprintf(buffer, sizeof buffer, "%*.*f", 12, 2, value);
    benchmark::DoNotOptimize(std::string(buffer));
  }
}
BENCHMARK(Digest);
BENCHMARK(DigestByTheLibrary);
BENCHMARK(Json);
BENCHMARK(JsonBesideSnprintf);
BENCHMARK(Str);
BENCHMARK(StrBesideSnprintf);

void Val(benchmark::State& state) {
  start();
  measure(state, val, TMP_TEXT("  1234567.891"));
}
void ValBesideStrtod(benchmark::State& state) {
  const char* text = "  1234567.891";
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    benchmark::DoNotOptimize(std::strtod(text, nullptr));
  }
}
BENCHMARK(Val);
BENCHMARK(ValBesideStrtod);

void Transform(benchmark::State& state) {
  start();
  measure(state, transform, TMP_NUM(1234567.891, 2), TMP_TEXT("9,999,999.99"));
}
BENCHMARK(Transform);
BENCHMARK(StrBesideSnprintf)->Name("TransformBesideSnprintf");

void Strtran(benchmark::State& state) {
  start();
  measure(state, strtran, TMP_TEXT(text_of_words()), TMP_TEXT("fox"), TMP_TEXT("badger"));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kMegabyte));
}
void StrtranBesideString(benchmark::State& state) {
  const std::string text = text_of_words();
  for (auto _ : state) {
    std::string result;
    std::size_t done = 0;
    for (auto at = text.find("fox"); at != std::string::npos; at = text.find("fox", done)) {
      result.append(text, done, at - done).append("badger");
      done = at + 3;
    }
    result.append(text, done);
    benchmark::DoNotOptimize(result);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kMegabyte));
}
BENCHMARK(Strtran);
BENCHMARK(StrtranBesideString);

void Dtoc(benchmark::State& state) {
  start();
  measure(state, dtoc, TMP_DATE(719163));
}
void DtocBesideStrftime(benchmark::State& state) {
  std::tm day{};
  day.tm_mday = 1;
  day.tm_year = 70;
  char buffer[32];
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::strftime(buffer, sizeof buffer, "%m/%d/%y", &day));
    benchmark::DoNotOptimize(std::string(buffer));
  }
}
BENCHMARK(Dtoc);
BENCHMARK(DtocBesideStrftime);

void Ctod(benchmark::State& state) {
  start();
  measure(state, ctod, TMP_TEXT("12/25/98"));
}
void CtodBesideStrptime(benchmark::State& state) {
  for (auto _ : state) {
    std::tm day{};
    benchmark::DoNotOptimize(strptime("12/25/98", "%m/%d/%y", &day));
    benchmark::DoNotOptimize(timegm(&day));
  }
}
BENCHMARK(Ctod);
BENCHMARK(CtodBesideStrptime);

void Upper(benchmark::State& state) {
  start();
  measure(state, upper, TMP_TEXT(text_of_words()));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kMegabyte));
}
void UpperBesideMemcpy(benchmark::State& state) {
  const std::string text = text_of_words();
  std::string copy = text;
  for (auto _ : state) {
    std::memcpy(copy.data(), text.data(), text.size());
    benchmark::DoNotOptimize(copy);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kMegabyte));
}
// Texts without much to escape, as most are, and one in which an address needs an escape for every word.
void HtmlEscape(benchmark::State& state) {
  start();
  measure(state, htmlesc, TMP_TEXT(text_of_words()));
}
void HtmlEscapeEvery50th(benchmark::State& state) {
  start();
  std::string text = text_of_words();
  for (std::size_t i = 0; i < text.size(); i += 50) text[i] = '<';
  measure(state, htmlesc, TMP_TEXT(text));
}
void UrlEncode(benchmark::State& state) {
  start();
  measure(state, urlenc, TMP_TEXT(text_of_words()));
}
void UrlEncodeLetters(benchmark::State& state) {
  start();
  measure(state, urlenc, TMP_TEXT(std::string(kMegabyte, 'x')));
}
BENCHMARK(HtmlEscape);
BENCHMARK(HtmlEscapeEvery50th);
BENCHMARK(UrlEncode);
BENCHMARK(UrlEncodeLetters);
BENCHMARK(Upper);
BENCHMARK(UpperBesideMemcpy);

void CompareByCollation(benchmark::State& state) {
  start();
  unsigned char weights[256];
  for (int c = 0; c < 256; ++c) weights[c] = static_cast<unsigned char>(c);
  set_collation(weights);
  const char *a = "Lindstrom, Eva", *b = "Lindstrom, Evy";
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    benchmark::DoNotOptimize(b);
    benchmark::DoNotOptimize(nastrcmp(a, b, 14, 14));
  }
  set_collation(nullptr);
}
void CompareBesideStrcoll(benchmark::State& state) {
  const char *a = "Lindstrom, Eva", *b = "Lindstrom, Evy";
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    benchmark::DoNotOptimize(b);
    benchmark::DoNotOptimize(strcoll(a, b));
  }
}
BENCHMARK(CompareByCollation);
BENCHMARK(CompareBesideStrcoll);

}  // namespace

BENCHMARK_MAIN();
