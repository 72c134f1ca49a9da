// Any bytes as JSON, patterns, escapes of pages and addresses, digits and UTF-8: no crash, no hang, what is
// written comes back as it was, and a value that was read once is written and read alike again. The first byte
// chooses, a NUL parts two texts.
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/core_modules.h"
#include "core/error_object.h"
#include "core/frame.h"
#include "core/runtime.h"
#include "core/stacks.h"
#include "lib/digests.h"
#include "lib/json_text.h"
#include "lib/lib_modules.h"
#include "lib/patterns.h"
#include "lib/utf8_functions.h"
#include "lib/web_texts.h"

namespace {

using namespace tarnel;

constexpr auto kModules = join_modules(kCoreModules, kLibModules, kBorrowedModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

constexpr Callable kWays[][2] = {
    {htmlesc, htmlunesc}, {urlenc, urldec}, {base64enc, base64dec}, {hexenc, hexdec}};
constexpr Callable kReaders[] = {htmlunesc, urldec,  querypairs, cookiepairs, base64dec,
                                 hexdec,    utf8len, utf8upper,  utf8lower};

Var* go_on(std::int32_t, Var**, Var**) {
  return nil_value();
}

void start() {
  start_library({kFunctions.table(), kModules});
  Var* block[] = {TMP_BLOCK(go_on)};
  errorblock(1, block);
}

void expect(bool holds) {
  if (!holds) std::abort();
}

void json(Var* text) {
  Var* value = CALL_SIMPLE(fromjson, text);
  if (is_error(value)) return;
  Var* once = CALL_SIMPLE(tojson, value);
  if (is_error(once)) return;  // a level deeper than it may be
  Var* twice = CALL_SIMPLE(tojson, CALL_SIMPLE(fromjson, once));
  expect(text_of(once) == text_of(twice));
}

void patterns(Var* text, Var* pattern) {
  CALL_SIMPLE(rematch, text, pattern);
  CALL_SIMPLE(refind, text, pattern);
  CALL_SIMPLE(resplit, text, pattern);
  CALL_SIMPLE(rereplace, text, pattern, pattern);
}

void characters(Var* text) {
  const Var* count = CALL_SIMPLE(utf8len, text);
  expect(text_of(CALL_SIMPLE(utf8left, text, const_cast<Var*>(count))) == text_of(text));
  CALL_SIMPLE(utf8substr, text, TMP_INT(-2), TMP_INT(1));
  CALL_SIMPLE(utf8pad, text, TMP_INT(-7));
  CALL_SIMPLE(toutf8, text, TMP_TEXT("cp850"));
  CALL_SIMPLE(fromutf8, text, TMP_TEXT("cp1252"));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static const bool started = (start(), true);
  if (!started || size < 1) return 0;
  const std::string_view input{reinterpret_cast<const char*>(data) + 1, size - 1};
  const std::size_t end = std::min(input.find('\0'), input.size());
  const TempsMark mark;
  Var* first = TMP_TEXT(input.substr(0, end));
  Var* second = TMP_TEXT(input.substr(std::min(end + 1, input.size())));
  switch (data[0] % 5) {
    case 0:
      json(TMP_TEXT(input));
      break;
    case 1:
      patterns(second, first);
      break;
    case 2:
      characters(TMP_TEXT(input));
      break;
    case 3:
      for (const auto& [out, back] : kWays)
        expect(text_of(CALL_SIMPLE(back, CALL_SIMPLE(out, TMP_TEXT(input)))) == input);
      break;
    default:
      for (const Callable reader : kReaders) CALL_SIMPLE(reader, TMP_TEXT(input));
  }
  return 0;
}
