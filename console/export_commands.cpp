#include "console/export_commands.h"

#include <sys/stat.h>

#include <cerrno>
#include <optional>
#include <string>

#include "console/row_commands.h"
#include "console/session.h"
#include "console/table_commands.h"
#include "console/words.h"
#include "core/classes.h"
#include "core/file_ops.h"
#include "core/open_files.h"
#include "core/output.h"
#include "core/stacks.h"
#include "core/text.h"
#include "lib/file_names.h"
#include "lib/files.h"
#include "lib/replacement_file.h"

namespace tarnel {
namespace {

// The mode that a file's extension names; false for one that is for the eye, or none.
bool mode_of_file(std::string_view file, RowMode& mode) {
  const std::string_view name = base_name(file);
  const std::size_t dot = name.rfind('.');
  return dot != name.npos && find_mode(name.substr(dot + 1), mode) && !is_for_person(mode);
}

// The rows as a file that takes its place when it is whole. The system's number of a failure, 0 none, -1 for one that
// was told.
int write_file(const std::string& file, Var* server, const RowRequest& request,
               const RowStyle& style, std::int64_t& rows) {
  struct stat status {};
  if (file_ops().stat(file.c_str(), &status) == 0 && is_open_here(status)) return EBUSY;
  ReplacementFile target(fullPath(file), ".ovtx");
  if (!target.create(fileDefaultMode())) return errno;
  int failure = 0;
  RowWriter writer(style, columns_of(server, request),
                   std::string(text_of(get_ivar(server, "alias"))), 0, [&](std::string_view bytes) {
                     if (!target.append(bytes.data(), bytes.size())) failure = errno;
                     return failure == 0;
                   });
  const auto take = [&](std::span<const RowCell> cells) { return writer.add(cells); };
  const bool read = give_records(server, request, take, "export");
  if (failure != 0) return failure;
  if (!read || *request.unread_memos > 0) return -1;
  rows = writer.rows();
  if (!writer.finish()) return failure;
  return target.flush(target.replaces()) && target.take_place() ? 0 : errno;
}

std::string nothing_in(const std::string& text, CodePage page) {
  std::string bytes;
  static_cast<void>(from_utf8(bytes, text, page));
  return bytes;
}

// A file is whole for all that: who reads it sees a sign in the place of each.
void tell_lost(const std::string& file, const LostTexts& lost, const TextSet& set,
               CodePage written_in) {
  if (lost.count == 0) return;
  const std::string place =
      "the first in record " + std::to_string(lost.record) + ", field " + lost.field + ": ";
  if (set.assumed && lost.first.is_byte)
    tell("note: " + file + ": " + std::to_string(lost.count) +
         " texts that are no utf-8 were read as cp437, .charset chooses another set; " + place +
         words_of(lost.first));
  else
    complain(file + ": " + std::to_string(lost.count) + " characters could not be converted, " +
             place + words_of(lost.first, lost.first.is_byte ? set.page : written_in));
}

}  // namespace

bool take_charset(std::string_view& line, CodePage& page) {
  if (!take_if(line, "-charset")) return true;
  const std::string_view name = take_word(line);
  const std::optional<CodePage> found = code_page_named(name);
  if (found)
    page = *found;
  else
    complain(name.empty() ? "-charset needs the name of a character set: " + code_page_names()
                          : "there is no character set " + std::string(name) + ", known are " +
                                code_page_names());
  return found.has_value();
}

bool export_records(std::string_view arguments) {
  const TempsMark mark;
  Var* server = server_or_complaint();
  if (server == nullptr) return true;
  RowStyle style = session_style();
  RowRequest request;
  if (!take_charset(arguments, request.written_in)) return true;
  const std::string file = take_file_name(arguments);
  if (!mode_of_file(file, style.mode)) {
    complain(
        ".export needs the name of a file that ends in .csv, .tsv, .json, .jsonl, .sql, .md or "
        ".html");
    return true;
  }
  const bool json = style.mode == RowMode::kJson || style.mode == RowMode::kJsonl;
  if (json && request.written_in != CodePage::kUtf8) {
    complain("JSON is utf-8");
    return true;
  }
  if (!style.nothing.empty()) style.nothing = nothing_in(style.nothing, request.written_in);
  style.makes_table = true;
  request.from_top = true;
  std::int64_t unread_memos = 0;
  request.unread_memos = &unread_memos;
  LostTexts lost;
  request.lost = &lost;
  if (!take_selection(arguments, server, request)) return true;
  std::int64_t rows = 0;
  const int failure = write_file(file, server, request, style, rows);
  if (failure > 0)
    complain(file + ": " + system_words(failure));
  else if (unread_memos > 0)
    complain(file + " was not written: " + std::to_string(unread_memos) +
             " memos can't be read, name the other fields to leave them out");
  else if (failure < 0)
    complain(file + " was not written");
  else
    write_output(std::to_string(rows) + " records\n");
  if (failure == 0) tell_lost(file, lost, text_set_of(server), request.written_in);
  return true;
}

}  // namespace tarnel
