#include "db/text/ascirdd.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "core/arrays.h"
#include "core/classes.h"
#include "core/errors.h"
#include "core/frame.h"
#include "core/text.h"
#include "db/dataserver.h"
#include "db/dbfidx/scan/conditions.h"
#include "lib/arguments.h"
#include "lib/file_names.h"
#include "lib/files.h"

namespace tarnel {
namespace {

constexpr const char kOperation[] = "AsciRdd";
constexpr std::size_t kFileNameLimit = 250;  // a NUL included

Var* table_cell(const Var* object) {
  return object->shared->elements[2 + kServerInstanceCount];
}

// --- The structure.

struct TypeLimits {
  char letter;
  std::int32_t least, most;  // bytes
  int decimals;              // at most
  const char* too_long;
};
constexpr TypeLimits kTypes[] = {
    {'C', 1, dbf::kMaxFieldLength, 0, "character field exceeds 64Kb"},
    {'D', dbf::kDateLength, dbf::kDateLength, 0, nullptr},
    {'F', 1, dbf::kMaxNumericLength, dbf::kMaxNumericDecimals,
     "numeric field size exceeds 20 chars"},
    {'L', 1, 1, 0, nullptr},
    {'N', 1, dbf::kMaxNumericLength, dbf::kMaxNumericDecimals,
     "numeric field size exceeds 20 chars"},
};

bool refuse(int code, const std::string& text) {
  RT_ERROR(code, text);
  return false;
}

bool is_row(const Var* row) {
  if (row->type != 'A' || element_count(row) < 4) return false;
  return is_text(element(row, 1)) && is_text(element(row, 2)) && is_number(element(row, 3)) &&
         is_number(element(row, 4));
}

// One row as a field without its place; false after an error.
bool read_row(const Var* row, dbf::Field& field) {
  const std::string name = upper_text(trim_blanks(text_of(element(row, 1))));
  const std::string type = upper_text(trim_blanks(text_of(element(row, 2))));
  const std::int32_t length = integer_of(element(row, 3)), decimals = integer_of(element(row, 4));
  if (type.empty() || name.empty() || name.size() > kNameSize || length < 1)
    return refuse(317, "AsciRdd: structure contents in error");
  const auto* limits = std::find_if(std::begin(kTypes), std::end(kTypes),
                                    [&](const TypeLimits& t) { return t.letter == type[0]; });
  if (limits == std::end(kTypes))
    return refuse(317, format_text("unknown field type '%c'", type[0]));
  if (limits->too_long != nullptr && length > limits->most) return refuse(320, limits->too_long);
  if (limits->decimals > 0 && (decimals < 0 || decimals > limits->decimals))
    return refuse(320, limits->too_long);
  field = {};
  std::copy(name.begin(), name.end(), field.name);
  field.type = limits->letter;
  field.length = static_cast<std::uint16_t>(std::clamp(length, limits->least, limits->most));
  field.decimals = static_cast<std::uint8_t>(limits->decimals > 0 ? decimals : 0);
  return true;
}

bool read_structure(const Var* rows, std::vector<dbf::Field>& fields) {
  bool good = rows->type == 'A' && element_count(rows) > 0;
  for (std::int32_t i = 1; good && i <= element_count(rows); ++i) good = is_row(element(rows, i));
  if (!good) return refuse(312, "AsciRdd: wrong structure definition");
  std::size_t place = 1;
  for (std::int32_t i = 1; i <= element_count(rows); ++i) {
    dbf::Field field;
    if (!read_row(element(rows, i), field)) return false;
    field.offset = static_cast<std::uint16_t>(place);
    place += field.length;
    if (place > dbf::kMaxFieldLength + 1U) return refuse(320, "record size exceeds 64Kb");
    fields.push_back(field);
  }
  return true;
}

// --- Opening.

bool open(TextTable& table, std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 1, kText) || trim_blanks(text_of(argv[1])).empty())
    return refuse(317, "open asci-file name");
  std::vector<dbf::Field> fields;
  if (!read_structure(argument_or_nil(argc, argv, 2), fields)) return false;
  std::string name;
  if (!defaultExtension(name, text_of(argv[1]), ".txt", kFileNameLimit))
    return refuse(317, "open asci-file name");
  struct stat status {};
  const std::string found = find_file(name, status);
  TextScope scope;
  if (!read_text_scope(kOperation, argument_or_nil(argc, argv, 4), argument_or_nil(argc, argv, 5),
                       argument_or_nil(argc, argv, 6), argument_or_nil(argc, argv, 7), scope))
    return false;
  select_free_area();
  if (!table.open(kOperation, found.empty() ? name : found, std::move(fields),
                  text_format(argument_or_nil(argc, argv, 3)), std::move(scope)))
    return false;
  const Var* rest = argument_or_nil(argc, argv, 8);
  if (rest->type != 'L' || truth_of(rest)) table.next();
  return table.is_open() && !table.failed();
}

// --- Methods.

Var* as_init(std::int32_t argc, Var** argv) {
  const KeepObject kept(argv[0]);
  TextTable& table = text_table_of(argv[0]);
  const bool opened = open(table, argc, argv);
  if (!opened) table.close();
  bbneterr(!opened);
  return argv[0];
}

Var* as_close(std::int32_t, Var** argv) {
  const KeepObject kept(argv[0]);
  text_table_of(argv[0]).close();
  return true_value();
}

Var* as_axit(std::int32_t, Var** argv) {
  Var* cell = table_cell(argv[0]);
  if (cell->type == '?' && cell->raw != nullptr) {
    delete static_cast<TextTable*>(cell->raw);
    SET_PTR(cell, nullptr);
  }
  return nil_value();
}

