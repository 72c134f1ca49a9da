#include "macro/evaluation.h"

#include <sys/resource.h>

#include <algorithm>
#include <cstddef>

#include "core/errors.h"
#include "macro/machine.h"

namespace tarnel {
namespace {

constexpr std::size_t kUsualStack = std::size_t{8} << 20;
// What an evaluation may not touch: the raise of the error, its handler, and the builtin that was
// called. The handler may evaluate texts itself, in half of it.
constexpr std::size_t kReserve = std::size_t{1} << 20;

struct EvaluatorState {
  const char* stack_base = nullptr;
  const char* room_above = nullptr;  // a frame that is not below it has room in every case
  std::size_t stack_size = kUsualStack;
  int depth = 0;
  bool leaving = false;  // an evaluation was too deep: all around it end without a further error
} state;

std::size_t reserve() {
  return std::min(kReserve, state.stack_size / 2);
}

bool stack_is_short() {
  const char* here = static_cast<const char*>(__builtin_frame_address(0));
  if (here >= state.room_above) return false;
  const auto used = static_cast<std::size_t>(std::max<std::ptrdiff_t>(state.stack_base - here, 0));
  return used > state.stack_size - reserve() / (errors_in_progress() > 0 ? 2 : 1);
}

}  // namespace

Evaluation::Evaluation() : possible_(!leaving_deep_evaluation()) {
  ++state.depth;
  if (!possible_ || !stack_is_short()) return;
  RT_ERROR(309, kNestedTooDeeply);
  state.leaving = true;
  possible_ = false;
}

Evaluation::~Evaluation() {
  if (--state.depth == 0) state.leaving = false;
}

bool leaving_deep_evaluation() {
  return state.leaving && errors_in_progress() == 0;
}

void measure_stack() {
  state.stack_base = static_cast<const char*>(__builtin_frame_address(0));
  rlimit limit{};
  if (getrlimit(RLIMIT_STACK, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY)
    state.stack_size = std::min<std::size_t>(limit.rlim_cur, kUsualStack);
  state.room_above = state.stack_base - (state.stack_size - reserve());
}

}  // namespace tarnel
