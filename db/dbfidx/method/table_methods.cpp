// The methods of the table as a whole: opening, closing, creating, and what there is to ask about
// it.
#include <algorithm>
#include <iterator>

#include "core/arrays.h"
#include "core/blocks.h"
#include "core/error_object.h"
#include "core/errors.h"
#include "core/file_ops.h"
#include "core/settings.h"
#include "core/stacks.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/format/format_dbt.h"
#include "db/dbfidx/method/methods.h"
#include "db/dbfidx/table_errors.h"
#include "db/info_codes.h"
#include "db/open_manner.h"
#include "lib/arguments.h"
#include "lib/dates.h"
#include "lib/files.h"

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
  Var* former = di_getlocate(1, argv);
  if (argc < 3) return former;
  Var* passed[] = {argv[0], argv[2]};
  if (arg_is(argc, argv, 2, "BbU"))
    di_set_locate(2, passed);
  else
    dxerror(dbf, TableError::kInfoBlock);
  return former;
}

Var* exchange_filter(Var* filter, std::int32_t argc, Var** argv) {
  Var* former = filter != nullptr ? ARG_VAR(filter) : nil_value();
  if (arg_is(argc, argv, 2, "CMBb")) {
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
    return TMP_INT(static_cast<std::int32_t>(fileDefaultMode()));
  return TMP_INT(static_cast<std::int32_t>(status.st_mode & 07777));
}

std::int32_t header_size(const DbfIdx& dbf) {
  return dbf.isOpen() ? dbf.header.size() : 0;
}

Var* relation_count(const DbfIdx& dbf) {
  return TMP_INT(static_cast<std::int32_t>(dbf.relations.list.size()));
}

Var* last_update(const DbfIdx& dbf) {
  if (!dbf.isOpen()) return empty_date();
  const dbf::Date date = dbf.header.last_update();
  return TMP_DATE(dateEncode(date.day, date.month, date.year));
}

// --- The questions of info().

struct Question {
  DbfIdx& dbf;
  std::int32_t argc;
  Var** argv;  // the object, the code, a new value
};

struct InfoRow {
  info::Code code;
  Var* (*answer)(const Question& q);
};
constexpr auto yes = [](const Question&) { return true_value(); };
constexpr auto delimiter = [](const Question& q) {
  return exchange_delimiter(q.dbf, q.argc, q.argv);
};

constexpr InfoRow kInfoRows[] = {
    {info::kIsTable, yes},
    {info::kTakesRecords, yes},
    {info::kHeaderSize, [](const Question& q) { return TMP_INT(header_size(q.dbf)); }},
    {info::kLastUpdate, [](const Question& q) { return last_update(q.dbf); }},
    {info::kDelimiter, delimiter},
    {info::kFieldDelimiter, delimiter},
    {info::kRecordSize, [](const Question& q) { return TMP_INT(q.dbf.recordSize); }},
    {info::kLockedRecords, [](const Question& q) { return di_rlocklist(1, q.argv); }},
    {info::kTableExtension,
     [](const Question& q) { return exchange_text(q.dbf.dbfExt, q.argc, q.argv); }},
    {info::kFileLocked, [](const Question& q) { return logical(q.dbf.is(kFileLocked)); }},
    {info::kRelationCount, [](const Question& q) { return relation_count(q.dbf); }},
    {info::kFileHandle, [](const Question& q) { return TMP_INT(q.dbf.dbfFd); }},
    {info::kFullPath, [](const Question& q) { return TMP_TEXT(q.dbf.fileName); }},
    {info::kSingleByteText, yes},
    {info::kBof, [](const Question& q) { return exchange_flag(q.dbf.bofFlag, q.argc, q.argv); }},
    {info::kEof, [](const Question& q) { return exchange_flag(q.dbf.eofFlag, q.argc, q.argv); }},
    {info::kFilterText,
     [](const Question& q) { return exchange_filter(q.dbf.scan.filterText, q.argc, q.argv); }},
    {info::kFound, [](const Question& q) { return exchange_found(q.dbf, q.argc, q.argv); }},
    {info::kFieldCount, [](const Question& q) { return TMP_INT(q.dbf.fieldCount); }},
    {info::kLockCount, [](const Question& q) { return TMP_INT(q.dbf.locks.records.count()); }},
    {info::kRecordBuffered,
     [](const Question& q) { return logical(q.dbf.isOpen() && is_buffered(q.dbf)); }},
    {info::kAlias, [](const Question& q) { return exchange_alias(q.dbf, q.argc, q.argv); }},
    {info::kLocateBlock, [](const Question& q) { return exchange_locate(q.dbf, q.argc, q.argv); }},
    {info::kShared,
     [](const Question& q) { return logical(q.dbf.isOpen() && !q.dbf.exclusive()); }},
    {info::kMemoExtension,
     [](const Question& q) { return exchange_text(q.dbf.dbtExt, q.argc, q.argv); }},
    {info::kMemoHandle, [](const Question& q) { return TMP_INT(q.dbf.dbtFd); }},
    {info::kMemoBlockSize, [](const Question&) { return TMP_INT(dbt::kBlockSize); }},
    {info::kFormatVersion, [](const Question&) { return TMP_INT(kFormatVersion); }},
    {info::kDriverVersion, [](const Question&) { return TMP_STR(kDriverVersion); }},
    {info::kOtherHolders, [](const Question& q) { return TMP_INT(other_holders(q.dbf)); }},
    {info::kFileMode, [](const Question& q) { return file_mode(q.dbf); }},
    {info::kFilterBlock,
     [](const Question& q) { return exchange_filter(q.dbf.scan.filterBlock, q.argc, q.argv); }},
    {info::kOrderExtension,
     [](const Question& q) { return exchange_text(q.dbf.idxExt, q.argc, q.argv); }},
};

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
  request.read_only = is_true(argc, argv, 3) || tables_only_read();
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
  if (!arg_is(argc, argv, 1, kNumber)) return nil_value();
  const std::int32_t code = integer_of(argv[1]);
  const auto* row = std::find_if(std::begin(kInfoRows), std::end(kInfoRows),
                                 [=](const InfoRow& known) { return known.code == code; });
  return row != std::end(kInfoRows) ? row->answer({dbf_of(argv[0]), argc, argv}) : nil_value();
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
