#include "db/table_rows.h"

#include <algorithm>
#include <charconv>
#include <memory>
#include <utility>

#include "core/classes.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/area.h"
#include "db/dbfidx/bulk/record_pieces.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/record/memo.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/dbfidx/scan/walk.h"
#include "db/info_codes.h"
#include "lib/utf8.h"

namespace tarnel {
namespace {

bool has_only(std::string_view text, std::string_view allowed) {
  return text.find_first_not_of(allowed) == text.npos;
}

std::string_view view(const std::uint8_t* at, std::size_t n) {
  return {reinterpret_cast<const char*>(at), n};
}

// Record number and delete mark.
void put_record(std::vector<RowCell>& cells, std::int32_t number, bool deleted,
                char (&digits)[12]) {
  const char* end = std::to_chars(digits, std::end(digits), number).ptr;
  cells[0] = {CellKind::kNumber, {digits, static_cast<std::size_t>(end - digits)}};
  cells[1] = {CellKind::kText, deleted ? "*" : ""};
}

// Texts of a table in the set that they are written in.
class TextConversion {
 public:
  TextConversion(Var* server, const RowRequest& request)
      : from_(text_set_of(server)),
        to_(request.written_in),
        lost_(request.lost),
        as_it_is_(from_.page == to_ && to_ != CodePage::kUtf8) {}

  // The text itself, or what `room` then holds.
  std::string_view of(std::string_view bytes, std::string& room, std::int32_t record,
                      std::string_view field) {
    if (as_it_is_ || is_ascii(bytes)) return bytes;
    room.clear();
    note(decode(room, bytes, from_), record, field);
    if (to_ == CodePage::kUtf8) return room;
    const std::string text = std::exchange(room, {});
    note(from_utf8(room, text, to_), record, field);
    return room;
  }

 private:
  void note(const Unconverted& lost, std::int32_t record, std::string_view field) {
    if (lost && lost_ != nullptr) lost_->add(lost, record, field);
  }

  const TextSet from_;
  const CodePage to_;
  LostTexts* const lost_;
  const bool as_it_is_;
};

// The cells of one record of a .dbf table, which last until the next.
class DbfCells {
 public:
  DbfCells(DbfIdx& dbf, const RowRequest& request)
      : dbf_(dbf),
        with_record_(request.with_record),
        unread_memos_(request.unread_memos),
        texts_(dbf.object, request),
        memos_(request.fields.size()),
        rooms_(request.fields.size()) {
    for (const std::int32_t n : request.fields)
      fields_.push_back(dbf.fields[static_cast<std::size_t>(n) - 1]);
    cells_.resize(fields_.size() + (with_record_ ? 2 : 0));
  }

  const std::vector<RowCell>& of(const std::uint8_t* record, std::int32_t number) {
    std::size_t at = 0;
    if (with_record_) {
      put_record(cells_, number, *record == dbf::kDeletedMark, digits_);
      at = 2;
    }
    const bool ascii = is_ascii(view(record, dbf_.recordSize));
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      RowCell& cell = cells_[at + i];
      cell = cell_of(fields_[i], record + fields_[i].offset, memos_[i]);
      if (cell.kind == CellKind::kText && (!ascii || fields_[i].type == 'M'))
        cell.text = texts_.of(cell.text, rooms_[i], number, fields_[i].name);
    }
    return cells_;
  }

 private:
  RowCell cell_of(const dbf::Field& field, const std::uint8_t* at, MemoText& memo) {
    const std::string_view bytes = view(at, field.length);
    switch (field.type) {
      case 'C':
        return {CellKind::kText, trim_right(bytes)};
      case 'N':
      case 'F': {
        const std::string_view number = trim_blanks(bytes);
        if (number.empty()) return {};
        return {has_only(number, "0123456789+-.eE") ? CellKind::kNumber : CellKind::kText, number};
      }
      case 'D':
        if (trim_right(bytes).empty()) return {};
        return {has_only(bytes, "0123456789") ? CellKind::kDate : CellKind::kText, bytes};
      case 'L':
        if (bytes[0] == ' ' || bytes[0] == '?') return {};
        return {CellKind::kLogical, dbf::parse_logical(at, field.length) ? "T" : "F"};
      case 'M':
        return memo_of(dbf::memo_block(at, field.length), memo);
      default:
        return {CellKind::kText, trim_right(bytes)};
    }
  }

  RowCell memo_of(std::uint32_t block, MemoText& memo) {
    if (block == 0) return {CellKind::kText, ""};
    if (!dbf_.hasMemo() || !load_memo_text(dbf_, block, memo)) {
      if (unread_memos_ != nullptr) ++*unread_memos_;
      return {};
    }
    return {CellKind::kText, memo.view()};
  }

