// The numbered settings: set(n, [value], [additive]).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

// Stores a logical setting (mode 0 off, 1 on, 2 only reads) and gives the old value.
bool setLogical(int mode, int n);
// Stores a numeric setting and gives the old value; kReadNumber only reads.
constexpr std::int32_t kReadNumber = -9999;
std::int32_t setNumber(int n, std::int32_t value);
// Stores a text setting and gives the old value; a null text only reads. Numbers 119, 122 and 124
// are the file settings 19, 22 and 24 with an open that appends.
std::string setText(int n, const std::string_view* text);

// Gives all settings and named options the values that they have at the start. The files that copy output are closed,
// no extension is translated, no language is current, and who keeps keys, colours and the cursor hears of it.
void reset_set();

// Who keeps the keys of SET TYPEAHEAD hears here of another size.
void set_key_buffer_hook(void (*resized)(std::int32_t size));

#define SET_BUILTINS(X)                                                                     \
  X("set", set, "set(nSetting, [xValue], [lAdditive]) -> xOld: reads or changes a setting", \
    "set(3) ==> 2")

SET_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kSetBuiltins[] = {SET_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kSetModule{
    .name = "set", .subject = "Settings and languages", .functions = kSetBuiltins};

}  // namespace tarnel
