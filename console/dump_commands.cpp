// Tables as lines that make them anew: .create and .row, with the bytes of the records.
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <optional>
#include <utility>
#include <vector>

#include "console/export_commands.h"
#include "console/field_input.h"
#include "console/open_commands.h"
#include "console/row_commands.h"
#include "console/session.h"
#include "console/structure_text.h"
#include "console/table_commands.h"
#include "console/words.h"
#include "core/classes.h"
#include "core/errors.h"
#include "core/output.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/area.h"
#include "db/dbfidx/bulk/record_pieces.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/format/character_marks.h"
#include "db/dbfidx/record/memo.h"
#include "db/front.h"
#include "db/info_codes.h"
#include "db/text_set.h"
#include "lib/dates.h"
#include "lib/escapes.h"
#include "lib/file_names.h"
#include "lib/files.h"
#include "lib/utf8.h"

namespace tarnel {
namespace {

// The table of an alias, or the current one; null after a complaint.
DbfIdx* table_of(std::string_view alias) {
  const WorkArea* area = alias.empty() ? current_area() : resolve_alias(alias);
  Var* server = area != nullptr ? area->server() : nullptr;
  if (server != nullptr && class_of(server) == &dbfidx_class()) return &dbf_of(server);
  complain(alias.empty() ? "no table is open in the current area"
                         : "no table is open as " + std::string(alias));
  return nullptr;
}

void write_structure(const DbfIdx& dbf) {
  write_output(".create " + quoted(base_name(dbf.fileName)) + " " + structure_text(dbf.fields) +
               "\n");
}

// A text of the language, with quotes of a kind that it doesn't hold.
std::string literal(std::string_view text) {
  const char quote = text.find('"') == text.npos ? '"' : '\'';
  return quote + std::string(text) + quote;
}

// The open orders, whose files are named as they are. The one made last is alone open then, so all are opened again.
void write_orders(Var* server) {
  const auto ask = [&](std::int32_t what, std::int32_t order) {
    return send(server, "orderinfo", TMP_INT(what), TMP_INT(order));
  };
  const TempsMark mark;
  const std::int32_t count = integer_of(get_ivar(server, "indexcount"));
  std::string opened;
  for (std::int32_t i = 1; i <= count; ++i) {
    const std::string_view condition = text_of(ask(order_info::kCondition, i));
    const bool descending = truth_of(ask(order_info::kDescending, i));
    if (!condition.empty() || descending)
      write_output("ordcondset(" + (condition.empty() ? std::string() : literal(condition)) +
                   (descending ? ", , , , , , , , , , .T." : "") + ")\n");
    const std::string name = literal(base_name(text_of(ask(order_info::kFullPath, i))));
    write_output("ordcreate(" + name + ", , " + literal(text_of(ask(order_info::kExpression, i))) +
                 (truth_of(ask(order_info::kUnique, i)) ? ", , .T.)\n" : ")\n"));
    opened += "ordlistadd(" + name + ")\n";
  }
  if (count > 1) write_output("ordlistclear()\n" + opened);
  if (count > 0 && integer_of(send(server, "indexord")) != 1)
    write_output("dbsetorder(" + std::to_string(integer_of(send(server, "indexord"))) + ")\n");
}

bool is_json_number(std::string_view text) {
  if (text.starts_with('-')) text.remove_prefix(1);
  const std::size_t whole = std::min(text.find('.'), text.size());
  const std::string_view fraction = text.substr(std::min(whole + 1, text.size()));
  const auto digits = [](std::string_view part) {
    return !part.empty() && part.find_first_not_of("0123456789") == part.npos;
  };
  return digits(text.substr(0, whole)) && (whole == 1 || text[0] != '0') &&
         (whole == text.size() || digits(fraction));
}

// The mark in the header. The texts of the lines are UTF-8 whatever the table's set: the reader is told which.
void write_mark(const DbfIdx& dbf) {
  const std::uint8_t mark = dbf.header.character_mark();
  if (mark == 0) return;
  const std::optional<CodePage> page = dbf::page_of_mark(mark);
  write_output(".charset -save " +
               (page && dbf::mark_of_page(*page) == mark ? std::string(name_of(*page))
                                                         : format_text("0x%02x", unsigned{mark})) +
               "\n");
}
void write_set(const DbfIdx& dbf) {
  write_mark(dbf);
  const TextSet set = text_set_of(dbf.object);
  if (dbf::page_of_mark(dbf.header.character_mark()) != set.page)
    write_output(".charset " + std::string(name_of(set.page)) + "\n");
}

// A byte that is no character of the set stands as half of a surrogate pair, of which .row makes the byte.
void put_text(ByteBuffer& out, std::string_view bytes, CodePage page) {
  if (is_ascii(bytes)) return put_json_text(out, bytes);
  std::string text;
  out.put('"');
  while (!bytes.empty()) {
    char32_t c = 0;
    const std::size_t n = character_at(bytes, page, c);
    if (n > 0) {
      append_utf8(text, c);
    } else {
      escape_json(out, std::exchange(text, {}));
      out.put(
          format_text("\\u%04x", unsigned{kCarriedByte} + static_cast<unsigned char>(bytes[0])));
    }
    bytes.remove_prefix(std::max<std::size_t>(n, 1));
  }
  escape_json(out, text);
  out.put('"');
}

// A field so that .row makes the same bytes of it. False when a memo could not be read.
bool put_field(ByteBuffer& out, DbfIdx& dbf, const dbf::Field& field, const std::uint8_t* at,
               CodePage page) {
  const std::string_view bytes(reinterpret_cast<const char*>(at), field.length);
  const std::string_view trimmed = trim_right(bytes);
  if (field.type == 'M') {
    MemoText memo;
    const std::uint32_t block = dbf::memo_block(at, field.length);
    if (block != 0 && !load_memo_text(dbf, block, memo)) return false;
    put_text(out, memo.view(), page);
  } else if (field.type == 'C') {
    put_text(out, trimmed, page);
  } else if (trimmed.empty()) {
    out.put("null");
  } else if ((field.type == 'N' || field.type == 'F') && trimmed.size() == bytes.size() &&
             is_json_number(trim_left(bytes)) && keeps_digits(field, trim_left(bytes))) {
    out.put(trim_left(bytes));
  } else if (field.type == 'L' && field.length == 1 && (bytes == "T" || bytes == "F")) {
    out.put(bytes == "T" ? "true" : "false");
  } else {
    put_text(out, bytes, page);
  }
  return true;
}

bool put_record(ByteBuffer& out, DbfIdx& dbf, const std::uint8_t* record, CodePage page) {
  out.put(*record == dbf::kDeletedMark ? ".row -d [" : ".row [");
  for (const dbf::Field& field : dbf.fields) {
    if (field.offset > 1) out.put(',');
    if (!put_field(out, dbf, field, record + field.offset, page)) return false;
  }
  out.put("]\n");
  return out.flush_many();
}

bool write_all_records(DbfIdx& dbf) {
  ByteBuffer out(to_output);
  if (!leave_record(dbf)) return false;
  RecordPieces pieces(dbf, "dump");
  const std::size_t size = dbf.recordSize;
  const CodePage page = text_set_of(dbf.object).page;
  while (pieces.next())
    for (std::int32_t i = 0; i < pieces.count(); ++i)
      if (!put_record(out, dbf, pieces.data() + static_cast<std::size_t>(i) * size, page))
        return false;
  return out.flush() && !pieces.failed();
}

// --- What is made of such lines.

bool fill_record(DbfIdx& dbf, std::string_view values, std::vector<std::uint8_t>& record) {
  JsonReader json(values, true);
  InputValue value;
  const TextSet set = text_set_of(dbf.object);
  bool open = json.take('[');
  for (const dbf::Field& field : dbf.fields) {
    if (!open || !json.take_value(value)) {
      complain(".row: no value for the field " + std::string(field.name));
      return false;
    }
    if (const Unconverted lost =
            encode(value.text, set, value.carries ? Carried::kTaken : Carried::kNone)) {
      complain(".row: " + std::string(field.name) + " holds " +
               words_of(lost, lost.is_byte ? CodePage::kUtf8 : set.page));
      return false;
    }
    const std::string_view wrong = put_input(dbf, field, record.data(), value, true);
    if (!wrong.empty()) {
      value.text = decoded(value.text, set);
      complain(".row: " + std::string(field.name) + " " + std::string(wrong) + ": " +
               shown_input(value));
      return false;
    }
    open = json.take(',');
  }
  if (!open && json.take(']') && json.at_end()) return true;
  complain(".row: more values than fields");
  return false;
}

}  // namespace

bool dump_table(std::string_view alias) {
  const TempsMark mark;
  DbfIdx* dbf = table_of(alias);
  if (dbf == nullptr) return true;
  const KeepObject keep(dbf->object);
  write_output("# " + std::string(base_name(dbf->fileName)) + ", " + std::to_string(dbf->lastRec) +
               " records\n.bail on\n");
  write_structure(*dbf);
  write_set(*dbf);
  if (!write_all_records(*dbf)) {
    complain("the dump is not whole");
    return true;
  }
  write_orders(dbf->object);
  write_output(".close\n");
  return true;
}

bool show_schema(std::string_view alias) {
  const TempsMark mark;
  const DbfIdx* dbf = table_of(alias);
  if (dbf == nullptr) return true;
  write_structure(*dbf);
  write_mark(*dbf);
  write_orders(dbf->object);
  return true;
}

bool create_command(std::string_view arguments) {
  const TempsMark mark;
  std::string file;
  const std::string name = take_file_name(arguments);
  std::string fault;
  Var* rows = structure_of(arguments, fault);
  if (name.empty() || rows == nullptr) {
    complain(!fault.empty() ? fault
                            : ".create needs a file and fields: FILE NAME TYPE [LENGTH "
                              "[DECIMALS]], ...");
    return true;
  }
  if (!may_write(name)) return true;
  select_free_area();  // lines that fill the table must not fill another one
  struct stat status {};
  if (!defaultExtension(file, name, ".dbf", kNameLimit)) {
    complain(name + ": is too long a name");
    return true;
  }
  // A memo file that lost its table may hold all that is left of it.
  for (const std::string& made : {file, in_any_case(memo_path(file))})
    if (!find_file(made, status).empty()) {
      complain(made + ": is there already");
      return true;
    }
  Var* arguments_of[] = {TMP_TEXT(file), rows};
  if (truth_of(dbcreate(2, arguments_of)) && open_for_person(file, "", OpenFor::kFilling))
    choose_text_set(dbf_of(current_server()).fileName, {});
  return true;
}

bool add_row(std::string_view values) {
  const TempsMark mark;
  DbfIdx* dbf = table_of("");
  if (dbf == nullptr) return true;
  if (dbf->readOnly()) {
    complain("the table is open for reading only");
    return true;
  }
  const bool deleted = take_if(values, "-d");
  std::vector<std::uint8_t> record(dbf->recordSize, ' ');
  if (deleted) record[0] = dbf::kDeletedMark;
  if (!fill_record(*dbf, values, record)) return true;
  const InternalLock lock(*dbf, LockMode::kExclusive);
  if (!lock.held() || !append_record(*dbf, true, record.data()))
    complain(".row: the record was not added");
  return true;
}

}  // namespace tarnel
