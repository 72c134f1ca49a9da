// Methods that move whole sets of records between files.
#include "core/errors.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/dbfidx/bulk/bulk.h"
#include "db/dbfidx/method/methods.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/dbfidx/scan/relations.h"
#include "db/dbfidx/table_errors.h"
#include "lib/arguments.h"

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

// The file that an operation is asked for; empty after error 311.
std::string_view file_argument(DbfIdx& dbf, std::int32_t argc, Var** argv, std::int32_t i,
                               const char* operation) {
  if (arg_is(argc, argv, i, "C") && !trim_blanks(text_of(argv[i])).empty())
    return trim_blanks(text_of(argv[i]));
  dxerror(dbf, TableError::kBulkNoFile, {operation});
  return {};
}

// Is the driver that an argument names, if any, this one? Another one can't do this: error 320.
bool is_own_driver(std::int32_t argc, Var** argv, std::int32_t i) {
  const std::string name = upper_text(trim_blanks(text_argument(argc, argv, i)));
  if (name.empty() || name == "DBFIDX") return true;
  RT_ERROR(320, format_text("Driver '%s' not found", name.c_str()));
  return false;
}

// The other table that an operation works with: a driver object, or an area by number or alias. Null
// after error 322, also for the table itself.
DbfIdx* other_table(DbfIdx& dbf, Var* argument, const char* operation) {
  const WorkArea* area = is_text(argument)     ? resolve_alias(trim_blanks(text_of(argument)))
                         : is_number(argument) ? area_by_number(integer_of(argument))
                                               : nullptr;
  Var* object = area != nullptr ? area->server() : argument;
  if (object != nullptr && object->type == 'O' && class_of(object) == &dbfidx_class()) {
    DbfIdx& other = dbf_of(object);
    if (other.isOpen() && &other != &dbf) return &other;
  }
  dxerror(dbf, TableError::kBulkNoOther, {operation});
  return nullptr;
}

// The operations whose arguments are a file, fields, the scope and a driver.
Var* with_request(std::int32_t argc, Var** argv, const char* operation,
                  bool (*run)(DbfIdx& dbf, const BulkRequest& request)) {
  return on_table(argv, [=](DbfIdx& dbf) {
    const std::string_view file = file_argument(dbf, argc, argv, 1, operation);
    return !file.empty() && is_own_driver(argc, argv, 8) &&
           run(dbf, {file, argument_or_nil(argc, argv, 2), {argc, argv, 3}});
  });
}

constexpr const char kAppendText[] = "APPEND SDF/DELIMITED", kCopyText[] = "COPY SDF/DELIMITED";

// The operations on texts; fields and scope are the arguments from `fields` on.
Var* with_text(std::int32_t argc, Var** argv, const char* operation, const Var* delimiter,
               std::int32_t fields,
               bool (*run)(DbfIdx& dbf, const BulkRequest& request, TextFormat format)) {
  return on_table(argv, [=](DbfIdx& dbf) {
    const std::string_view file = file_argument(dbf, argc, argv, 1, operation);
    return !file.empty() &&
           run(dbf, {file, argument_or_nil(argc, argv, fields), {argc, argv, fields + 1}},
               text_format(delimiter));
  });
}

}  // namespace

Var* di_appenddb(std::int32_t argc, Var** argv) {
  return with_request(argc, argv, "APPEND FROM", append_from);
}
Var* di_copydb(std::int32_t argc, Var** argv) {
  return with_request(argc, argv, "COPY TO", copy_table);
}
Var* di_copystructure(std::int32_t argc, Var** argv) {
  return on_table(argv, [=](DbfIdx& dbf) {
    const std::string_view file = file_argument(dbf, argc, argv, 1, "COPY STRUCT");
    return !file.empty() && copy_structure(dbf, file, argument_or_nil(argc, argv, 2));
  });
}

Var* di_appenddelimited(std::int32_t argc, Var** argv) {
  return with_text(argc, argv, kAppendText, argument_or_nil(argc, argv, 2), 3, append_text);
}
Var* di_appendsdf(std::int32_t argc, Var** argv) {
  return with_text(argc, argv, kAppendText, empty_text(), 2, append_text);
}
Var* di_copydelimited(std::int32_t argc, Var** argv) {
  return with_text(argc, argv, kCopyText, argument_or_nil(argc, argv, 2), 3, copy_text);
}
Var* di_copysdf(std::int32_t argc, Var** argv) {
  return with_text(argc, argv, kCopyText, empty_text(), 2, copy_text);
}

Var* di_sort(std::int32_t argc, Var** argv) {
  return on_table(argv, [=](DbfIdx& dbf) {
    const std::string_view file = file_argument(dbf, argc, argv, 1, "SORT");
    return !file.empty() && sort_table(dbf, file, argument_or_nil(argc, argv, 2), {argc, argv, 3});
  });
}
Var* di_total(std::int32_t argc, Var** argv) {
  return on_table(argv, [=](DbfIdx& dbf) {
    const std::string_view file = file_argument(dbf, argc, argv, 1, "TOTAL");
    return !file.empty() &&
           total_table(dbf, {file, argument_or_nil(argc, argv, 3), {argc, argv, 4}},
                       argument_or_nil(argc, argv, 2));
  });
}
Var* di_join(std::int32_t argc, Var** argv) {
  return on_table(argv, [=](DbfIdx& dbf) {
    DbfIdx* other = other_table(dbf, argument_or_nil(argc, argv, 1), "JOIN");
    if (other == nullptr) return false;
    const std::string_view file = file_argument(dbf, argc, argv, 2, "JOIN");
    return !file.empty() && join_tables(dbf, *other, file, argument_or_nil(argc, argv, 3),
                                        argument_or_nil(argc, argv, 4));
  });
}
Var* di_update(std::int32_t argc, Var** argv) {
  return on_table(argv, [=](DbfIdx& dbf) {
    DbfIdx* other = other_table(dbf, argument_or_nil(argc, argv, 1), "UPDATE");
    const bool random = arg_is(argc, argv, 3, "L") && truth_of(argv[3]);
    return other != nullptr && update_table(dbf, *other, argument_or_nil(argc, argv, 2), random,
                                            argument_or_nil(argc, argv, 4));
  });
}

Var* di_pack(std::int32_t, Var** argv) {
  return on_table(argv, pack_table);
}
Var* di_zap(std::int32_t, Var** argv) {
  return on_table(argv, zap_table);
}

}  // namespace tarnel
