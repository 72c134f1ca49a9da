// Relations: tables that follow the cursor of another one. After each move of the parent every child
// stands on the record that the key of its relation names, as a seek in its controlling order or by
// number, and behind its end when there is none.
#pragma once

#include "db/dbfidx/dbfidx.h"

namespace tarnel {

void follow_cursor(DbfIdx& dbf);  // the part of runRelations for a table that has some
// Moves the child tables to the records that belong to the one under the cursor, and theirs after
// them. Keys are code of the language: the table may be closed when it comes back. Errors 313, those of the
// keys and of the children's moves.
inline void runRelations(DbfIdx& dbf) {
  if (dbf.relations.on && !dbf.relations.list.empty()) follow_cursor(dbf);
}
// Adds a relation and moves the child; all relations are on from then. `text`, null for none, is what
// there is to show. False after error 313: the child is no other open table, its relations lead back here,
// or the key, a block, a text or an array of texts to be joined, makes no block.
bool add_relation(DbfIdx& dbf, Var* child, Var* key, Var* text);
// Gives up the relations into a table, null: all, without moving a child.
void clear_relations(DbfIdx& dbf, const Var* child = nullptr);

}  // namespace tarnel
