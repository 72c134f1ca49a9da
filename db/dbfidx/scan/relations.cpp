#include "db/dbfidx/scan/relations.h"

namespace tarnel {

// No relation can be set yet: relationCount is always 0.
void runRelations(DbfIdx&) {}
void clear_relations(DbfIdx&) {}

}  // namespace tarnel
