#include "db/bulk_front.h"

#include "core/errors.h"
#include "core/stacks.h"
#include "db/front.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

Var* without_arguments(FrontMember member) {
  Var* server = front_server(NoArea::kError322);
  return server != nullptr ? front_call(server, member, 0, nullptr) : false_value();
}

}  // namespace

Var* dbpack(std::int32_t, Var**) {
  return without_arguments({"pack", kMethod});
}
Var* dbzap(std::int32_t, Var**) {
  return without_arguments({"zap", kMethod});
}

Var* dbzappack(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, "O")) {
    RT_ERROR(312, "in __DBZAPPAC()");
    return false_value();
  }
  const bool pack = arg_is(argc, argv, 1, "L") && truth_of(argv[1]);
  return front_call(argv[0], pack ? "pack" : "zap", kMethod, 0, nullptr);
}

}  // namespace tarnel
