// The orders of a table that is written anew by other means than those that know them open: each is built again by the
// key and condition in its header, beside the former one, whose place it takes when it is whole.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "db/dbfidx/check/findings.h"
#include "db/dbfidx/order/index_control.h"

namespace tarnel {

struct OrderPlan {
  std::string path;
  idx::Header header;
  std::string condition;
};

// What an order is built by, none when its file doesn't tell.
std::optional<OrderPlan> read_order_plan(const std::string& path);
// Builds the orders of a table, which nobody has open, and tells which could not be built. False when there are any.
bool build_orders(const std::string& table, const std::vector<OrderPlan>& orders,
                  const TellLine& tell);

}  // namespace tarnel
