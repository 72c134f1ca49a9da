// Copies of a table: its records, or its structure alone.
#include "db/dbfidx/bulk/bulk.h"
#include "db/dbfidx/bulk/new_table.h"
#include "db/dbfidx/bulk/record_pieces.h"

namespace tarnel {
namespace {

std::vector<dbf::Field> chosen_fields(const DbfIdx& dbf, const std::vector<std::int32_t>& numbers) {
  std::vector<dbf::Field> fields;
  for (const std::int32_t n : numbers) fields.push_back(dbf.fields[static_cast<std::size_t>(n)]);
  return fields;
}

constexpr const char kOperation[] = "COPY TO";

bool copy_records(DbfIdx& dbf, const Scope& scope, const FieldPlan& plan, NewTable& target) {
  ScopeWalk walk(dbf, scope, "copy");
  for (bool on = walk.begin(); on; on = walk.next())
    if (!fetch_current(dbf) || !plan.fill(dbf, target.blank_record(), target.memos(), kOperation) ||
        !target.add())
      walk.fail();
  return !walk.failed() && walk.same();
}

// The quick way, where all records move and nothing is to be asked of them.
bool copy_pieces(DbfIdx& dbf, const FieldPlan& plan, NewTable& target) {
  const SameTable same(dbf);
  const bool whole = plan.is_identity(dbf.recordSize, target.record_size());
  if (!leave_record(dbf)) return false;
  RecordPieces pieces(dbf, "copy");
  while (pieces.next()) {
    if (whole && !target.add(pieces.data(), pieces.count())) return false;
    for (std::int32_t i = 0; !whole && i < pieces.count(); ++i) {
      const std::uint8_t* record = pieces.data() + static_cast<std::size_t>(i) * dbf.recordSize;
      if (!plan.fill_from(dbf, record, pieces.first() + i, target.blank_record(), target.memos(),
                          kOperation) ||
          !target.add())
        return false;
    }
  }
  if (pieces.failed() || !same.holds()) return false;
  go_behind_end(dbf);
  return same.holds();
}

}  // namespace

bool copy_table(DbfIdx& dbf, const BulkRequest& request) {
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
  const bool plain = RecordPieces::suit(dbf, scope) && !plan.converts();
  return (plain ? copy_pieces(dbf, plan, target) : copy_records(dbf, scope, plan, target)) &&
         target.finish();
}

bool copy_structure(DbfIdx& dbf, std::string_view file, Var* names) {
  constexpr const char kStructure[] = "COPY STRUCT";
  std::vector<std::int32_t> numbers;
  if (!read_field_list(dbf, names, kStructure, numbers)) return false;
  NewTable target(dbf, kStructure);
  return target.open(file, chosen_fields(dbf, numbers)) && target.finish();
}

}  // namespace tarnel
