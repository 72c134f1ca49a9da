// The methods of the table as a whole: opening, closing, creating, and what there is to ask about
// it.
#include "core/arrays.h"
#include "core/blocks.h"
#include "core/error_object.h"
#include "core/errors.h"
#include "core/settings.h"
#include "core/stacks.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/format/format_dbt.h"
#include "db/dbfidx/method/methods.h"
#include "db/dbfidx/table_errors.h"
#include "db/file_ops.h"
#include "lib/arguments.h"
#include "lib/dates.h"

namespace tarnel {
namespace {

constexpr const char kDriver[] = "DBFIDX", kDriverVersion[] = "4.40";
constexpr std::int32_t kFormatVersion = 3;

bool is_false(std::int32_t argc, Var** argv, std::int32_t i) {
  return arg_is(argc, argv, i, "L") && !truth_of(argv[i]);
}
bool is_true(std::int32_t argc, Var** argv, std::int32_t i) {
  return arg_is(argc, argv, i, "L") && truth_of(argv[i]);
}

// A text that an argument of type C replaces; the answer is the former one.
Var* exchange_text(std::string& text, std::int32_t argc, Var** argv) {
  Var* former = TMP_TEXT(text);
  if (arg_is(argc, argv, 2, "C")) text = text_of(argv[2]);
  return former;
}

Var* exchange_flag(std::int32_t& flag, std::int32_t argc, Var** argv) {
  Var* former = logical(flag != 0);
  if (arg_is(argc, argv, 2, "L")) flag = truth_of(argv[2]) ? 1 : 0;
  return former;
}

Var* exchange_found(DbfIdx& dbf, std::int32_t argc, Var** argv) {
  Var* former = logical(dbf.found);
  if (argc < 3) return former;
  if (arg_is(argc, argv, 2, "L"))
    dbf.found = truth_of(argv[2]);
  else if (is_nil(argv[2]))
    dbf.found = false;
  else
    dxerror(dbf, TableError::kInfoArgument);
  return former;
}

Var* exchange_locate(DbfIdx& dbf, std::int32_t argc, Var** argv) {
  Var* former = dbf.locateBlock != nullptr ? ARG_VAR(dbf.locateBlock) : nil_value();
  if (argc < 3) return former;
  if (is_block(argv[2])) {
    Var* block = NEW_TEMP();
    CPY_VAR(block, argv[2]);
    UNHOLD_VAR(&dbf.locateBlock);
    HOLD_VAR(&dbf.locateBlock, block);
  } else if (is_nil(argv[2])) {
    UNHOLD_VAR(&dbf.locateBlock);
  } else {
    dxerror(dbf, TableError::kInfoBlock);
  }
  return former;
}

Var* exchange_filter(Var* filter, std::int32_t argc, Var** argv) {
  Var* former = filter != nullptr ? ARG_VAR(filter) : nil_value();
  if (arg_is(argc, argv, 2, "CBb")) {
    Var* passed[] = {argv[0], argv[2]};
    csdometh("setfilter", server_slot("setfilter"), 0, 2, passed);
  }
  return former;
}

Var* exchange_delimiter(DbfIdx& dbf, std::int32_t argc, Var** argv) {
  Var* former = TMP_TEXT({dbf.delimiter, 1});
  if (arg_is(argc, argv, 2, "C") && !text_of(argv[2]).empty())
    dbf.delimiter[0] = text_of(argv[2]).front();
  return former;
}

Var* exchange_alias(DbfIdx& dbf, std::int32_t argc, Var** argv) {
  Var* former = TMP_TEXT(dbf.aliasName);
  if (arg_is(argc, argv, 2, "C")) {
    Var* passed[] = {argv[0], argv[2]};
    di_set_alias(2, passed);
  }
  return former;
}

Var* file_mode(const DbfIdx& dbf) {
  struct stat status {};
  if (!dbf.isOpen() || file_ops().fstat(dbf.dbfFd, &status) != 0)
    return TMP_INT(static_cast<std::int32_t>(default_file_mode()));
  return TMP_INT(static_cast<std::int32_t>(status.st_mode & 07777));
}

std::int32_t header_size(const DbfIdx& dbf) {
  return dbf.isOpen() ? dbf.header.size() : 0;
}

Var* last_update(const DbfIdx& dbf) {
  if (!dbf.isOpen()) return empty_date();
  const dbf::Date date = dbf.header.last_update();
  return TMP_DATE(dateEncode(date.day, date.month, date.year));
}

}  // namespace

Var* di_init(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (argc < 2 || is_nil(argv[1])) return argv[0];
  if (argv[1]->type != 'C') {
    dxerror(dbf, TableError::kInitFileName);
    return argv[0];
  }
  const KeepObject keep(argv[0]);
  close_table(dbf);
  const bool select_free = argc < 7 || is_nil(argv[6]) || is_true(argc, argv, 6);
  if (select_free || current_server() != nullptr) select_free_area();
  OpenRequest request;
  request.file = text_of(argv[1]);
  request.exclusive = arg_is(argc, argv, 2, "L") ? is_false(argc, argv, 2) : settings().exclusive;
  request.read_only = is_true(argc, argv, 3);
  open_table(dbf, request);
  return argv[0];
}

Var* di_close(std::int32_t, Var** argv) {
  close_table(dbf_of(argv[0]));
  return true_value();
}

Var* di_createdb(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (argc < 3) {
    dxerror(dbf, TableError::kCreateArgumentCount);
    return false_value();
  }
  if (!arg_is(argc, argv, 1, "C") || !arg_is(argc, argv, 2, "A")) {
    dxerror(dbf, TableError::kCreateArgumentType);
    return false_value();
  }
  const KeepObject keep(argv[0]);
  close_table(dbf);
  const Var* mode = arg_is(argc, argv, 3, kNumber) ? argv[3] : nullptr;
  return logical(create_table(dbf, text_of(argv[1]), argv[2], mode));
}

Var* di_error(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  Var* error = arg_is(argc, argv, 1, "O") ? argv[1] : dbf.errorTemplate;
  if (error == nullptr) return false_value();
  if (arg_is(argc, argv, 2, "C")) put_ivar(error, "descriptio", argv[2]);
  evaluate_error_block(error);
  return nil_value();
}

Var* di_errinfo(std::int32_t, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (dbf.errorTemplate == nullptr) HOLD_VAR(&dbf.errorTemplate, error_class().make());
  return dbf.errorTemplate;
}

Var* di_info(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!arg_is(argc, argv, 1, kNumber)) return nil_value();
  switch (integer_of(argv[1])) {
    case 1:
    case 2:
    case 25:
      return true_value();
    case 3:
      return TMP_INT(header_size(dbf));
    case 4:
      return last_update(dbf);
    case 5:
    case 6:
      return exchange_delimiter(dbf, argc, argv);
    case 7:
      return TMP_INT(dbf.recordSize);
    case 8:
      return di_rlocklist(1, argv);
    case 9:
      return exchange_text(dbf.dbfExt, argc, argv);
    case 20:
      return logical(dbf.is(kFileLocked));
    case 22:
      return TMP_INT(dbf.relationCount);
    case 23:
      return TMP_INT(dbf.dbfFd);
    case 24:
      return TMP_TEXT(dbf.fileName);
    case 26:
      return exchange_flag(dbf.bofFlag, argc, argv);
    case 27:
      return exchange_flag(dbf.eofFlag, argc, argv);
    case 28:
      return exchange_filter(dbf.filterText, argc, argv);
    case 29:
      return exchange_found(dbf, argc, argv);
    case 30:
      return TMP_INT(dbf.fieldCount);
    case 31:
      return TMP_INT(dbf.lockList.count());
    case 32:
      return logical(dbf.isOpen() && is_buffered(dbf));
    case 33:
      return exchange_alias(dbf, argc, argv);
    case 34:
      return exchange_locate(dbf, argc, argv);
    case 36:
      return logical(dbf.isOpen() && !dbf.exclusive());
    case 37:
      return exchange_text(dbf.dbtExt, argc, argv);
    case 38:
      return TMP_INT(dbf.dbtFd);
    case 39:
      return TMP_INT(dbt::kBlockSize);
    case 101:
      return TMP_INT(kFormatVersion);
    case 102:
      return TMP_STR(kDriverVersion);
    case 1000:
      return TMP_INT(other_holders(dbf));
    case 5000:
      return file_mode(dbf);
    case 5001:
      return exchange_filter(dbf.filterBlock, argc, argv);
    case 5002:
      return exchange_text(dbf.idxExt, argc, argv);
    default:
      return nil_value();
  }
}

