// Map files of any content: a read ends, and bytes outside of what its lines may name stay as they are.
#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "term/character_map.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  using namespace tarnel;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  ByteMap map = identity_map();
  int line = -1;
  const MapRead result = parse_map(text, "xterm", map, line);
  const auto lines = std::count(text.begin(), text.end(), '\n') + 1;
  if (line < 0 || line > lines || (result == MapRead::kWrongLine && line == 0)) std::abort();
  if (text.find("xterm") == std::string_view::npos &&
      (result == MapRead::kDone || map != identity_map()))
    std::abort();
  return 0;
}
