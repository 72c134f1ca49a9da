#include "term/keyboard.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "core/blocks.h"
#include "core/errors.h"
#include "core/frame.h"
#include "core/settings.h"
#include "core/signals.h"
#include "core/switched.h"
#include "lib/arguments.h"
#include "term/character_map.h"
#include "term/screen.h"

namespace tarnel {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kFunctionTexts = 48, kByteCodes = 256;
constexpr std::int64_t kLongestWait = 24 * 3600 * 1000;  // milliseconds of one call of the system

struct WaitingKey {
  int code;
  bool of_text = false;  // of a function key's text: stands for no other text
};

struct Binding {
  Var* block = nullptr;
  bool runs = false;
};

struct KeyboardState {
  std::vector<WaitingKey> buffer;  // a few; a request, which has none, allocates nothing
  int looked_at = kNoKey;  // read from the terminal by nextkey
  int last = kNoKey;
  std::map<int, Binding> bindings;
  std::array<std::string, kFunctionTexts> texts;
} state;

// Function key n of SET FUNCTION has the code of the nth in the customary row F1 to F10, alone, with
// Shift, Ctrl and Alt, then F11 and F12 with each.
int text_index(int code) {
  const int n = code == kKeyF1 ? 1 : 1 - code;
  return n >= 1 && n <= kFunctionTexts && code != 0 ? n - 1 : -1;
}

bool is_bound(int key) {
  const auto found = state.bindings.find(key);
  return found != state.bindings.end() && found->second.block != nullptr;
}

std::size_t buffer_size() {
  return static_cast<std::size_t>(std::max(settings().typeahead, 0));
}

int read_terminal(std::int64_t milliseconds) {
  if (state.looked_at != kNoKey) return std::exchange(state.looked_at, kNoKey);
  if (!screen_open()) return kNoKey;
  const int key = screen_device().read_key(static_cast<int>(std::min(milliseconds, kLongestWait)));
  return key > 0 && key < kByteCodes ? through_key_map(key) : key;
}

// What a key that came stands for: itself, or the first key of its text.
int accepted(WaitingKey key) {
  const int index = key.of_text ? -1 : text_index(key.code);
  if (index < 0 || state.texts[static_cast<std::size_t>(index)].empty() || is_bound(key.code)) {
    state.last = key.code;
    return key.code;
  }
  std::vector<WaitingKey> keys;
  for (const char c : state.texts[static_cast<std::size_t>(index)])
    if (c != 0) keys.push_back({c == ';' ? int{kKeyEnter} : static_cast<unsigned char>(c), true});
  keys.insert(keys.end(), state.buffer.begin(), state.buffer.end());
  keys.resize(std::min(keys.size(), buffer_size()));
  state.buffer = std::move(keys);
  return take_pending_key();
}

void sleep_for(std::int64_t milliseconds) {
  poll(nullptr, 0, static_cast<int>(std::min(milliseconds, kLongestWait)));
}

}  // namespace

int take_pending_key() {
  if (!state.buffer.empty()) {
    const WaitingKey key = state.buffer.front();
    state.buffer.erase(state.buffer.begin());
    return accepted(key);
  }
  const int key = read_terminal(0);
  return key != kNoKey ? accepted({key}) : kNoKey;
}

int wait_for_key(std::int64_t milliseconds) {
  show_screen();
  const auto end =
      Clock::now() + std::chrono::milliseconds(std::max<std::int64_t>(milliseconds, 0));
  for (;;) {
    if (const int key = take_pending_key(); key != kNoKey) return key;
    if (!screen_open() && milliseconds < 0) return kNoKey;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    if (milliseconds >= 0 && left <= 0) return kNoKey;
    const std::int64_t wait = milliseconds < 0 ? kLongestWait : left;
    if (!screen_open())
      sleep_for(wait);
    else if (const int key = read_terminal(wait); key != kNoKey)
      return accepted({key});
    look_at_signals();
    show_screen();  // an answer may have changed it
  }
}

int wait_for_answer(std::int64_t milliseconds) {
  for (;;) {
    const int key = wait_for_key(milliseconds);
    if (key == kNoKey || !run_key_block(key)) return key;
  }
}
int wait_for_answer() {
  return wait_for_answer(-1);
}

