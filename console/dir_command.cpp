#include "console/dir_command.h"

#include <fnmatch.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "console/row_commands.h"
#include "console/session.h"
#include "console/words.h"
#include "core/errors.h"
#include "core/file_ops.h"
#include "core/open_files.h"
#include "core/text.h"
#include "db/dbfidx/bulk/leftovers.h"
#include "db/dbfidx/check/opened_table.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/format/format_dbf.h"
#include "db/text_set.h"
#include "lib/file_names.h"

namespace tarnel {
namespace {

namespace fs = std::filesystem;

// The set that is chosen or marked, else the mark that nobody knows; "" without one.
std::string character_set(const std::string& path, std::uint8_t mark) {
  const TextSet set = text_set_of(path, mark);
  if (*set.by != 0) return std::string(name_of(set));
  return mark == 0 ? "" : format_text("0x%02x", unsigned{mark});
}

bool has_extension(std::string_view name, std::string_view extension) {
  return name.size() > extension.size() &&
         same_letters(name.substr(name.size() - extension.size()), extension);
}

// The names of a folder.
std::vector<std::string> names_in(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code failed;
  for (fs::directory_iterator at(folder, failed), end; !failed && at != end; at.increment(failed))
    names.push_back(at->path().filename().string());
  std::ranges::sort(names);
  return names;
}

// What a look at a table's header told.
struct Look {
  std::string records, fields, memo, characters, state;
};

std::string state_of(int fd, const std::uint8_t* header, std::int64_t size) {
  const std::int64_t wanted =
      dbf::record_offset(dbf::header_size(header), dbf::record_size(header),
                         static_cast<std::int32_t>(dbf::record_count(header)) + 1);
  if (dbf::header_size(header) <= dbf::kHeaderPrefix || dbf::record_size(header) == 0)
    return "damaged header";
  if (size < wanted) return "cut short";
  return holders(fd, kDbfTop) > 0 ? "in use" : "good";
}

Look look_at(const std::string& path) {
  Look look;
  const File file(path.c_str(), O_RDONLY | O_NONBLOCK);  // of a pipe nobody may have the other end
  struct stat status {};
  std::uint8_t header[dbf::kHeaderPrefix];
  if (!file.opened() || file_ops().fstat(file.fd(), &status) != 0) {
    look.state = system_words(errno);
    return look;
  }
  if (!S_ISREG(status.st_mode) || !read_at(file.fd(), header, sizeof header, 0) ||
      !dbf::is_table(dbf::version(header))) {
    look.state = "no table";
    return look;
  }
  look.records = std::to_string(dbf::record_count(header));
  look.characters = character_set(fullPath(path), dbf::character_mark(header));
  look.state = state_of(file.fd(), header, status.st_size);
  std::vector<std::uint8_t> bytes(std::max<std::size_t>(dbf::header_size(header), sizeof header));
  std::vector<dbf::Field> fields;
  if (!read_at(file.fd(), bytes.data(), bytes.size(), 0) || !dbf::read_fields(bytes, fields))
    look.state = "damaged header";
  look.fields = std::to_string(fields.size());
  if (dbf::has_memo(dbf::version(header))) {
    const std::string memo = in_any_case(memo_path(path));
    const bool there = file_ops().stat(memo.c_str(), &status) == 0;
    look.memo = there ? "yes" : "missing";
  }
  return look;
}

// The orders that name the table as theirs.
std::string orders_of(const std::string& table) {
  std::string orders;
  for (const std::string& path : orders_beside(table))
    orders.append(orders.empty() ? "" : " ").append(base_name(path));
  return orders;
}

}  // namespace

bool list_folder(std::string_view argument) {
  std::string pattern = take_file_name(argument), folder;
  struct stat status {};
  if (!pattern.empty() && file_ops().stat(pattern.c_str(), &status) == 0 &&
      S_ISDIR(status.st_mode)) {
    folder = pattern + "/";
    pattern.clear();
  } else {
    folder = pattern.substr(0, pattern.rfind('/') + 1);
    pattern.erase(0, folder.size());
  }
  if (!folder.empty() && file_ops().stat(folder.c_str(), &status) != 0) {
    complain(folder + ": " + system_words(errno));
    return true;
  }
  const std::vector<std::string> names = names_in(folder.empty() ? "." : folder);
  TextRows rows({"table", "records", "fields", "memo", "characters", "orders", "state"});
  const auto fits = [&](const std::string& name) {
    const std::string base = name.substr(0, name.rfind('.'));
    return pattern.empty() || fnmatch(pattern.c_str(), name.c_str(), FNM_CASEFOLD) == 0 ||
           fnmatch(pattern.c_str(), base.c_str(), FNM_CASEFOLD) == 0;
  };
  for (const std::string& name : names) {
    if (!has_extension(name, ".dbf") || !fits(name)) continue;
    const Look look = look_at(folder + name);
    rows.add({name, look.records, look.fields, look.memo, look.characters,
              orders_of(fullPath(folder + name)), look.state});
  }
  rows.write();
  for (const Leftover& left : leftovers_in(folder)) tell("note: " + left.words);
  return true;
}

}  // namespace tarnel
