#include "core/blocks.h"

#include <cassert>

#include "core/errors.h"
#include "core/frame.h"
#include "core/signals.h"

namespace tarnel {
namespace {

MacroHooks hooks{};

constexpr std::size_t kLongestBlock = 8200;  // bytes of a block made from text, braces included

}  // namespace

void set_macro_hooks(const MacroHooks& given) {
  hooks = given;
}
const MacroHooks& macro_hooks() {
  return hooks;
}

Var* run_block(std::int32_t argc, Var** argv) {
  look_at_signals();
  Var* block = argv[0];
  assert(is_block(block));
  if (block->type != 'B')
    return hooks.eval_block != nullptr ? hooks.eval_block(argc, argv) : error_value();
  if (block->decimals == kMethodFlag)
    return CALL_VECTOR(method_function(block), argc - 1, argv + 1);
  // The block must outlive its run, even if it clears the variable that holds it.
  const BodyHold body(block->shared);
  Var* result = block->function(argc - 1, argv + 1, body->elements);
  return result != nullptr ? result : RT_ERROR(320, "function returned zero pointer");
}

Var* eval(std::int32_t argc, Var** argv) {
  if (argc < 1) return RT_ERROR(311, "in EVAL()");
  if (!arg_is(argc, argv, 0, "Bb")) return RT_ERROR(312, "in EVAL()");
  return run_block(argc, argv);
}

Var* ogmakecb(std::string_view text) {
  std::string block = "{|| " + std::string(text) + " }";
  if (block.size() >= kLongestBlock) return RT_ERROR(319, "in code block text");
  Var* made = hooks.evaluate != nullptr ? hooks.evaluate(block) : error_value();
  return made->type == 'b' ? made : error_value();
}

}  // namespace tarnel
