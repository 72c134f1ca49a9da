// Methods that move whole sets of records between files.
#include "core/stacks.h"
#include "db/dbfidx/bulk/bulk.h"
#include "db/dbfidx/method/methods.h"
#include "db/dbfidx/scan/relations.h"

namespace tarnel {
namespace {

// Runs an operation on the open table of an object, whose children stand where they belong.
template <typename Operation>
Var* on_table(Var** argv, Operation operation) {
  const KeepObject keep(argv[0]);
  DbfIdx& dbf = dbf_of(argv[0]);
  if (dbf.isOpen()) runRelations(dbf);
  return logical(dbf.isOpen() && operation(dbf));
}

}  // namespace

Var* di_pack(std::int32_t, Var** argv) {
  return on_table(argv, pack_table);
}
Var* di_zap(std::int32_t, Var** argv) {
  return on_table(argv, zap_table);
}

}  // namespace tarnel
