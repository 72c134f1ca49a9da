// One open order and what the files of the orders share:
//
//   idx_format   the file: header, extension, pages     page_store   its pages in memory
//   key          a key outside of a page                key_tree     the tree and a cursor in it
//   orders       keys of the records as they change     agreement    is a file up to date?
//   order_open   opening, closing                       order_create, order_build   new files
//   order_management   the list of orders, questions    order_navigation   moves along an order
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "db/dbfidx/order/agreement.h"
#include "db/dbfidx/order/key_tree.h"
#include "db/dbfidx/order/orders.h"

namespace tarnel {

struct IndexControl {
  // Set at opening.
  std::string fileName;  // full path
  std::string tagName;   // given at opening, at most 15 characters
  int fd = -1;
  bool readOnly = false;
  std::uint32_t generation = 0;  // that of the table
  std::int32_t field = -1;       // number from 0 of the field that alone is the key, -1 none
  Var* keyBlock = nullptr;
  Var* forBlock = nullptr;  // null: every record has a key
  Var* standIn = nullptr;   // computes the keys while a build goes on; not held

  KeyTree tree;
  std::uint32_t lockStamp = 0;  // of the internal lock under which the tree was begun

  // The record before its change.
  Key oldKey;
  bool oldFor = true;

  AgreementState state;
  bool told = false;    // of a difference, see order_notice()
  bool closed = false;  // what still works on it finds nothing, see close_index()

  const idx::Header& header() const { return tree.header(); }
  bool exclusive() const { return tree.exclusive(); }
  bool plain() const { return !header().unique() && forBlock == nullptr; }
};

inline IndexControl* order_at(const DbfIdx& dbf, std::int32_t n) {
  return n >= 1 && n <= dbf.orderCount ? dbf.orders[n] : nullptr;
}
inline IndexControl* current_index(const DbfIdx& dbf) {
  return order_at(dbf, dbf.currentOrder);
}

// Tells whether the orders that an operation works on are still the table's, whatever code of the
// language did meanwhile. Others may have come behind them.
class SameOrders {
 public:
  explicit SameOrders(const DbfIdx& dbf)
      : dbf_(dbf), same_(dbf), count_(dbf.orderCount), first_(order_at(dbf, 1)) {}
  bool holds() const {
    return same_.holds() && dbf_.orderCount >= count_ && order_at(dbf_, 1) == first_;
  }

 private:
  const DbfIdx& dbf_;
  const SameTable same_;
  const std::int32_t count_;
  const IndexControl* const first_;
};

// For the life of the guard no order is compared with its table.
class ChecksOff {
 public:
  explicit ChecksOff(DbfIdx& dbf)
      : dbf_(dbf), same_(dbf), former_(std::exchange(dbf.orders.state, std::uint8_t{kChecksOff})) {}
  ~ChecksOff() {
    if (same_.holds()) dbf_.orders.state = former_;
  }
  ChecksOff(const ChecksOff&) = delete;
  ChecksOff& operator=(const ChecksOff&) = delete;

 private:
  DbfIdx& dbf_;
  const SameTable same_;
  const std::uint8_t former_;
};

// --- Keys of records (orders.cpp)
// Are keys of a new record still to be added?
inline bool keys_pending(const DbfIdx& dbf) {
  return dbf.orders.keysPending;
}
// After work on a tree: false, with the orders given up, when it failed. Error 412.
bool give_up(DbfIdx& dbf, IndexControl& index);
inline bool sound(DbfIdx& dbf, IndexControl& index) {
  return index.tree.failed_sector() < 0 || give_up(dbf, index);
}
// Was something found wrong when the orders were opened that is still to be told? It is told once,
// before they are used; false when they were given up for it. Errors 331, 902.
inline bool mismatch_to_report(const DbfIdx& dbf) {
  return dbf.orders.state != kIndexGood && dbf.orders.state != kChecksOff;
}
bool report_mismatch(DbfIdx& dbf);
// Makes the tree ready for work under the internal lock now held; false, as above, when the orders
// were given up.
void begin_locked(DbfIdx& dbf, IndexControl& index);
inline bool ready(DbfIdx& dbf, IndexControl& index) {
  if (mismatch_to_report(dbf) && !report_mismatch(dbf)) return false;
  if (index.exclusive())
    index.tree.begin(!index.readOnly);
  else
    begin_locked(dbf, index);
  index.tree.refresh();
  return sound(dbf, index);
}
// Did ready() say yes under the internal lock now held, and nothing fail since?
inline bool is_ready(const DbfIdx& dbf, const IndexControl& index) {
  return index.closed || (!mismatch_to_report(dbf) && index.tree.failed_sector() < 0 &&
                          (index.exclusive() || index.lockStamp == dbf.locks.stamp));
}
// Writes what was changed under a shared lock.
void settle(DbfIdx& dbf, IndexControl& index);
// The key of the record under the cursor. False after error 317, and of a record that can't be read.
bool record_key(DbfIdx& dbf, IndexControl& index, Key& key);
// Error 416 for a key that is there already. REQUIRES: is_ready()
void add_key(DbfIdx& dbf, IndexControl& index, const Key& key, std::int32_t recno);

// --- Opening and closing (order_open.cpp)
struct OrderRequest {
  std::string_view file;
  std::string_view tag;
  bool exclusive = false;
  const Var* key = nullptr;  // the key's value, when it was evaluated already
};
// A new control, or null after errors 101, 103, 331, 340. Warnings 901, 902.
IndexControl* open_index(DbfIdx& dbf, const OrderRequest& request);
// Takes an order, which is no longer in the list, out of use. Who still works on it, because code of the
// language closed it meanwhile, finds no keys, and it is freed when nobody can.
void close_index(DbfIdx& dbf, IndexControl* index);
// Empties the file of an exclusive order.
bool zap_index(DbfIdx& dbf, IndexControl& index);
// Is a name that an order keeps, with the extension or without, that of a table's file?
bool names_table(std::string_view stored, std::string_view table);
// The collation in force as it stands in a file: all 0 when there is none.
void current_collation(std::uint8_t (&table)[256]);

// --- Building (order_build.cpp)
// Fills an empty order with the keys of the records that the condition of the table selects, and
// consumes the condition. `key_block`, unless null, stands in for the key expression; along_order
// takes the records from the cursor on as order 2 has them. False when the table or its orders went
// away meanwhile.
bool build_index(DbfIdx& dbf, IndexControl& index, Var* key_block, bool along_order);
// Builds all orders of a table in exclusive use anew, by the conditions of their own. False after an error, or
// when the table or an order went away.
[[nodiscard]] bool rebuild_orders(DbfIdx& dbf);
// Forgets the condition for the next order.
void clear_condition(DbfIdx& dbf);

// The number of an order named by a number or a file, 0 when there is none.
std::int32_t order_number(const DbfIdx& dbf, std::int32_t argc, Var** argv, std::int32_t i);

// --- Moves (order_navigation.cpp)
// Brings the tree's cursor to the key of the record under the cursor; false on a miss, when it
// stands before the next key. Errors 331, 412.
bool update_position(DbfIdx& dbf, IndexControl& index);

}  // namespace tarnel