// What the driver can't do: the answer of the member that a class leaves out.
Var* absent(std::int32_t argc, Var** argv, const char* member) {
  return answer_for_absent(static_cast<std::size_t>(server_slot(member)), argc, argv);
}

Var* as_skip(std::int32_t argc, Var** argv) {
  const std::int32_t n = argc > 1 && is_number(argv[1]) ? integer_of(argv[1]) : 1;
  if (n < 0) return absent(argc, argv, "skip");
  const KeepObject kept(argv[0]);
  TextTable& table = text_table_of(argv[0]);
  bool found = false;
  for (std::int32_t i = 0; i < n && (i == 0 || found); ++i) found = table.next();
  return TMP_INT(found ? 1 : 0);
}

// The file is read once, so its top can be reached until it was left.
Var* as_gotop(std::int32_t argc, Var** argv) {
  const KeepObject kept(argv[0]);
  TextTable& table = text_table_of(argv[0]);
  if (table.number() > 1 || (table.number() == 1 && table.at_end()))
    return absent(argc, argv, "gotop");
  if (table.number() == 0) table.next();
  return logical(table.is_open() && !table.at_end());
}

Var* as_alias(std::int32_t, Var** argv) {
  const WorkArea* area = text_table_of(argv[0]).area();
  return area != nullptr ? TMP_TEXT(area->alias) : empty_text();
}
Var* as_eof(std::int32_t, Var** argv) {
  return logical(text_table_of(argv[0]).at_end());
}
Var* as_fcount(std::int32_t, Var** argv) {
  return TMP_INT(static_cast<std::int32_t>(text_table_of(argv[0]).fields().size()));
}
Var* as_recno(std::int32_t, Var** argv) {
  return TMP_INT(text_table_of(argv[0]).number());
}
Var* as_shared(std::int32_t, Var**) {
  return false_value();
}
Var* as_used(std::int32_t, Var** argv) {
  return logical(text_table_of(argv[0]).is_open());
}

// Number from 1 of the field that an argument names, 0 for none; -1 after an error.
std::int32_t field_argument(const TextTable& table, std::int32_t argc, Var** argv) {
  if (arg_is(argc, argv, 1, kText)) return table.field_number(text_of(argv[1]));
  if (!arg_is(argc, argv, 1, "INF")) {
    RT_ERROR(312, "field name or number required");
    return -1;
  }
  const std::int32_t n = integer_of(argv[1]);
  return n >= 1 && n <= static_cast<std::int32_t>(table.fields().size()) ? n : 0;
}

Var* shown(TextTable& table, std::size_t i) {
  Var* cell = table.field(i);
  ++cell->refs;
  return PUSH_TEMP(cell);
}

Var* as_quickfieldget(std::int32_t, Var** argv) {
  return shown(text_table_of(argv[0]), static_cast<std::size_t>(argv[1]->name));
}
Var* as_fieldget(std::int32_t argc, Var** argv) {
  TextTable& table = text_table_of(argv[0]);
  const std::int32_t n = field_argument(table, argc, argv);
  if (n > 0) return shown(table, static_cast<std::size_t>(n - 1));
  if (n == 0) RT_ERROR(306, "in FieldGet()");
  return nil_value();
}
Var* as_fieldpos(std::int32_t argc, Var** argv) {
  return TMP_INT(std::max(field_argument(text_table_of(argv[0]), argc, argv), 0));
}
Var* as_fieldname(std::int32_t argc, Var** argv) {
  const TextTable& table = text_table_of(argv[0]);
  const std::int32_t n = field_argument(table, argc, argv);
  return n > 0 ? TMP_TEXT(table.fields()[static_cast<std::size_t>(n - 1)].name) : empty_text();
}

constexpr DriverMember kMembers[] = {{"alias", kAccess, as_alias},
                                     {"axit", kMethod, as_axit},
                                     {"close", kMethod, as_close},
                                     {"eof", kAccess, as_eof},
                                     {"fcount", kAccess, as_fcount},
                                     {"fieldget", kMethod, as_fieldget},
                                     {"fieldname", kMethod, as_fieldname},
                                     {"fieldpos", kMethod, as_fieldpos},
                                     {"gotop", kMethod, as_gotop},
                                     {"init", kMethod, as_init},
                                     {"quickfieldget", kHidden, as_quickfieldget},
                                     {"recno", kAccess, as_recno},
                                     {"shared", kAccess, as_shared},
                                     {"skip", kMethod, as_skip},
                                     {"used", kAccess, as_used}};

std::vector<InstanceEntry> all_instances() {
  std::vector<InstanceEntry> entries;
  for (const char* name : kServerInstances) entries.push_back({name, 'U'});
  entries.push_back({"textTable", 'U'});
  return entries;
}

}  // namespace

const ClassDescriptor& ascirdd_class() {
  static const auto instances = all_instances();
  static constexpr auto kMethods = driver_methods(kMembers);
  static constexpr auto kOrder = order_by_name(kMethods);
  static const ClassDescriptor descriptor("ascirdd", instances, kMethods, server_properties(),
                                          kOrder);
  static const bool registered = (register_server_class(descriptor), true);
  static_cast<void>(registered);
  return descriptor;
}

TextTable& text_table_of(Var* object) {
  assert(class_of(object) == &ascirdd_class());
  Var* cell = table_cell(object);
  if (cell->type != '?' || cell->raw == nullptr) SET_PTR(cell, new TextTable(object));
  return *static_cast<TextTable*>(table_cell(object)->raw);
}

Var* ascirddnew(std::int32_t argc, Var** argv) {
  return csdoinit(ascirdd_class().make(), argc, argv);
}

}  // namespace tarnel
