#include "console/export_commands.h"

#include <sys/stat.h>

#include <cerrno>
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
#include "db/dbfidx/bulk/replacement_file.h"
#include "lib/file_names.h"
#include "lib/files.h"

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
  const bool read = write_records(server, request, writer, "export");
  if (failure != 0) return failure;
  if (!read || *request.unread_memos > 0) return -1;
  rows = writer.rows();
  if (!writer.finish()) return failure;
  return target.flush(target.replaces()) && target.take_place() ? 0 : errno;
}

}  // namespace

bool export_records(std::string_view arguments) {
  const TempsMark mark;
  Var* server = server_or_complaint();
  if (server == nullptr) return true;
  RowStyle style = session_style();
  const std::string file = take_file_name(arguments);
  if (!mode_of_file(file, style.mode)) {
    complain(
        ".export needs the name of a file that ends in .csv, .tsv, .json, .jsonl, .sql, .md or "
        ".html");
    return true;
  }
  style.makes_table = true;
  RowRequest request;
  request.from_top = true;
  std::int64_t unread_memos = 0;
  request.unread_memos = &unread_memos;
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
  return true;
}

}  // namespace tarnel