Var* di_alias(std::int32_t, Var** argv) {
  return TMP_TEXT(dbf_of(argv[0]).aliasName);
}

Var* di_set_alias(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!arg_is(argc, argv, 1, "C")) {
    dxerror(dbf, TableError::kAliasAssign);
    return false_value();
  }
  if (!dbf.isOpen() || rename_alias(argv[0], text_of(argv[1]), &dbf.aliasName) < 0)
    return false_value();
  return TMP_TEXT(dbf.aliasName);
}

Var* di_name(std::int32_t, Var** argv) {
  return di_alias(1, argv);
}
Var* di_asstring(std::int32_t, Var** argv) {
  return di_alias(1, argv);
}
Var* di_filespec(std::int32_t, Var** argv) {
  return TMP_TEXT(dbf_of(argv[0]).fileName);
}
Var* di_driver(std::int32_t, Var**) {
  return TMP_STR(kDriver);
}
Var* di_indexext(std::int32_t, Var** argv) {
  return TMP_TEXT(dbf_of(argv[0]).idxExt);
}
Var* di_header(std::int32_t, Var** argv) {
  return TMP_INT(header_size(dbf_of(argv[0])));
}
Var* di_recsize(std::int32_t, Var** argv) {
  return TMP_INT(dbf_of(argv[0]).recordSize);
}
Var* di_lupdate(std::int32_t, Var** argv) {
  return last_update(dbf_of(argv[0]));
}
Var* di_used(std::int32_t, Var** argv) {
  return logical(dbf_of(argv[0]).isOpen());
}
Var* di_readonly(std::int32_t, Var** argv) {
  return logical(dbf_of(argv[0]).readOnly());
}
Var* di_shared(std::int32_t, Var** argv) {
  const DbfIdx& dbf = dbf_of(argv[0]);
  return logical(dbf.isOpen() && !dbf.exclusive());
}

}  // namespace tarnel
