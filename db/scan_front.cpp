#include "db/scan_front.h"

#include "core/errors.h"
#include "core/stacks.h"
#include "db/area.h"
#include "db/front.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

// The driver object of an area by number or alias; null when there is none.
Var* server_of(const Var* area) {
  const WorkArea* found = is_text(area)     ? resolve_alias(trim_blanks(text_of(area)))
                          : is_number(area) ? area_by_number(integer_of(area))
                                            : nullptr;
  return found != nullptr ? found->server() : nullptr;
}

}  // namespace

Var* dbserver(std::int32_t argc, Var** argv) {
  const bool current = argc < 1 || is_nil(argv[0]);
  Var* server = current ? current_server() : server_of(argv[0]);
  return server != nullptr ? ARG_VAR(server) : nil_value();
}

Var* dbsetrelat(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kError322);
  if (server == nullptr) return false_value();
  const CellHold held(server);  // the look for the area commits, and a handler may close
  std::vector<Var*> passed(argv, argv + argc);
  if (arg_is(argc, argv, 0, "CMNFI")) {
    WorkArea* area = ogsSelect(argv[0], SelectMode::kRequire);
    if (area == nullptr) return false_value();
    passed[0] = area->server() != nullptr ? area->server() : nil_value();
  }
  return front_call(server, {"setrelation", kMethod}, argc, passed.data());
}

Var* dbrselect(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kSilent);
  if (server == nullptr) return int_zero();
  const Var* child = front_call(server, {"relationobject", kMethod}, argc, argv);
  const WorkArea* area = child->type == 'O' ? area_by_server(child) : nullptr;
  return area != nullptr ? TMP_INT(area->number) : int_zero();
}

}  // namespace tarnel
