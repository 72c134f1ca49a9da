#include "db/dbfidx/scan/relations.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include "core/arrays.h"
#include "core/blocks.h"
#include "core/settings.h"
#include "core/stacks.h"
#include "core/switched.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/dbfidx/table_errors.h"

namespace tarnel {
namespace {

constexpr int kDeepest = 250;  // parents and children below each other that follow one move

void go_to_key(DbfIdx& child, Var* key) {
  if (key == nullptr || key->type == 'E' || is_nil(key))
    go_behind_end(child);
  else if (child.currentOrder != 0)
    seek_record(child, key, settings().softseek);
  else if (is_number(key))
    go_to_number(child, integer_of(key));
  else
    go_behind_end(child);
}

// The relation is a copy: the key may change the list.
void follow(DbfIdx& dbf, const Relation relation) {
  const CellHold child_kept(relation.child), key_kept(relation.keyBlock);
  DbfIdx& child = dbf_of(relation.child);
  if (!child.isOpen()) return;
  const SameTable same(dbf);
  const std::int32_t mark = temp_top();
  Var* key = dbf.eofFlag == 0 ? value_of_record(dbf, relation.keyBlock) : nullptr;
  if (same.holds() && child.isOpen()) go_to_key(child, key);
  POP_TEMPS(mark);
}

// Do relations lead from one table to another?
bool leads_to(DbfIdx& from, const DbfIdx& to) {
  std::vector<DbfIdx*> reached = {&from};
  for (std::size_t i = 0; i < reached.size(); ++i) {
    if (reached[i] == &to) return true;
    for (const Relation& relation : reached[i]->relations.list)
      if (DbfIdx* next = &dbf_of(relation.child); std::ranges::find(reached, next) == reached.end())
        reached.push_back(next);
  }
  return false;
}

bool may_follow(DbfIdx& dbf, Var* child) {
  if (child->type != 'O' || class_of(child) != &dbfidx_class()) return false;
  DbfIdx& table = dbf_of(child);
  return table.isOpen() && !leads_to(table, dbf);
}

// The block of a key; null when it makes none.
Var* key_block(Var* key) {
  if (key->type != 'A') return block_of(key);
  std::string text;
  for (std::int32_t i = 1; i <= element_count(key); ++i) {
    if (!is_text(element(key, i))) return nullptr;
    text += text_of(element(key, i));
  }
  return block_of(TMP_TEXT(text));
}

}  // namespace

void follow_cursor(DbfIdx& dbf) {
  static int depth = 0;
  if (dbf.relations.running || !dbf.isOpen()) return;
  if (depth >= kDeepest) return dxerror(dbf, TableError::kSetRelation);
  const CallOut out;
  const Switched<int> deeper(depth, depth + 1);
  const Switched<bool> running(dbf.relations.running, true);
  const SameTable same(dbf);
  const std::size_t count = dbf.relations.list.size();  // a key may add to the list without end
  for (std::size_t i = 0; i < count && same.holds(); ++i)
    if (dbf.relations.on && i < dbf.relations.list.size()) follow(dbf, dbf.relations.list[i]);
}

bool add_relation(DbfIdx& dbf, Var* child, Var* key, Var* text) {
  const SameTable same(dbf);
  Var* block = may_follow(dbf, child) ? key_block(key) : nullptr;
  if (!same.holds()) return false;
  if (block == nullptr || !may_follow(dbf, child)) {
    dxerror(dbf, TableError::kSetRelation);
    return false;
  }
  Relation relation;
  keep_value(&relation.child, child);
  keep_value(&relation.keyBlock, block);
  if (text != nullptr) keep_value(&relation.text, text);
  dbf.relations.list.push_back(relation);
  dbf.relations.on = true;
  runRelations(dbf);
  return same.holds();
}

void clear_relations(DbfIdx& dbf, const Var* child) {
  auto& list = dbf.relations.list;
  const auto gone = std::stable_partition(list.begin(), list.end(), [&](const Relation& relation) {
    return child != nullptr && relation.child->shared != child->shared;
  });
  std::vector<Relation> given_up(gone, list.end());
  list.erase(gone, list.end());
  dbf.relations.on = dbf.relations.on && !list.empty();
  for (Relation& relation : given_up)
    for (Var** slot : {&relation.child, &relation.keyBlock, &relation.text}) UNHOLD_VAR(slot);
}

}  // namespace tarnel
