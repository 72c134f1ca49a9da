#include "core/blocks.h"

#include <cassert>
#include <vector>

#include "core/errors.h"
#include "core/frame.h"
#include "core/signals.h"
#include "core/text.h"

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
  if (const Function method = method_function(block); method)
    return CALL_VECTOR(method, argc - 1, argv + 1);
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

Var* do_function(std::int32_t argc, Var** argv) {
  if (argc < 1) return RT_ERROR(311, "in DO()");
  if (is_block(argv[0])) return run_block(argc, argv);
  if (!arg_is(argc, argv, 0, "CM")) return RT_ERROR(312, "in DO()");
  return CALL_VECTOR(GET_FUNC(FULL_NAME(trim_blanks(text_of(argv[0])))), argc - 1, argv + 1);
}

Var* make_block(BlockFunction function, std::initializer_list<Var*> values) {
  std::vector<Var*> locals;
  for (Var* value : values) {
    locals.push_back(NEW_VAR('N', 'U'));
    CPY_VAR(locals.back(), value);
  }
  Var* block = TMP_BLOCK(function, locals.data(), static_cast<std::int32_t>(locals.size()));
  for (Var* local : locals) DEL_VAR(local);
  return block;
}

Var* ogmakecb(std::string_view text) {
  std::string block = "{|| " + std::string(text) + " }";
  if (block.size() >= kLongestBlock) return RT_ERROR(319, "in code block text");
  Var* made = hooks.evaluate != nullptr ? hooks.evaluate(block) : error_value();
  return made->type == 'b' ? made : error_value();
}

}  // namespace tarnel
