// Copies of a table: its records, or its structure alone.
#include "db/dbfidx/bulk/bulk.h"
#include "db/dbfidx/bulk/new_table.h"

namespace tarnel {
namespace {

std::vector<dbf::Field> chosen_fields(const DbfIdx& dbf, const std::vector<std::int32_t>& numbers) {
  std::vector<dbf::Field> fields;
  for (const std::int32_t n : numbers) fields.push_back(dbf.fields[static_cast<std::size_t>(n)]);
  return fields;
}

}  // namespace

bool copy_table(DbfIdx& dbf, const BulkRequest& request) {
  constexpr const char kOperation[] = "COPY TO";
  std::vector<std::int32_t> numbers;
  Scope scope;
  if (!read_field_list(dbf, request.fields, kOperation, numbers) ||
      !read_scope(dbf, request.scope, scope))
    return false;
  NewTable target(dbf, kOperation);
  if (!target.open(request.file, chosen_fields(dbf, numbers))) return false;
  FieldPlan plan;
  for (std::size_t i = 0; i < numbers.size(); ++i)
    if (!plan.add(dbf, numbers[i], target.fields()[i]))
      return false;  // of a type that no value has
  ScopeWalk walk(dbf, scope, "copy");
  for (bool on = walk.begin(); on; on = walk.next())
    if (!fetch_current(dbf) || !plan.fill(dbf, target.blank_record(), target.memos(), kOperation) ||
        !target.add())
      walk.fail();
  return !walk.failed() && walk.same() && target.finish();
}

bool copy_structure(DbfIdx& dbf, std::string_view file, Var* names) {
  constexpr const char kOperation[] = "COPY STRUCT";
  std::vector<std::int32_t> numbers;
  if (!read_field_list(dbf, names, kOperation, numbers)) return false;
  NewTable target(dbf, kOperation);
  return target.open(file, chosen_fields(dbf, numbers)) && target.finish();
}

}  // namespace tarnel
