// Pictures of any content on values of all types: no crash, no hang, and a result no longer than
// its parts allow. The first byte chooses the value, the second the settings, a NUL ends the
// picture and what follows it is the text or the number.
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "core/core_modules.h"
#include "core/runtime.h"
#include "core/settings.h"
#include "core/stacks.h"
#include "lib/dates.h"
#include "lib/lib_modules.h"
#include "lib/number_text.h"

namespace {

using namespace tarnel;

constexpr auto kModules = join_modules(kCoreModules, kLibModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

Var* value_of(unsigned kind, std::string_view rest) {
  double number = 0;
  std::memcpy(&number, rest.data(), std::min(rest.size(), sizeof number));
  std::int32_t day = 0;
  std::memcpy(&day, rest.data(), std::min(rest.size(), sizeof day));
  switch (kind % 8) {
    case 0:
      return TMP_NUM(number, static_cast<int>(kind / 8));
    case 1:
      return TMP_NUM(parse_number(rest).value, 2);
    case 2:
      return TMP_INT(day);
    case 3:
      return TMP_DATE(day);
    case 4:
      return TMP_DATE(dateEncode(25, 12, 1998));
    case 5:
      return logical((kind & 8) != 0);
    default:
      return TMP_TEXT(rest);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static const bool started = (start_library({kFunctions.table(), kModules}), true);
  if (!started || size < 2) return 0;
  reset_settings();
  settings().fixed = (data[1] & 1) != 0;
  settings().developer = (data[1] & 2) != 0;
  setCentury((data[1] & 4) != 0 ? 1 : 0);
  const std::string_view input{reinterpret_cast<const char*>(data) + 2, size - 2};
  const auto end = std::min(input.find('\0'), input.size());
  const std::int32_t mark = temp_top();
  Var* value = value_of(data[0], input.substr(std::min(end + 1, input.size())));
  Var* argv[] = {value, TMP_TEXT(input.substr(0, end))};
  const Var* result = transform(2, argv);
  // Default text and picture, a symbol and the decorations.
  const std::size_t most = size + 2 * NumberBuffer::kSize;
  if (text_of(result).size() > most) std::abort();
  POP_TEMPS(mark);
  return 0;
}
