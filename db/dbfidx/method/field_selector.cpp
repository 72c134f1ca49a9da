#include "db/dbfidx/method/field_selector.h"

#include <cmath>

#include "core/arrays.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

bool add_field(DbfIdx& dbf, const Var* field, TableError no_field, FieldSelector& fields) {
  const double number =
      is_text(field) ? field_position(dbf, text_of(field)) : std::round(number_of(field));
  if (number >= 1 && number <= dbf.fieldCount) {
    fields.numbers.push_back(static_cast<std::int32_t>(number) - 1);
    return true;
  }
  const std::string name(is_text(field) ? std::string(text_of(field))
                                        : std::to_string(integer_of(field)));
  dxerror(dbf, no_field, {dbf.fileName, name});
  return false;
}

bool refuse(DbfIdx& dbf, TableError error) {
  dxerror(dbf, error);
  return false;
}

}  // namespace

bool read_fields(DbfIdx& dbf, const Var* argument, TableError no_field, FieldSelector& fields) {
  const auto names_field = [](const Var* v) { return is_text(v) || is_number(v); };
  fields.several = argument->type == 'A';
  if (!fields.several)
    return names_field(argument) ? add_field(dbf, argument, no_field, fields)
                                 : refuse(dbf, TableError::kReplaceTypes);
  for (std::int32_t i = 1; i <= element_count(argument); ++i) {
    const Var* field = element(argument, i);
    if (!names_field(field)) return refuse(dbf, TableError::kReplaceArrayTypes);
    if (!add_field(dbf, field, no_field, fields)) return false;
  }
  return true;
}

}  // namespace tarnel
