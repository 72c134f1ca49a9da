#include "db/dbfidx/bulk/text_file.h"

#include <unistd.h>

#include <cerrno>

#include "core/errors.h"
#include "core/file_ops.h"
#include "core/open_files.h"
#include "core/stacks.h"
#include "db/dbfidx/bulk/bulk.h"
#include "db/dbfidx/bulk/field_plan.h"
#include "db/dbfidx/table_errors.h"
#include "db/text/ascirdd.h"
#include "lib/file_names.h"
#include "lib/files.h"
#include "lib/replacement_file.h"

namespace tarnel {
namespace {

constexpr const char kOperation[] = "COPY SDF/DELIMITED";
constexpr const char kExtension[] = ".txt";

// Has this process, or another one, the file open as a table?
bool is_in_use(const std::string& path) {
  struct stat status {};
  if (file_ops().stat(path.c_str(), &status) != 0) return false;
  for (const DbfIdx* dbf = open_tables(); dbf != nullptr; dbf = dbf->nextOpen)
    if (dbf->device == status.st_dev && dbf->inode == status.st_ino) return true;
  if (!S_ISREG(status.st_mode)) return true;  // nobody's to replace
  const File file(path.c_str(), O_RDONLY);
  return file.opened() && !range_is_free(file.fd(), 0, 0);
}

bool unwritable(DbfIdx& dbf, TableError error, const std::string& path) {
  set_dos_error(errno);
  if (error == TableError::kCreateFailed)
    dxerror(dbf, error, {path});
  else
    dxerror(dbf, error, {kOperation, path});
  return false;
}

bool append_line(ReplacementFile& out, std::string& line) {
  if (text_coding() != nullptr) text_coding()->to_file(line);
  return out.append(line.data(), line.size());
}

bool write_lines(DbfIdx& dbf, const Scope& scope, const std::vector<dbf::Field>& fields,
                 TextFormat format, ReplacementFile& out) {
  std::string line;
  ScopeWalk walk(dbf, scope, "copy");
  for (bool on = walk.begin(); on; on = walk.next()) {
    line.clear();
    std::size_t wrong = 0;
    if (!fetch_current(dbf)) {
      walk.fail();
    } else if (!put_line(line, dbf.buffer.data(), format, fields, wrong)) {
      walk.fail();
      dxerror(dbf, TableError::kBulkOverflow, {kOperation, dbf.recNo, fields[wrong].name});
    } else if (!append_line(out, line)) {
      walk.fail();
      unwritable(dbf, TableError::kBulkUnwritable, out.target());
    }
  }
  return !walk.failed() && walk.same();
}

}  // namespace

bool read_text_fields(DbfIdx& dbf, Var* names, const char* operation,
                      std::vector<dbf::Field>& fields) {
  std::vector<std::int32_t> numbers;
  if (!read_field_list(dbf, names, operation, numbers)) return false;
  for (const std::int32_t n : numbers)
    if (const dbf::Field& field = dbf.fields[static_cast<std::size_t>(n)]; field.type != 'M')
      fields.push_back(field);
  return true;
}

bool copy_text(DbfIdx& dbf, const BulkRequest& request, TextFormat format) {
  std::vector<dbf::Field> fields;
  Scope scope;
  if (!read_text_fields(dbf, request.fields, kOperation, fields) ||
      !read_scope(dbf, request.scope, scope))
    return false;
  const std::string path = full_table_path(request.file, kExtension);
  if (path.empty() || is_in_use(path)) {
    dxerror(dbf, path.empty() ? TableError::kCreateFailed : TableError::kCreateInUse,
            {path.empty() ? request.file : std::string_view(path)});
    return false;
  }
  ReplacementFile out(path, ".ovtx");
  if (!out.create(fileDefaultMode())) return unwritable(dbf, TableError::kCreateFailed, path);
  const SameTable same(dbf);
  if (!write_lines(dbf, scope, fields, format, out) || !same.holds()) return false;
  return (out.flush(false) && out.take_place()) ||
         unwritable(dbf, TableError::kBulkUnwritable, path);
}

TextInput::~TextInput() {
  if (object_ == nullptr) return;
  text_table_of(object_).close();
  UNHOLD_VAR(&object_);
}

bool TextInput::open(DbfIdx& target, std::string_view file, const char* operation,
                     std::vector<dbf::Field> fields, TextFormat format, TextScope scope) {
  const std::int32_t mark = temp_top();
  HOLD_VAR(&object_, ascirdd_class().make());
  POP_TEMPS(mark);
  std::string name;
  struct stat status {};
  bool found = defaultExtension(name, file, kExtension, kPathLimit + 1);
  if (found) name = find_file(name, status);
  found = found && !name.empty() && !S_ISDIR(status.st_mode) &&
          (status.st_dev != target.device || status.st_ino != target.inode);
  bool opened = false;
  if (found) {
    const std::string alias = format_text("__app%05ld", static_cast<long>(getpid()));
    const AreaScope in(target.area);
    const WantedAlias wanted(alias);
    const ErrorHold told_here;
    opened = select_free_area() != nullptr &&
             table().open(operation, name, std::move(fields), format, std::move(scope)) &&
             rename_alias(object_, alias, nullptr) >= 0;
  }
  if (opened) return true;
  dxerror(target, TableError::kBulkNoSource, {operation, operation, file});
  return false;
}

TextTable& TextInput::table() {
  return text_table_of(object_);
}

}  // namespace tarnel