  DbfIdx& dbf_;
  const bool with_record_;
  std::int64_t* const unread_memos_;
  TextConversion texts_;
  std::vector<dbf::Field> fields_;
  std::vector<MemoText> memos_;
  std::vector<std::string> rooms_;
  std::vector<RowCell> cells_;
  char digits_[12];
};

bool give_pieces(DbfIdx& dbf, DbfCells& cells, const RowTaker& take, const char* work) {
  if (!leave_record(dbf)) return false;
  RecordPieces pieces(dbf, work);
  const std::size_t size = dbf.recordSize;
  const SameTable same(dbf);
  while (pieces.next())
    for (std::int32_t i = 0; i < pieces.count(); ++i) {
      const std::uint8_t* record = pieces.data() + static_cast<std::size_t>(i) * size;
      if (!take(cells.of(record, pieces.first() + i)) || !same.holds()) return false;
    }
  return !pieces.failed() && same.holds();
}

bool give_walk(DbfIdx& dbf, const Scope& scope, const RowRequest& request, DbfCells& cells,
               const RowTaker& take, const char* work) {
  if (!request.from_top && dbf.eofFlag == 0 && !visible(dbf)) skip_records(dbf, 1);
  std::int64_t left = request.most;
  ScopeWalk walk(dbf, scope, work);
  for (bool on = left != 0 && walk.begin(); on; on = --left != 0 && walk.next()) {
    if (!refreshRecord(dbf, true) || !walk.same()) return false;
    if (!take(cells.of(dbf.buffer.data(), dbf.recNo)) || !walk.same()) return false;
  }
  return !walk.failed();
}

bool give_dbf(DbfIdx& dbf, const RowRequest& request, const RowTaker& take, const char* work) {
  const ScanCondition& stored = dbf.scan;
  Scope scope = {request.for_block, request.while_block};
  if (!request.own_scope)
    scope = {stored.forBlock != nullptr ? ARG_VAR(stored.forBlock) : nullptr,
             stored.whileBlock != nullptr ? ARG_VAR(stored.whileBlock) : nullptr,
             stored.scopeCount};
  if (scope.count < 0) scope.count = request.from_top ? kScopeAll : kScopeRest;
  DbfCells cells(dbf, request);
  if (request.most < 0 && RecordPieces::suit(dbf, scope))
    return give_pieces(dbf, cells, take, work);
  return give_walk(dbf, scope, request, cells, take, work);
}

// --- Other drivers.

class ValueCells {
 public:
  ValueCells(Var* server, const RowRequest& request)
      : server_(server),
        request_(request),
        conversion_(server, request),
        texts_(request.fields.size()),
        rooms_(request.fields.size()),
        cells_(request.fields.size() + (request.with_record ? 2 : 0)) {}

  const std::vector<RowCell>& read() {
    const TempsMark mark;
    const std::int32_t record = integer_of(get_ivar(server_, "recno"));
    std::size_t at = 0;
    if (request_.with_record) {
      put_record(cells_, record, truth_of(get_ivar(server_, "deleted")), digits_);
      at = 2;
    }
    for (std::size_t i = 0; i < texts_.size(); ++i) {
      RowCell& cell = cells_[at + i];
      cell = cell_of_value(send(server_, "fieldget", TMP_INT(request_.fields[i])), texts_[i]);
      if (cell.kind == CellKind::kText)
        cell.text = conversion_.of(trim_right(cell.text), rooms_[i], record, std::to_string(i + 1));
    }
    return cells_;
  }

 private:
  Var* const server_;
  const RowRequest& request_;
  TextConversion conversion_;
  std::vector<std::string> texts_, rooms_;
  std::vector<RowCell> cells_;
  char digits_[12];
};

bool is_there(Var* server) {
  return truth_of(get_ivar(server, "used")) && !truth_of(get_ivar(server, "eof"));
}

bool gives_true(Var* server, Var* block) {
  if (block == nullptr) return true;
  const AreaScope in(area_by_server(server));
  const Var* result = run_block_with(block);
  return is_number_or_logical(result) && truth_of(result);
}

bool give_values(Var* server, const RowRequest& request, const RowTaker& take) {
  ValueCells cells(server, request);
  if (request.from_top) send(server, "gotop");
  for (std::int64_t left = request.most; left != 0 && is_there(server);) {
    const TempsMark mark;
    if (!gives_true(server, request.while_block)) break;
    if (gives_true(server, request.for_block)) {
      if (!take(cells.read())) return false;
      --left;
    }
    if (is_there(server)) send(server, "skip");
  }
  return true;
}

RowColumn column_of(Var* server, std::int32_t n) {
  const TempsMark mark;
  const auto ask = [&](std::int32_t what) {
    return send(server, "fieldinfo", TMP_INT(what), TMP_INT(n));
  };
  const Var* decimals = ask(field_info::kDecimals);
  return {std::string(text_of(send(server, "fieldname", TMP_INT(n)))),
          text_of(ask(field_info::kType))[0], integer_of(ask(field_info::kLength)),
          is_number(decimals) ? integer_of(decimals) : 0, false};
}

}  // namespace

RecordCells cells_of_records(DbfIdx& dbf, const RowRequest& request) {
  return [cells = std::make_shared<DbfCells>(dbf, request)](
             const std::uint8_t* record, std::int32_t number) -> const std::vector<RowCell>& {
    return cells->of(record, number);
  };
}

std::vector<RowColumn> columns_of(Var* server, const RowRequest& request) {
  std::vector<RowColumn> columns;
  if (request.with_record) columns = {{"record", 'N', 6, 0}, {"deleted", 'C', 1, 0, true}};
  for (const std::int32_t n : request.fields) columns.push_back(column_of(server, n));
  TextConversion names(server, request);
  for (RowColumn& column : columns) {
    if (column.type == 'D') column.width = 10;
    std::string room;
    column.name = std::string(names.of(column.name, room, 0, "of the columns"));
  }
  return columns;
}

bool give_records(Var* server, const RowRequest& request, const RowTaker& take, const char* work) {
  const TempsMark mark;
  const CellHold kept(server);
  Var* stood = TMP_INT(integer_of(get_ivar(server, "recno")));
  const bool whole = class_of(server) == &dbfidx_class()
                         ? give_dbf(dbf_of(server), request, take, work)
                         : give_values(server, request, take);
  if (truth_of(get_ivar(server, "used"))) send(server, "goto", stood);
  return whole;
}

}  // namespace tarnel
