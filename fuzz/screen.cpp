// Any bytes on a screen of any size, and from a keyboard: halves of wide characters never stand alone, no cell
// holds a control character, and every byte of the keyboard becomes a key or is dropped.
#include <cstdlib>
#include <string_view>

#include "core/core_modules.h"
#include "core/runtime.h"
#include "lib/lib_modules.h"
#include "term/glyphs.h"
#include "term/key_decoder.h"
#include "term/screen.h"
#include "term/term_modules.h"

namespace {

using namespace tarnel;

constexpr auto kModules = join_modules(kTermModules, kCoreModules, kLibModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

const std::string none;
constexpr ScreenDevice kDevice = {.paint = [](bool) {},
                                  .read_key = [](int) { return int{kNoKey}; },
                                  .key_bytes = []() -> const std::string& { return none; },
                                  .ring = [] {},
                                  .colours = [] { return true; },
                                  .give_back = [] {},
                                  .take_again = [] {}};

void check_cells() {
  for (int row = 0; row < screen_rows(); ++row)
    for (int col = 0; col < screen_columns(); ++col) {
      const char32_t c = cell_at(row, col).character;
      const bool left = col > 0 && shown_width(cell_at(row, col - 1).character) == 2;
      const bool right = col + 1 < screen_columns() && cell_at(row, col + 1).character == 0;
      if ((c == 0) != left || (shown_width(c) == 2) != right) std::abort();
      if ((c != 0 && c < ' ') || (c >= 0x7f && c < 0xa0)) std::abort();
    }
}

void decode_keys(std::string_view bytes) {
  KeyDecoder decoder;
  decoder.learn("\x1b[A", kKeyUp);
  decoder.learn("\x1bOP", kKeyF1);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    decoder.add(bytes.substr(i, 1), static_cast<KeyDecoder::Milliseconds>(i));
    decoder.next(static_cast<KeyDecoder::Milliseconds>(i), 20);
  }
  while (decoder.next(1'000'000, 20) != kNoKey) continue;
  if (decoder.patience(1'000'000, 20) != -1) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static const bool started =
      (start_library({kFunctions.table(), kModules}), set_error_threshold(2000), true);
  if (!started || size < 8) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data) + 8, size - 8);
  attach_screen(kDevice, data[0] % 9, data[1] % 17);
  const int row = data[2] % 12 - 2, col = data[3] % 20 - 2, up = data[4] % 9 - 4,
            left = data[5] % 9 - 4;
  put_console(text);
  check_cells();
  move_cursor({row, col});
  put_text(text, {});
  check_cells();
  Window* saved = save_area({row, col, row + up, col + left});
  scroll_area({row, col, row + up, col + data[6] % 9}, up, left, {});
  check_cells();
  show_window(*saved, {col, row});
  drop_window(saved);
  check_cells();
  resize_screen(data[6] % 9, data[7] % 17);
  check_cells();
  detach_screen();
  decode_keys(text);
  return 0;
}
