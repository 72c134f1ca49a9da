// The scope of a statement as the functions behind it receive it.
#pragma once

#include "db/dbfidx/scan/walk.h"

namespace tarnel {

// FOR and WHILE, blocks or texts, NEXT, RECORD and REST; each NIL when it isn't given.
struct StatementScope {
  Var *forCondition, *whileCondition, *next, *record, *rest;

  // Arguments first to first + 4.
  StatementScope(std::int32_t argc, Var** argv, std::int32_t first);
};
// The scope that the arguments make for a table, whose cursor RECORD moves. False after error 312.
[[nodiscard]] bool read_scope(DbfIdx& dbf, const StatementScope& arguments, Scope& scope);

}  // namespace tarnel
