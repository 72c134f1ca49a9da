#include "db/dbfidx/orders.h"

namespace tarnel {

// No order can be open yet: orderCount and currentOrder are always 0, so that none of the moves is
// ever reached and the notices have nothing to do.
bool index_synchronize(DbfIdx&, SyncMode) {
  return false;
}
void index_append(DbfIdx&) {}
void index_replace(DbfIdx&) {}
void index_gotop(DbfIdx&) {}
void index_gobottom(DbfIdx&) {}
std::int32_t index_skip(DbfIdx&, std::int32_t) {
  return 0;
}
bool index_seek(DbfIdx&, Var*, bool) {
  return false;
}
bool index_seekeval(DbfIdx&, Var*) {
  return false;
}
int index_keycompare(DbfIdx&, Var*) {
  return 0;
}
void store_change_counter(DbfIdx&, std::uint8_t) {}
void close_orders(DbfIdx&) {}

}  // namespace tarnel
