#include "db/bulk_front.h"

#include "core/errors.h"
#include "core/stacks.h"
#include "db/front.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

Var* statement(FrontMember member, std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kError322);
  return server != nullptr ? front_call(server, member, argc, argv) : false_value();
}

}  // namespace

Var* dbappend_from(std::int32_t argc, Var** argv) {
  if (current_server() != nullptr) return statement({"appenddb", kMethod}, argc, argv);
  RT_ERROR(311, "in APPEND FROM");
  return false_value();
}
Var* dbcopy(std::int32_t argc, Var** argv) {
  return statement({"copydb", kMethod}, argc, argv);
}
Var* dbcopy_structure(std::int32_t argc, Var** argv) {
  return statement({"copystructure", kMethod}, argc, argv);
}
Var* dbjoin(std::int32_t argc, Var** argv) {
  return statement({"join", kMethod}, argc, argv);
}
Var* dbsort(std::int32_t argc, Var** argv) {
  return statement({"sort", kMethod}, argc, argv);
}
Var* dbtotal(std::int32_t argc, Var** argv) {
  return statement({"total", kMethod}, argc, argv);
}
Var* dbupdate(std::int32_t argc, Var** argv) {
  return statement({"update", kMethod}, argc, argv);
}
Var* dbpack(std::int32_t, Var**) {
  return statement({"pack", kMethod}, 0, nullptr);
}
Var* dbzap(std::int32_t, Var**) {
  return statement({"zap", kMethod}, 0, nullptr);
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
