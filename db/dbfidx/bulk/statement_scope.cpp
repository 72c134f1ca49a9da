#include "db/dbfidx/bulk/statement_scope.h"

#include "core/errors.h"
#include "core/stacks.h"
#include "db/dbfidx/scan/conditions.h"

namespace tarnel {

StatementScope::StatementScope(std::int32_t argc, Var** argv, std::int32_t first)
    : forCondition(argument_or_nil(argc, argv, first)),
      whileCondition(argument_or_nil(argc, argv, first + 1)),
      next(argument_or_nil(argc, argv, first + 2)),
      record(argument_or_nil(argc, argv, first + 3)),
      rest(argument_or_nil(argc, argv, first + 4)) {}

bool read_scope(DbfIdx& dbf, const StatementScope& arguments, Scope& scope) {
  Var* extent = !is_nil(arguments.record)   ? arguments.record
                : !is_nil(arguments.next)   ? arguments.next
                : is_number(arguments.rest) ? empty_text()  // would be taken for NEXT
                                            : arguments.rest;
  const bool one = is_number(arguments.record);
  if (!read_scope(dbf, {arguments.forCondition, arguments.whileCondition, one ? int_one() : extent},
                  scope))
    return false;
  return !one || go_to_number(dbf, integer_of(arguments.record));
}

}  // namespace tarnel
