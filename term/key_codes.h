// Codes of the keys that have no byte of their own, and what tells which bytes a terminal sends for them.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace tarnel {

// Bytes are their own codes, so Up is also Ctrl-E. No key has the code 0.
enum KeyCode : int {
  kNoKey = 0,
  kKeyHome = 1,
  kKeyPageDown = 3,
  kKeyRight = 4,
  kKeyUp = 5,
  kKeyEnd = 6,
  kKeyDelete = 7,
  kKeyBackspace = 8,
  kKeyTab = 9,
  kKeyLineFeed = 10,
  kKeyEnter = 13,
  kKeyPageUp = 18,
  kKeyLeft = 19,
  kKeyInsert = 22,
  kKeyCtrlEnd = 23,
  kKeyDown = 24,
  kKeyEscape = 27,
  kKeyF1 = 28,
  kKeyCtrlHome = 29,
  kKeyCtrlPageDown = 30,
  kKeyCtrlPageUp = 31,
  kKeyF2 = -1,
  kKeyF4 = -3,
};

// A key and the capability of a terminal's description that holds its bytes. Several may name one key.
struct SpecialKey {
  const char* capability;
  int code;
};
std::span<const SpecialKey> special_keys();

// The code of function key n of a description, kf1 to kf63: twelve plain, then with Shift, Ctrl, both and
// Alt; kNoKey for one that has none.
int function_key(int n);
// The code of a byte that was typed with Alt, kNoKey without one.
int alt_key(unsigned char byte);

// What people call a key: "Ctrl-Up", "F1", "a"; empty for a code that no key has.
std::string key_name(int code);

}  // namespace tarnel
