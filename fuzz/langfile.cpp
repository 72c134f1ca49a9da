// Language files of any content: a load ends, and a language that it took can be used. One that it
// stopped in is never made current.
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/core_modules.h"
#include "core/runtime.h"
#include "core/stacks.h"
#include "lib/language_file.h"
#include "lib/lib_modules.h"

namespace {

using namespace tarnel;

constexpr auto kModules = join_modules(kCoreModules, kLibModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static const bool started =
      (start_library({kFunctions.table(), kModules}), set_error_threshold(2000), true);
  if (!started) return 0;
  const bool loaded =
      parse_language({reinterpret_cast<const char*>(data), size}, language_record(1));
  if (loaded != language_record(1).loaded) std::abort();
  if (!loaded) return 0;
  select_language(1);
  std::size_t used = 0;
  for (int i = 0; i < 7; ++i) used += day_name(i).size();
  for (int i = 1; i <= 12; ++i) used += month_name(i).size();
  for (int i = 1; i <= 3; ++i) used += language_message(i).size();
  used += true_list().size() + false_list().size();
  std::string all;
  for (int c = 0; c < 256; ++c) all += static_cast<char>(c);
  upper_bytes(all.data(), all.size());
  descend_bytes(all.data(), all.size());
  lower_bytes(all.data(), all.size());
  if (has_class(0, kLetter)) ++used;
  select_language(0);
  return used > 4 * kTextArea ? 1 : 0;
}