bool run_key_block(int key) {
  if (!is_bound(key)) return false;
  Binding& binding = state.bindings[key];
  if (binding.runs) return false;
  const Switched<bool> running(binding.runs, true);
  const std::int32_t mark = temp_top();
  Var* block = CPY_VAR(NEW_TEMP(), binding.block);
  const Frame* f = frame_at(0);
  run_block_with(block, TMP_TEXT(f != nullptr ? f->proc : ""), TMP_INT(f != nullptr ? f->line : 0),
                 empty_text());
  POP_TEMPS(mark);
  return true;
}

void shrink_key_buffer(std::int32_t size) {
  state.buffer.resize(std::min(state.buffer.size(), static_cast<std::size_t>(std::max(size, 0))));
}

Var* inkey(std::int32_t argc, Var** argv) {
  constexpr double kLeastWait = 0.1, kMostTenths = 1e9;
  if (argc > 0 && !arg_is(argc, argv, 0, kNumeric)) return RT_ERROR(312, "INKEY()");
  if (argc == 0) {
    show_screen();
    look_at_signals();
    return TMP_INT(take_pending_key());
  }
  double seconds = number_of(argv[0]);
  if (!(seconds > 0)) return TMP_INT(wait_for_key(-1));
  seconds = std::max(seconds, kLeastWait);
  return TMP_INT(
      wait_for_key(static_cast<std::int64_t>(std::min(10 * seconds, kMostTenths)) * 100));
}

Var* lastkey(std::int32_t, Var**) {
  return TMP_INT(state.last);
}

Var* nextkey(std::int32_t, Var**) {
  if (!state.buffer.empty()) return TMP_INT(state.buffer.front().code);
  if (state.looked_at == kNoKey) state.looked_at = read_terminal(0);
  return TMP_INT(state.looked_at);
}

Var* keyboard(std::int32_t argc, Var** argv) {
  const std::string_view text = text_argument(argc, argv, 0);
  if (text.empty() || (arg_is(argc, argv, 1, kNumeric) && truth_of(argv[1]))) {
    state.buffer.clear();
    state.looked_at = kNoKey;
  }
  for (const char c : text)
    if (c != 0 && state.buffer.size() < buffer_size())
      state.buffer.push_back({static_cast<unsigned char>(c)});
  return nil_value();
}

Var* setkey(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kNumeric)) return nil_value();
  const int key = integer_of(argv[0]);
  Var* old = is_bound(key) ? ARG_VAR(state.bindings[key].block) : nil_value();
  if (argc < 2 || (!is_block(argv[1]) && !is_nil(argv[1]))) return old;
  Var*& slot = state.bindings[key].block;
  if (is_nil(argv[1])) {
    UNHOLD_VAR(&slot);
  } else {
    if (slot == nullptr) slot = NEW_VAR('N', 'U');
    CPY_VAR(slot, argv[1]);
  }
  return old;
}

Var* setfunct(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kNumeric))
    return RT_ERROR(312, "SET FUNCTION <expN> TO <expC>: <expN> not number");
  const int n = integer_of(argv[0]);
  if (n < 1 || n > kFunctionTexts)
    return RT_ERROR(313, "SET FUNCTION <expN> TO <expC>: <expN> not valid (1 - 48)");
  state.texts[static_cast<std::size_t>(n) - 1] = text_argument(argc, argv, 1);
  return nil_value();
}

Var* getfunct(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kNumeric))
    return RT_ERROR(312, "SET FUNCTION <expN> TO <expC>: <expN> not number");
  const int n = integer_of(argv[0]);
  if (n < 1 || n > kFunctionTexts)
    return RT_ERROR(313, "SET FUNCTION <expN> TO <expC>: <expN> not valid (1 - 48)");
  return TMP_TEXT(state.texts[static_cast<std::size_t>(n) - 1]);
}

Var* keyname(std::int32_t argc, Var** argv) {
  return TMP_TEXT(key_name(int_argument(argc, argv, 0, kNoKey)));
}

Var* keybytes(std::int32_t, Var**) {
  return screen_open() ? TMP_TEXT(screen_device().key_bytes()) : empty_text();
}

}  // namespace tarnel
