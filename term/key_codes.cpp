#include "term/key_codes.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "core/text.h"

namespace tarnel {
namespace {

constexpr SpecialKey kSpecialKeys[] = {
    {"kcuu1", kKeyUp},
    {"kcud1", kKeyDown},
    {"kcub1", kKeyLeft},
    {"kcuf1", kKeyRight},
    {"khome", kKeyHome},
    {"kfnd", kKeyHome},
    {"kend", kKeyEnd},
    {"kslt", kKeyEnd},
    {"kpp", kKeyPageUp},
    {"knp", kKeyPageDown},
    {"kich1", kKeyInsert},
    {"kdch1", kKeyDelete},
    {"kbs", kKeyBackspace},
    {"kent", kKeyEnter},
    {"kcbt", 271},
    {"kUP5", 397},
    {"kDN5", 401},
    {"kLFT5", 26},
    {"kRIT5", 2},
    {"kHOM5", kKeyCtrlHome},
    {"kEND5", kKeyCtrlEnd},
    {"kPRV5", kKeyCtrlPageUp},
    {"kNXT5", kKeyCtrlPageDown},
    {"kIC5", 402},
    {"kDC5", 403},
    {"kUP3", 408},
    {"kDN3", 416},
    {"kLFT3", 411},
    {"kRIT3", 413},
    {"kHOM3", 407},
    {"kEND3", 415},
    {"kPRV3", 409},
    {"kNXT3", 417},
    {"kIC3", 418},
    {"kDC3", 419},
};

struct NamedKey {
  int code;
  const char* name;
};
constexpr NamedKey kNames[] = {
    {kKeyUp, "Up"},
    {kKeyDown, "Down"},
    {kKeyLeft, "Left"},
    {kKeyRight, "Right"},
    {kKeyHome, "Home"},
    {kKeyEnd, "End"},
    {kKeyPageUp, "PgUp"},
    {kKeyPageDown, "PgDn"},
    {kKeyInsert, "Ins"},
    {kKeyDelete, "Del"},
    {kKeyBackspace, "Backspace"},
    {kKeyEnter, "Enter"},
    {kKeyTab, "Tab"},
    {kKeyEscape, "Esc"},
    {kKeyLineFeed, "Ctrl-Enter"},
    {' ', "Space"},
    {397, "Ctrl-Up"},
    {401, "Ctrl-Down"},
    {26, "Ctrl-Left"},
    {2, "Ctrl-Right"},
    {kKeyCtrlHome, "Ctrl-Home"},
    {kKeyCtrlEnd, "Ctrl-End"},
    {kKeyCtrlPageUp, "Ctrl-PgUp"},
    {kKeyCtrlPageDown, "Ctrl-PgDn"},
    {402, "Ctrl-Ins"},
    {403, "Ctrl-Del"},
    {408, "Alt-Up"},
    {416, "Alt-Down"},
    {411, "Alt-Left"},
    {413, "Alt-Right"},
    {407, "Alt-Home"},
    {415, "Alt-End"},
    {409, "Alt-PgUp"},
    {417, "Alt-PgDn"},
    {418, "Alt-Ins"},
    {419, "Alt-Del"},
    {270, "Alt-Backspace"},
    {284, "Alt-Enter"},
    {421, "Alt-Tab"},
    {257, "Alt-Esc"},
    {271, "Shift-Tab"},
};

// Runs of keys that have ascending codes with Alt.
struct AltRun {
  int first;
  std::string_view bytes;
};
constexpr AltRun kAltRuns[] = {{272, "qwertyuiop"},   {286, "asdfghjkl"}, {300, "zxcvbnm"},
                               {376, "1234567890-="}, {270, "\x7f"},      {270, "\b"},
                               {284, "\r"},           {421, "\t"},        {257, "\x1b"}};

// Function keys 1 to 10 with a modifier go down from the first code, 11 and 12 from the other.
struct FunctionGroup {
  const char* modifier;
  int first, eleventh;
};
constexpr int kGroupSize = 12;
constexpr FunctionGroup kGroups[] = {
    {"", 0, -40}, {"Shift-", -10, -42}, {"Ctrl-", -20, -44}, {nullptr, 0, 0}, {"Alt-", -30, -46}};

std::string function_key_name(int code) {
  for (int n = 1; n <= kGroupSize * static_cast<int>(std::size(kGroups)); ++n)
    if (code != kNoKey && function_key(n) == code)
      return std::string(kGroups[(n - 1) / kGroupSize].modifier) + "F" +
             std::to_string((n - 1) % kGroupSize + 1);
  return {};
}

}  // namespace

std::span<const SpecialKey> special_keys() {
  return kSpecialKeys;
}

int function_key(int n) {
  if (n == 1) return kKeyF1;
  const auto at = static_cast<std::size_t>((n - 1) / kGroupSize);
  if (n < 1 || at >= std::size(kGroups) || kGroups[at].modifier == nullptr) return kNoKey;
  const int key = (n - 1) % kGroupSize;
  return key < 10 ? kGroups[at].first - key : kGroups[at].eleventh - (key - 10);
}

int alt_key(unsigned char byte) {
  for (const AltRun& run : kAltRuns)
    if (const auto at = run.bytes.find(lower_letter(static_cast<char>(byte)));
        at != std::string_view::npos)
      return run.first + static_cast<int>(at);
  return kNoKey;
}

std::string key_name(int code) {
  const auto* named = std::find_if(std::begin(kNames), std::end(kNames),
                                   [&](const NamedKey& key) { return key.code == code; });
  if (named != std::end(kNames)) return named->name;
  if (std::string name = function_key_name(code); !name.empty()) return name;
  if (code > ' ' && code < 256) return std::string(1, static_cast<char>(code));
  if (code > 0 && code < ' ') return std::string("Ctrl-") + static_cast<char>(code + '@');
  for (const AltRun& run : kAltRuns)
    if (code >= run.first && code < run.first + static_cast<int>(run.bytes.size()))
      return std::string("Alt-") +
             upper_letter(run.bytes[static_cast<std::size_t>(code - run.first)]);
  return {};
}

}  // namespace tarnel
