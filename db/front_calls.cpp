// The front functions that only hand on a call.
#include <array>
#include <vector>

#include "core/errors.h"
#include "core/stacks.h"
#include "db/front.h"

namespace tarnel {
namespace {

struct FrontRow {
  std::string_view member;
  std::int32_t slot;
  Pass pass;
  NoArea no_area;
  Default result;
};

Var* default_value(Default which) {
  switch (which) {
    case Default::kFalse:
      return false_value();
    case Default::kNil:
      return nil_value();
    case Default::kZero:
      return int_zero();
    case Default::kEmptyText:
      return empty_text();
    default:
      return true_value();
  }
}

constexpr std::int32_t kMostArguments = 16;

[[gnu::noinline]] Var* call_slot(Var* server, std::string_view member, std::int32_t slot,
                                 std::int32_t argc, Var** argv) {
  const CellHold hold(server);  // the call may close the table
  std::array<Var*, kMostArguments + 1> passed;
  passed[0] = server;
  const std::int32_t n = argc < kMostArguments ? argc : kMostArguments;
  for (std::int32_t i = 0; i < n; ++i) passed[static_cast<std::size_t>(i) + 1] = argv[i];
  return csdometh(member, slot, 0, n + 1, passed.data());
}

// One function for each row, so that each has a call of its own, which the processor learns to
// foresee. The object alone is what most calls of a loop over records pass.
template <const FrontRow& row>
Var* dispatch(std::int32_t argc, Var** argv) {
  Var* server = front_server(row.no_area);
  if (server == nullptr) return default_value(row.result);
  if (argc > 0 && row.pass == Pass::kAll)
    return call_slot(server, row.member, row.slot, argc, argv);
  const CellHold hold(server);  // the call may close the table
  const Callable method = current_area()->methods[row.slot];
  return method != nullptr ? CALL_VECTOR(method, 1, &server) : csnodome(row.member, 0, 1, &server);
}

}  // namespace

Var* no_server(NoArea no_area) {
  if (no_area == NoArea::kSilent) return nullptr;
  const WorkArea* area = current_area();
  RT_ERROR(322, format_text("in work area %d", area != nullptr ? area->number : 1));
  return nullptr;
}

Var* front_call(Var* server, FrontMember member, std::int32_t argc, Var** argv) {
  return call_slot(server, member.name, member.slot, argc, argv);
}

Var* front_call(Var* server, std::string_view member, char kind, std::int32_t argc, Var** argv) {
  return call_slot(server, member, server_slot(member, kind), argc, argv);
}

#define DEFINE_FRONT(function, member, kind, pass, no_area, result, ...)            \
  Var* front_##function(std::int32_t argc, Var** argv) {                            \
    static constexpr FrontRow row = {member, server_slot(member, kind), Pass::pass, \
                                     NoArea::no_area, Default::result};             \
    static_assert(row.slot >= 0);                                                   \
    return dispatch<row>(argc, argv);                                               \
  }
FRONT_CALLS(DEFINE_FRONT)
#undef DEFINE_FRONT

}  // namespace tarnel
