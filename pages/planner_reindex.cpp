// Builds the orders of the planner's tables anew.
#include "core/frame.h"
#include "core/operators.h"
#include "db/front.h"
#include "lib/number_text.h"
#include "pages/pages.h"
#include "pages/table_access.h"

namespace tarnel {
namespace {

constexpr const char* kModule = "example5";

Var* value(std::int32_t name) {
  return RESOLVE_NAME(name);
}
Var* plus(Var* left, Var* right) {
  return csuaddu(left, right, false);
}
Var* three_digits(std::int32_t name) {
  return CALL_SIMPLE(str, value(name), TMP_INT(3), TMP_INT(0));
}

// The key blocks. Each begins a frame of its own, like any block of the page.
template <Var* (*key)()>
Var* key_block(std::int32_t argc, Var**, Var**) {
  Procedure p(kModule, "cb_1_184_9", 184, argc);
  return p.result(key());
}

Var* stop_key() {
  return value(page_field::stopid);
}
Var* x_then_y() {
  return plus(three_digits(page_field::xcoord), three_digits(page_field::ycoord));
}
Var* y_then_x() {
  return plus(three_digits(page_field::ycoord), three_digits(page_field::xcoord));
}
Var* route_key() {
  return value(page_field::routeid);
}
Var* route_stop() {
  return plus(value(page_field::routeid), value(page_field::stopid));
}
Var* first_second() {
  return plus(value(page_field::route1), value(page_field::route2));
}
Var* second_first() {
  return plus(value(page_field::route2), value(page_field::route1));
}
Var* trip_order() {
  return plus(plus(value(page_field::routeid), value(page_field::tripid)), value(page_field::seq));
}

struct Order {
  const char* table;
  const char* file;
  const char* key;
  BlockFunction block;
};
// The third row names the file of the second one, which it replaces.
constexpr Order kOrders[] = {
    {"stop", "stop1", "stopid", key_block<stop_key>},
    {"stop", "stop2", "str(xcoord,3,0) +str(ycoord,3,0)", key_block<x_then_y>},
    {"stop", "stop2", "str(ycoord,3,0) +str(xcoord,3,0)", key_block<y_then_x>},
    {"route", "route1", "routeid", key_block<route_key>},
    {"rtstop", "rtstop1", "routeid +stopid", key_block<route_stop>},
    {"trx", "trx1", "route1 +route2", key_block<first_second>},
    {"trx", "trx2", "route2 +route1", key_block<second_first>},
    {"stoptime", "stoptim1", "routeid +tripid +seq", key_block<trip_order>},
};

}  // namespace

Var* reindex_planner(std::int32_t argc, Var**) {
  Procedure p(kModule, "reindex", 180, argc);
  std::string_view open;
  for (const Order& order : kOrders) {
    LINE_HOOK(183);
    if (open != order.table) {
      const bool last = std::string_view(order.table) == "stoptime";
      open_table(Area::kSame, order.table, last ? nil_value() : false_value());
      open = order.table;
    }
    LINE_HOOK(184);
    create_order(order.file, order.key, order.block);
    p.next_iteration(182);
  }
  LINE_HOOK(190);
  CALL_SIMPLE(dbcloseall);
  return p.result(nil_value());
}

}  // namespace tarnel
