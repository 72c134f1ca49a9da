#include "macro/evaluator.h"

#include <sys/resource.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "core/blocks.h"
#include "core/errors.h"
#include "core/memory.h"
#include "core/stacks.h"
#include "macro/expand.h"
#include "macro/parser.h"

namespace tarnel {
namespace {

constexpr std::size_t kUsualStack = std::size_t{8} << 20;
// What an evaluation may not touch: the raise of the error, its handler, and the builtin that was
// called. The handler may evaluate texts itself, in half of it.
constexpr std::size_t kReserve = std::size_t{1} << 20;

struct EvaluatorState {
  const char* stack_base = nullptr;
  std::size_t stack_size = kUsualStack;
  int depth = 0;
  bool leaving = false;  // an evaluation was too deep: all around it end without a further error
} state;

bool stack_is_short() {
  const char* here = static_cast<const char*>(__builtin_frame_address(0));
  const auto used = static_cast<std::size_t>(std::max<std::ptrdiff_t>(state.stack_base - here, 0));
  const std::size_t reserve =
      std::min(kReserve, state.stack_size / 2) / (errors_in_progress() > 0 ? 2 : 1);
  return used > state.stack_size - reserve;
}

class Depth {
 public:
  Depth() { ++state.depth; }
  ~Depth() {
    if (--state.depth == 0) state.leaving = false;
  }
  Depth(const Depth&) = delete;
  Depth& operator=(const Depth&) = delete;
};

// A copy of the text to be evaluated, which may change the variable it lies in; short ones need no
// heap.
class TextCopy {
 public:
  explicit TextCopy(std::string_view text) {
    if (text.size() <= sizeof short_) {
      std::memcpy(short_, text.data(), text.size());
      view_ = {short_, text.size()};
    } else {
      long_ = text;
      view_ = long_;
    }
  }
  TextCopy(const TextCopy&) = delete;
  TextCopy& operator=(const TextCopy&) = delete;
  std::string_view view() const { return view_; }

 private:
  char short_[256];
  std::string long_;
  std::string_view view_;
};

// The bytes of `source` must stay where they are: its tokens are views of them.
Var* evaluate(std::string_view source, const BlockArguments* block) {
  if (state.leaving && errors_in_progress() == 0) return error_value();
  const Depth depth;
  if (stack_is_short()) {
    RT_ERROR(309, "evaluations are nested too deeply");
    state.leaving = true;
    return error_value();
  }
  std::string expanded;
  std::string_view text = source;
  if (source.size() > kExpandLimit || source.find('&') != std::string_view::npos) {
    if (!EXPAND_MACRO(source, expanded, kExpandLimit, kUnknownIsError))
      return RT_ERROR(319, "trying to macroexpand the expression");
    text = expanded;
  }
  const std::int32_t mark = temp_top();
  Parser parser(source, text);
  return keep_temp(mark, block != nullptr ? parser.evaluate_block(*block) : parser.evaluate());
}

bool expand(std::string_view source, std::string& target, int flags) {
  return EXPAND_MACRO(source, target, kExpandLimit, flags);
}

}  // namespace

bool leaving_deep_evaluation() {
  return state.leaving && errors_in_progress() == 0;
}

Var* EXP_EVAL(std::string_view text) {
  if (text.data() == nullptr) return RT_INTERNAL(407, "EXP_EVAL");
  if (text.empty()) return empty_text();
  const TextCopy copy(text);
  return evaluate(copy.view(), nullptr);
}

Var* EVAL_BLOCK(std::int32_t argc, Var** argv) {
  const std::int32_t mark = temp_top();
  // The copy keeps the text while the block runs, even if it clears the variable it came from.
  Var* block = CPY_VAR(NEW_TEMP(), argv[0]);
  const BlockArguments arguments{argc - 1, argv + 1};
  // A parameter is a variable: an operator may no longer reuse its cell for a result.
  for (std::int32_t i = 1; i < argc; ++i)
    if (argv[i] != nullptr && upper_class(argv[i]->sclass) == 'T')
      argv[i]->sclass = argv[i]->sclass == 'T' ? 'N' : 'n';
  return keep_temp(mark, evaluate({block->block_text, MEM_SIZE(block->block_text)}, &arguments));
}

void init_macro() {
  state.stack_base = static_cast<const char*>(__builtin_frame_address(0));
  rlimit limit{};
  if (getrlimit(RLIMIT_STACK, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY)
    state.stack_size = std::min<std::size_t>(limit.rlim_cur, kUsualStack);
  set_macro_hooks({EXP_EVAL, EVAL_BLOCK, expand});
}

}  // namespace tarnel
