// TOTAL: a new table with one record for each run of records of equal keys.
#include "core/errors.h"
#include "core/operators.h"
#include "core/stacks.h"
#include "core/var.h"
#include "db/dbfidx/bulk/bulk.h"
#include "db/dbfidx/bulk/new_table.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/dbfidx/table_errors.h"

namespace tarnel {
namespace {

constexpr const char kOperation[] = "TOTAL";

struct Sum {
  std::size_t field;  // in the new table
  std::int32_t from;
  double value;
};

class Total {
 public:
  Total(DbfIdx& dbf, Var* key)
      : dbf_(dbf), target_(dbf, kOperation), key_block_(key), key_(NEW_VAR('N', 'U')) {}
  ~Total() { DEL_VAR(key_); }
  Total(const Total&) = delete;
  Total& operator=(const Total&) = delete;

  // False after errors 306, 312.
  bool read_sums(Var* names) {
    std::vector<std::int32_t> numbers;
    if (!selects_all(names) && !read_field_list(dbf_, names, kOperation, numbers)) return false;
    for (const std::int32_t n : numbers) {
      const dbf::Field& field = dbf_.fields[static_cast<std::size_t>(n)];
      if (field.type != 'N' && field.type != 'F') {
        dxerror(dbf_, TableError::kBulkNoNumber, {kOperation, field.name});
        return false;
      }
      sums_.push_back({0, n, 0});
    }
    return true;
  }

  bool open(std::string_view file) {
    std::vector<std::int32_t> numbers;
    std::vector<dbf::Field> fields;
    for (std::int32_t i = 0; i < dbf_.fieldCount; ++i) {
      const dbf::Field& field = dbf_.fields[static_cast<std::size_t>(i)];
      if (field.type == 'M') continue;
      for (Sum& sum : sums_)
        if (sum.from == i) sum.field = fields.size();
      numbers.push_back(i);
      fields.push_back(field);
    }
    if (!target_.open(file, std::move(fields))) return false;
    for (std::size_t i = 0; i < numbers.size(); ++i)
      if (!plan_.add(dbf_, numbers[i], target_.fields()[i])) return false;
    return true;
  }

  // Takes the record under the cursor.
  bool take() {
    if (!fetch_current(dbf_)) return false;
    const SameTable same(dbf_);
    const std::int32_t mark = temp_top();
    Var* key = value_of_record(dbf_, key_block_);
    const bool taken = same.holds() && take(key);
    POP_TEMPS(mark);
    return taken;
  }

  bool finish() { return end_run() && target_.finish(); }

 private:
  bool take(Var* key) {
    if (key->type == 'E' || !fetch_current(dbf_)) return false;
    const Var* same = running_ ? csueequu(key_, key) : nullptr;
    if (same != nullptr && same->type == 'E') return false;
    if (same == nullptr || !truth_of(same)) {
      if (!end_run() || !begin_run(key)) return false;
    }
    for (Sum& sum : sums_) {
      const dbf::Field& from = dbf_.fields[static_cast<std::size_t>(sum.from)];
      sum.value += dbf::parse_number(dbf_.buffer.data() + from.offset, from.length);
    }
    return true;
  }

  bool begin_run(Var* key) {
    CPY_VAR(key_, key);
    running_ = true;
    for (Sum& sum : sums_) sum.value = 0;
    record_ = target_.blank_record();
    if (!plan_.fill(dbf_, record_, target_.memos(), kOperation)) return false;
    *record_ = dbf::kLiveMark;
    return true;
  }

  bool end_run() {
    if (!running_) return true;
    running_ = false;
    for (const Sum& sum : sums_) {
      const dbf::Field& field = target_.fields()[sum.field];
      if (field.type == 'F') {
        dbf::put_float(record_ + field.offset, field.length, sum.value);
      } else if (!dbf::put_fixed(record_ + field.offset, field.length, field.decimals, sum.value)) {
        dxerror(dbf_, TableError::kBulkSumOverflow, {kOperation, field.name});
        return false;
      }
    }
    return target_.add();
  }

  DbfIdx& dbf_;
  NewTable target_;
  FieldPlan plan_;
  std::vector<Sum> sums_;
  Var* const key_block_;
  Var* const key_;  // of the run
  std::uint8_t* record_ = nullptr;
  bool running_ = false;
};

}  // namespace

bool total_table(DbfIdx& dbf, const BulkRequest& request, Var* key) {
  Var* block = block_of(key);
  Scope scope;
  if (block == nullptr) {
    if (!is_text(key)) dxerror(dbf, TableError::kBulkNoBlock, {kOperation});
    return false;
  }
  Total total(dbf, block);
  if (!total.read_sums(request.fields) || !read_scope(dbf, request.scope, scope) ||
      !total.open(request.file))
    return false;
  ScopeWalk walk(dbf, scope, "total");
  for (bool on = walk.begin(); on; on = walk.next())
    if (!total.take()) walk.fail();
  return !walk.failed() && walk.same() && total.finish();
}

}  // namespace tarnel
