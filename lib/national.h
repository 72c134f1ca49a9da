// Languages: character classes, case and collation tables, names and messages. Up to ten languages
// may be loaded from language files and one is current; without one the character tables of the
// process locale and plain byte order hold.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

constexpr int kLanguages = 10;
constexpr std::size_t kTextArea = 512;

// Class bits of a character; the comment is the letter in a language file.
enum CharClass : std::uint16_t {
  kLetter = 1,   // A
  kDigit = 2,    // D
  kBlank = 16,   // S
  kUpper = 256,  // U
  kLower = 512,  // L
};

// Places of the message slots. The last entry of one group is the first of the next: that is how
// language files are written, and a later line overwrites what an earlier one put there.
constexpr int kScoreboardSlot = 0, kDirSlot = 3, kLogicalSlot = 7, kMessageSlots = 9;

struct Language {
  std::array<std::uint8_t, 256> order, descendMap, upperMap, lowerMap;
  std::array<char, kTextArea> textArea;
  std::array<const char*, 7> dayNames;  // into textArea, null when not given; index 0 is Sunday
  std::array<const char*, 12> monthNames;
  std::array<const char*, kMessageSlots> messages;
  std::array<std::uint16_t, 256> classes;
  bool loaded;
};

// The current language, or null.
const Language* language();
// Record 1 to 10, to be filled by the loader. REQUIRES: number in that range.
Language& language_record(int number);
int language_number();
// Makes a loaded language current (0: none) with its logical lists and its collation.
// REQUIRES: 0 to 10, and loaded.
void select_language(int number);

bool has_class(unsigned char c, CharClass wanted);
char to_upper(char c);
// Case maps in place.
void upper_bytes(char* text, std::size_t n);
void lower_bytes(char* text, std::size_t n);
// What sorts backwards where the argument sorts forwards.
void descend_bytes(char* text, std::size_t n);

// Characters that stand for true and for false; the third one is shown for a logical.
std::string_view true_list();
std::string_view false_list();

std::string_view day_name(int weekday);  // 0 is Sunday
std::string_view month_name(int month);  // 1 to 12
// Message 1 to 3 of the edit line, or the empty text.
std::string_view language_message(int n);

#define NATIONAL_BUILTINS(X)                                                               \
  X("_langnames", langnames, "_langnames(nMessage) -> cText: a message of the language",   \
    "_langnames(1) ==> Insert")                                                            \
  X("loadlang", loadlang, "loadlang(nLanguage, cFile) -> lLoaded: reads a language file",  \
    "{memowrit('l', '!! DAYNAMES'), loadlang(1, 'l')}[2] ==> .T.")                         \
  X("setlang", setlang, "setlang([nLanguage]) -> nOld: selects a loaded language, 0 none", \
    "setlang() ==> 0")

NATIONAL_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kNationalBuiltins[] = {NATIONAL_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kNationalModule{
    .name = "national", .subject = "Settings and languages", .functions = kNationalBuiltins};

}  // namespace tarnel
