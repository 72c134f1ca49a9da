// Code blocks. A compiled block is a function with detached locals; a text block is an expression
// that is evaluated on each run.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

// What the macro evaluator gives the layers below it. Until it is set text blocks give the error
// value.
struct MacroHooks {
  Var* (*evaluate)(std::string_view text);            // EXP_EVAL
  Var* (*eval_block)(std::int32_t argc, Var** argv);  // EVAL_BLOCK, argv[0] is the block
  bool (*expand)(std::string_view source, std::string& target, int flags);  // EXPAND_MACRO
  void (*release)(Code* code);  // the last cell of a text block has gone
};
void set_macro_hooks(const MacroHooks& hooks);
const MacroHooks& macro_hooks();

// A method block: the flag byte says that its second word is a method's function, native or loaded, which takes no
// detached locals. `no_locals` is a body without elements, which the block shares.
constexpr std::uint8_t kMethodFlag = 1, kLoadedMethodFlag = 2;
inline void make_method_block(Var* fresh, Function function, SharedHeader* no_locals) {
  ++no_locals->refs;
  fresh->type = 'B';
  fresh->decimals = function.loaded() != nullptr ? kLoadedMethodFlag : kMethodFlag;
  fresh->shared = no_locals;
  if (function.loaded() != nullptr)
    fresh->bits2 = reinterpret_cast<std::uintptr_t>(function.loaded());
  else
    fresh->function = reinterpret_cast<BlockFunction>(reinterpret_cast<void*>(function.native()));
}
// None for another block.
inline Function method_function(const Var* block) {
  if (block->decimals == kLoadedMethodFlag)
    return reinterpret_cast<LoadedProcedure*>(static_cast<std::uintptr_t>(block->bits2));
  if (block->decimals != kMethodFlag) return {};
  return reinterpret_cast<Callable>(reinterpret_cast<void*>(block->function));
}

// Runs a block of either kind with the arguments behind it in the vector. REQUIRES: argv[0] is a
// block.
Var* run_block(std::int32_t argc, Var** argv);
// Runs one block cell with the given arguments; any other cell gives the true constant.
template <typename... Args>
Var* run_block_with(Var* block, Args*... args) {
  Var* argv[] = {block, args...};
  return is_block(block) ? run_block(static_cast<std::int32_t>(1 + sizeof...(args)), argv)
                         : true_value();
}
inline Var* EVAL_ANY(Var* block) {
  return run_block_with(block);
}

// A compiled block with copies of the values as its detached locals.
Var* make_block(BlockFunction function, std::initializer_list<Var*> values);

// The text block {|| text }. A text that does not make a block gives the error value.
Var* ogmakecb(std::string_view text);

#define BLOCK_BUILTINS(X)                                                                    \
  X("do", do_function,                                                                       \
    "do(cName | bBlock, ...) -> xValue: calls a function by its name, or a block",           \
    "do('upper', 'abc') ==> ABC")                                                            \
  X("eval", eval, "eval(bBlock, ...) -> xValue: runs a code block with the arguments given", \
    "eval({|a, b| a + b}, 2, 3) ==> 5")

BLOCK_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kBlockBuiltins[] = {BLOCK_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kBlocksModule{
    .name = "blocks", .subject = "Blocks, names and calls", .functions = kBlockBuiltins};

}  // namespace tarnel
