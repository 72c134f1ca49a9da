// Keys as the language sees them: the buffer of keys put there by the program, those that wait in the
// terminal of the screen, blocks bound to keys, and the texts of function keys.
#pragma once

#include <cstdint>

#include "core/modules.h"
#include "term/key_codes.h"

namespace tarnel {

// Takes a key that waits, or kNoKey: those of the buffer first. A function key that has a text and no block
// puts the text in front of the buffer.
int take_pending_key();
// Shows the screen and waits for a key up to a number of milliseconds, below 0 without limit. Without a
// screen there is no limitless wait: kNoKey at once. Answers signals, which may end the run.
int wait_for_key(std::int64_t milliseconds);
// Waits without limit and runs the blocks bound to keys meanwhile; for whatever asks the user something.
int wait_for_answer();
// The same with a limit, kNoKey when it ran out.
int wait_for_answer(std::int64_t milliseconds);

// Runs the block bound to a key, unless it runs already. False when none is bound.
bool run_key_block(int key);

// Drops what no longer fits into a buffer of a number of keys.
void shrink_key_buffer(std::int32_t size);

#define KEYBOARD_BUILTINS(X)                                                                     \
  X("__getfunct", getfunct, "__getfunct(nKey) -> cText: what SET FUNCTION gave a function key",  \
    "{__setfunct(2, 'help'), __getfunct(2)}[2] ==> help")                                        \
  X("__keyboard", keyboard, "__keyboard([cText], [lClear]): puts keys into the buffer",          \
    "{__keyboard('a'), inkey()}[2] ==> 97")                                                      \
  X("__setfunct", setfunct, "__setfunct(nKey, cText): SET FUNCTION, a text for a function key",  \
    "{__setfunct(2, 'help'), __getfunct(2)}[2] ==> help")                                        \
  X("inkey", inkey, "inkey([nSeconds]) -> nKey: takes a key, waits for one; 0 when none came",   \
    "{__keyboard('a'), inkey()}[2] ==> 97")                                                      \
  X("keybytes", keybytes, "keybytes() -> cBytes: what the terminal sent for the key read last",  \
    "len(keybytes()) ==> 0")                                                                     \
  X("keyname", keyname, "keyname(nKey) -> cName: what people call a key", "keyname(27) ==> Esc") \
  X("lastkey", lastkey, "lastkey() -> nKey: the key taken last",                                 \
    "{__keyboard('a'), inkey(), lastkey()}[3] ==> 97")                                           \
  X("nextkey", nextkey, "nextkey() -> nKey: the key that waits, 0 without one",                  \
    "{__keyboard('a'), nextkey()}[2] ==> 97")                                                    \
  X("setkey", setkey, "setkey(nKey, [bBlock]) -> bOld: binds a block to a key, NIL unbinds it",  \
    "{setkey(-1, {|| 1}), valtype(setkey(-1))}[2] ==> B")

KEYBOARD_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kKeyboardBuiltins[] = {KEYBOARD_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kKeyboardModule{
    .name = "teinput", .subject = "Screen and keys", .functions = kKeyboardBuiltins};

}  // namespace tarnel
