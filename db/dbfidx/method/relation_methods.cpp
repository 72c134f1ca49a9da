// Methods of the relations out of a table.
#include "core/errors.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/method/methods.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/dbfidx/scan/relations.h"
#include "db/dbfidx/table_errors.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

// The relation that argument 1 numbers, the first without one; null when there is none.
const Relation* relation_at(std::int32_t argc, Var** argv) {
  const auto& list = dbf_of(argv[0]).relations.list;
  const std::int64_t n = int_argument(argc, argv, 1, 1);
  const bool there = n >= 1 && n <= static_cast<std::int64_t>(list.size());
  return there ? &list[static_cast<std::size_t>(n) - 1] : nullptr;
}

}  // namespace

Var* di_setrelation(std::int32_t argc, Var** argv) {
  const KeepObject keep(argv[0]);
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return false_value();
  return logical(add_relation(dbf, argument_or_nil(argc, argv, 1), argument_or_nil(argc, argv, 2),
                              arg_is(argc, argv, 3, kText) ? argv[3] : nullptr));
}

Var* di_clearrelation(std::int32_t argc, Var** argv) {
  const Var* child = argument_or_nil(argc, argv, 1);
  if (!is_nil(child) && child->type != 'O') return false_value();
  clear_relations(dbf_of(argv[0]), is_nil(child) ? nullptr : child);
  return true_value();
}

Var* di_relation(std::int32_t argc, Var** argv) {
  const Relation* relation = relation_at(argc, argv);
  return relation != nullptr && relation->text != nullptr ? ARG_VAR(relation->text) : empty_text();
}

Var* di_relationobject(std::int32_t argc, Var** argv) {
  const Relation* relation = relation_at(argc, argv);
  return relation != nullptr ? ARG_VAR(relation->child) : nil_value();
}

Var* di_isrelation(std::int32_t, Var** argv) {
  const Relations& relations = dbf_of(argv[0]).relations;
  return logical(relations.on && !relations.list.empty());
}

Var* di_set_isrelation(std::int32_t argc, Var** argv) {
  Relations& relations = dbf_of(argv[0]).relations;
  relations.on = arg_is(argc, argv, 1, kNumeric) && truth_of(argv[1]);
  return argument_or_nil(argc, argv, 1);
}

}  // namespace tarnel
