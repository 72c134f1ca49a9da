#include "macro/evaluation.h"

#include <sys/resource.h>

#include <algorithm>
#include <cstddef>

#include "core/errors.h"

namespace tarnel {
namespace {

constexpr std::size_t kUsualStack = std::size_t{8} << 20;
// What an evaluation may not touch: the raise of the error, its handler, and the builtin that was
// called. The handler may evaluate texts itself, in half of it.
constexpr std::size_t kReserve = std::size_t{1} << 20;

std::size_t stack_size = kUsualStack;
const char* usual_room = nullptr;

std::size_t reserve() {
  return std::min(kReserve, stack_size / 2);
}

bool stack_is_short() {
  const char* here = static_cast<const char*>(__builtin_frame_address(0));
  if (here >= usual_room) return false;
  const auto used =
      static_cast<std::size_t>(std::max<std::ptrdiff_t>(detail::evaluator.stack_base - here, 0));
  return used > stack_size - reserve() / (errors_in_progress() > 0 ? 2 : 1);
}

}  // namespace

namespace detail {

EvaluatorState evaluator{};

bool may_evaluate() {
  if (leaving_deep_evaluation()) return false;
  if (!stack_is_short()) return true;
  tell_too_deep();
  return false;
}

bool is_left() {
  return errors_in_progress() == 0;
}

void end_leaving() {
  evaluator.leaving = false;
  evaluator.room_above = usual_room;
}

}  // namespace detail

void tell_too_deep() {
  RT_ERROR(309, kNestedTooDeeply);
  detail::evaluator.leaving = true;
  detail::evaluator.room_above = reinterpret_cast<const char*>(UINTPTR_MAX);
}

void measure_stack() {
  detail::evaluator.stack_base = static_cast<const char*>(__builtin_frame_address(0));
  rlimit limit{};
  if (getrlimit(RLIMIT_STACK, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY)
    stack_size = std::min<std::size_t>(limit.rlim_cur, kUsualStack);
  usual_room = detail::evaluator.stack_base - (stack_size - reserve());
  detail::evaluator.room_above = usual_room;
}

}  // namespace tarnel
