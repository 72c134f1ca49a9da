// Header and descriptors of a table.
#include <algorithm>

#include "core/errors.h"
#include "core/file_ops.h"
#include "core/text.h"
#include "db/dbfidx/check/parts.h"

namespace tarnel {
namespace {

// What a field of each type may be long.
struct TypeRule {
  char letter;
  int shortest, longest;
};
constexpr TypeRule kTypeRules[] = {{'C', 0, dbf::kMaxFieldLength},
                                   {'D', dbf::kDateLength, dbf::kDateLength},
                                   {'F', 1, dbf::kMaxNumericLength},
                                   {'L', 1, 1},
                                   {'M', dbf::kMemoLength, dbf::kMemoLength},
                                   {'N', 1, dbf::kMaxNumericLength}};

const TypeRule* rule_of(char letter) {
  const auto* rule = std::find_if(std::begin(kTypeRules), std::end(kTypeRules),
                                  [&](const TypeRule& r) { return r.letter == letter; });
  return rule != std::end(kTypeRules) ? rule : nullptr;
}
bool allows(const TypeRule& rule, int length) {
  return length >= rule.shortest && length <= rule.longest;
}

bool is_good_name(std::string_view name) {
  return !name.empty() && std::none_of(name.begin(), name.end(),
                                       [](char c) { return static_cast<unsigned char>(c) <= ' '; });
}

void check_field(CheckedTable& table, std::size_t i) {
  const dbf::Field& field = table.fields[i];
  const std::string_view name = field.name;
  const std::string place = "field " + std::to_string(i + 1) + " " + std::string(name);
  Findings& findings = table.findings;
  if (!is_good_name(name)) findings.add(Fault::kFieldName, place);
  for (std::size_t k = 0; k < i; ++k)
    if (same_letters(table.fields[k].name, name)) findings.add(Fault::kFieldTwice, place);
  const TypeRule* rule = rule_of(field.type);
  if (rule == nullptr)
    findings.add(Fault::kFieldType, place, {&field.type, 1});
  else if (!allows(*rule, field.length))
    findings.add(Fault::kFieldLength, place, field.type + (" " + std::to_string(field.length)));
}

void check_descriptors(CheckedTable& table) {
  Findings& findings = table.findings;
  if (!dbf::read_fields(table.header, table.fields))
    findings.add(Fault::kFieldsDontFill, "header",
                 std::to_string(table.fields.size()) + " lie in it, the record size is " +
                     std::to_string(table.record_size()));
  for (std::size_t i = 0; i < table.fields.size(); ++i) check_field(table, i);
  const std::size_t size = table.header.size();
  const std::size_t mark = size - (size - dbf::kHeaderPrefix) % dbf::kDescriptorSize;
  if (mark == size || table.header[mark] != dbf::kEndMark)
    findings.add(Fault::kNoEndMark, "header");
  const bool memo = dbf::has_memo(dbf::version(table.header.data()));
  const bool fields = std::any_of(table.fields.begin(), table.fields.end(),
                                  [](const dbf::Field& field) { return field.type == 'M'; });
  if (memo != fields)
    findings.add(Fault::kMemoBit, "header",
                 memo ? "a memo file, no field" : "fields, no memo file");
}

void check_date(CheckedTable& table) {
  const dbf::Date date = dbf::last_update(table.header.data());
  if (date.month <= 12 && date.day <= 31) return;
  table.findings.add(Fault::kDateOfChange, "header",
                     format_text("%04d-%02d-%02d", date.year, date.month, date.day));
}

// The count against the file's length.
void check_count(CheckedTable& table, std::int64_t file_size) {
  constexpr std::uint8_t kForeignEnd =
      0x1A;  // one such byte, which others write at the end, is none's
  const std::uint8_t* header = table.header.data();
  const std::int64_t counted = dbf::record_count(header), record = table.record_size();
  const std::int64_t room = file_size - dbf::header_size(header);
  const std::int64_t there = room / record;
  Findings& findings = table.findings;
  table.records = static_cast<std::int32_t>(std::min<std::int64_t>({counted, there, kMaxRecords}));
  const std::string both = std::to_string(counted) + " and " + std::to_string(there);
  if (counted > kMaxRecords)
    findings.add(Fault::kCountTooHigh, "header", std::to_string(counted));
  else if (counted > there)
    findings.add(Fault::kRecordsLacking, "header", both);
  const std::int64_t behind = room - counted * record;
  std::uint8_t byte = 0;
  if (behind <= 0 ||
      (behind == 1 && read_at(table.fd, &byte, 1, file_size - 1) && byte == kForeignEnd))
    return;
  findings.add(Fault::kBytesBehind, "header",
               std::to_string(behind) + ", " + std::to_string(behind / record) + " whole records");
}

}  // namespace

bool is_good_field(const dbf::Field& field) {
  const TypeRule* rule = rule_of(field.type);
  return is_good_name(field.name) && rule != nullptr && allows(*rule, field.length);
}

bool check_header(CheckedTable& table) {
  const ShortLock lock(table.dbf);
  Findings& findings = table.findings;
  std::uint8_t prefix[dbf::kHeaderPrefix];
  struct stat status {};
  if (!lock.held() || !read_at(table.fd, prefix, sizeof prefix, 0) ||
      file_ops().fstat(table.fd, &status) != 0) {
    findings.add(Fault::kUnreadable, "header");
    return false;
  }
  if (!dbf::is_table(dbf::version(prefix))) {
    findings.add(Fault::kNoTable, "header", format_text("version 0x%02x", dbf::version(prefix)));
    return false;
  }
  const std::size_t size = dbf::header_size(prefix);
  if (size <= dbf::kHeaderPrefix || static_cast<std::int64_t>(size) > status.st_size) {
    findings.add(Fault::kHeaderSize, "header",
                 std::to_string(size) + ", the file has " + std::to_string(status.st_size));
    return false;
  }
  if (dbf::record_size(prefix) == 0) {
    findings.add(Fault::kRecordSize, "header");
    return false;
  }
  table.header.resize(size);
  if (!read_at(table.fd, table.header.data(), size, 0)) {
    findings.add(Fault::kUnreadable, "header");
    return false;
  }
  check_date(table);
  check_descriptors(table);
  check_count(table, status.st_size);
  return true;
}

}  // namespace tarnel
