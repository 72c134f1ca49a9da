// One open order and what the files of the orders share:
//
//   idx_format   the file: header, extension, pages     page_store   its pages in memory
//   key          a key outside of a page                key_tree     the tree and a cursor in it
//   orders       keys of the records as they change     order_open   opening, closing, agreement
//   order_create, order_build   new files and their keys
//   order_management   the list of orders, questions    order_navigation   moves along an order
#pragma once

#include <cstdint>
#include <string>

#include "db/dbfidx/order/key_tree.h"
#include "db/dbfidx/order/orders.h"

namespace tarnel {

struct IndexControl {
  // Set at opening.
  std::string fileName;  // full path
  std::string tagName;   // given at opening, at most 15 characters
  int fd = -1;
  bool readOnly = false;
  std::int32_t field = -1;  // number from 0 of the field that alone is the key, -1 none
  Var* keyBlock = nullptr;
  Var* forBlock = nullptr;  // null: every record has a key

  KeyTree tree;
  std::uint32_t lockStamp = 0;  // of the internal lock under which the tree was begun

  // The record before its change.
  Key oldKey;
  bool oldFor = true;

  // Agreement with the table, see order_open.cpp.
  bool agrees = true;        // the counter in the file was the table's before the change under way
  std::uint8_t counter = 0;  // exclusive use: the table's when the file was last written
  bool marked = false;       // exclusive use: the file says that it does not agree
  bool changing = false;     // shared use: the counter is to be stored at the end of the change

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

// --- Keys of records (orders.cpp)
constexpr std::uint8_t kPending = 5, kSettled = 4;  // values of syncState
// Are keys of a new record still to be added?
inline bool keys_pending(const DbfIdx& dbf) {
  return dbf.syncState == kPending;
}
// After work on a tree: false, with the orders given up, when it failed. Error 412.
bool give_up(DbfIdx& dbf, IndexControl& index);
inline bool sound(DbfIdx& dbf, IndexControl& index) {
  return index.tree.failed_sector() < 0 || give_up(dbf, index);
}
// Was something found wrong when the orders were opened that is still to be told? It is told once,
// before they are used; false when they were given up for it. Errors 331, 902.
inline bool mismatch_to_report(const DbfIdx& dbf) {
  return dbf.indexState != kIndexGood && dbf.indexState != kChecksOff;
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
// Writes what was changed under a shared lock.
void settle(DbfIdx& dbf, IndexControl& index);
// The key of the record under the cursor. False after error 317.
bool record_key(DbfIdx& dbf, IndexControl& index, Key& key);
// Does the block, null or a condition, hold for the record under the cursor?
bool condition_holds(DbfIdx& dbf, Var* block);
// Runs a block in the table's area; null never.
Var* run_in_area(DbfIdx& dbf, Var* block);
// Error 416 for a key that is there already. REQUIRES: ready()
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
void close_index(DbfIdx& dbf, IndexControl* index);
// Writes all that is in memory, and that the file agrees with the table. False on a write error.
bool flush_index(DbfIdx& dbf, IndexControl& index);
// The file is about to differ from the table until flush_index().
void mark_changed(DbfIdx& dbf, IndexControl& index);
// Empties the file of an exclusive order.
bool zap_index(DbfIdx& dbf, IndexControl& index);
// What is wrong with an order beside the table, kIndexGood when nothing.
IndexState check_index(DbfIdx& dbf, IndexControl& index);
// The collation in force as it stands in a file: all 0 when there is none.
void current_collation(std::uint8_t (&table)[256]);

// --- Building (order_build.cpp)
// Fills an empty order with the keys of the records that the condition of the table selects, and
// consumes the condition. `key_block`, unless null, stands in for the key expression; along_order
// takes the records from the cursor on as order 2 has them. False when the table or its orders went
// away meanwhile.
bool build_index(DbfIdx& dbf, IndexControl& index, Var* key_block, bool along_order);
// Forgets the condition for the next order.
void clear_condition(DbfIdx& dbf);

// The number of an order named by a number or a file, 0 when there is none.
std::int32_t order_number(const DbfIdx& dbf, std::int32_t argc, Var** argv, std::int32_t i);

// --- Moves (order_navigation.cpp)
// Brings the tree's cursor to the key of the record under the cursor; false on a miss, when it
// stands before the next key. Errors 331, 412.
bool update_position(DbfIdx& dbf, IndexControl& index);

}  // namespace tarnel
