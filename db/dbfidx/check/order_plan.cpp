#include "db/dbfidx/check/order_plan.h"

#include <fcntl.h>

#include <algorithm>

#include "core/blocks.h"
#include "core/classes.h"
#include "core/open_files.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/dbfidx/check/opened_table.h"
#include "lib/replacement_file.h"

namespace tarnel {
namespace {

bool is_text(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(),
                                      [](char c) { return static_cast<unsigned char>(c) >= ' '; });
}

bool make_order(Var* object, const OrderPlan& order, const std::string& path) {
  const std::int32_t mark = temp_top();
  const bool all = order.condition.empty();
  send(object, "setordercondition", all ? nil_value() : TMP_TEXT(order.condition),
       all ? nil_value() : ogmakecb(order.condition), nil_value(), nil_value(), nil_value(),
       nil_value(), nil_value(), nil_value(), nil_value(), nil_value(),
       logical(order.header.descending()));
  const Var* made =
      send(object, "createorder", TMP_TEXT(path), TMP_TEXT(path), TMP_TEXT(order.header.expression),
           nil_value(), logical(order.header.unique()));
  DbfIdx& dbf = dbf_of(object);
  const IndexControl* index = order_at(dbf, 1);
  const bool whole = made->type == 'L' && truth_of(made) && index != nullptr &&
                     index->state.agreement != Agreement::kDiffers && flush_orders(dbf);
  POP_TEMPS(mark);
  close_orders(dbf);
  return whole;
}

bool build(Var* object, const OrderPlan& order) {
  ReplacementFile file(order.path, ".ovix");  // no order yet to who looks for them
  return file.create(0600) && make_order(object, order, file.path()) && file.flush(true) &&
         file.take_place();
}

}  // namespace

std::optional<OrderPlan> read_order_plan(const std::string& path) {
  const File file(path.c_str(), O_RDONLY);
  idx::Extension extension;
  OrderPlan order{path, {}, {}};
  if (!file.opened() || !idx::read_header(file.fd(), order.header) ||
      !idx::read_extension(file.fd(), extension) || !is_text(order.header.expression))
    return {};
  order.condition = extension.condition;
  return order;
}

bool build_orders(const std::string& table, const std::vector<OrderPlan>& orders,
                  const TellLine& tell) {
  OpenedTable opened(table, OpenedTable::Use::kAlone);
  bool all = true;
  for (const OrderPlan& order : orders)
    if (opened.get() == nullptr || !build(opened.object(), order)) {
      tell(std::string(base_name(order.path)) + ": could not be built");
      all = false;
    }
  return all;
}

}  // namespace tarnel
