#include "console/open_commands.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <functional>

#include "console/session.h"
#include "console/words.h"
#include "core/classes.h"
#include "core/errors.h"
#include "core/file_ops.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/area.h"
#include "db/dataserver.h"
#include "db/dbfidx/check/opened_table.h"
#include "db/front.h"
#include "db/open_manner.h"
#include "db/order_front.h"
#include "lib/file_names.h"
#include "lib/files.h"

namespace tarnel {
namespace {

// The file that a name means, and what the system says of it.
struct Sought {
  std::string path;
  int error = 0;
  struct stat status {};
};

Sought seek_file(const std::string& name) {
  Sought sought;
  if (!defaultExtension(sought.path, name, ".dbf", kNameLimit)) return {name, ENAMETOOLONG, {}};
  std::string found = find_file(sought.path, sought.status);
  if (found.empty()) found = find_file(in_any_case(sought.path), sought.status);
  if (found.empty())
    sought.error = errno;
  else
    sought.path = fullPath(found);
  return sought;
}

// An alias for a file whose name makes none: "" when it does.
std::string made_alias(const std::string& path) {
  const std::string_view base = base_name(path);
  std::string alias = upper_text(base.substr(0, base.rfind('.')));
  const auto fits = [](char c) {
    return c == '_' || std::isalnum(static_cast<unsigned char>(c)) != 0;
  };
  const bool plain = std::ranges::all_of(alias, fits);
  std::ranges::replace_if(alias, std::not_fn(fits), '_');
  if (!alias.empty() &&
      (std::isdigit(static_cast<unsigned char>(alias[0])) != 0 || is_illegal_alias(alias)))
    return "T" + alias;
  return plain ? std::string() : alias;
}

// The alias under which this process has the file open, "" for none.
std::string alias_here(const struct stat& status) {
  for (const WorkArea* area = area_list(); area != nullptr; area = area->next) {
    struct stat other {};
    const TempsMark mark;
    const std::string path(text_of(get_ivar(area->server(), "filespec")));
    if (file_ops().stat(path.c_str(), &other) == 0 && other.st_dev == status.st_dev &&
        other.st_ino == status.st_ino)
      return area->alias;
  }
  return {};
}

// Why a file that is there could not be opened.
std::string reason_of(const Sought& sought, const ForgivingOpen& manner, const std::string& error) {
  if (!manner.missing_memo().empty()) return shown_path(manner.missing_memo()) + ": no such file";
  const std::string file = shown_path(sought.path) + ": ";
  if (S_ISDIR(sought.status.st_mode)) return file + "is a directory";
  if (error.empty()) {
    const std::string here = alias_here(sought.status);
    return file + (here.empty() ? "in use by another program" : "in use here as " + here);
  }
  return error.find("error 101") != error.npos ? file + system_words(dos_error()) : error;
}

// Who changes a table changes its orders along: those in its folder are opened, and none is in force.
void open_orders(const std::string& table) {
  const TempsMark mark;
  bool whole = true;
  for (const std::string& order : orders_beside(table)) {
    Var* file[] = {TMP_TEXT(order)};
    whole = truth_of(ordlistadd(1, file)) && whole;
  }
  Var* natural[] = {int_zero()};
  dbsetorder(1, natural);
  if (!whole) complain("changes will be missing in an order that could not be opened");
}

bool open_found(const Sought& sought, std::string_view alias, OpenFor use) {
  ForgivingOpen manner;
  std::string error;
  bool opened = false;
  {
    const MessagesTo kept(error);
    Var* arguments[] = {true_value(),
                        nil_value(),
                        TMP_TEXT(sought.path),
                        TMP_TEXT(alias.empty() ? made_alias(sought.path) : std::string(alias)),
                        logical(use == OpenFor::kReading || use == OpenFor::kWriting),
                        logical(use == OpenFor::kReading)};
    opened = truth_of(dbusearea(6, arguments));
  }
  if (!opened)
    complain(reason_of(sought, manner, error));
  else if (!manner.missing_memo().empty())
    tell("note: " + shown_path(manner.missing_memo()) + ": no such file, the memos can't be read");
  if (opened && (use == OpenFor::kWriting || use == OpenFor::kAlone)) open_orders(sought.path);
  return opened;
}

// The number of the current area, 0 for none, and its selection.
std::int32_t selected() {
  return current_area() != nullptr ? current_area()->number : 0;
}
void select_again(std::int32_t number) {
  const TempsMark mark;
  if (number != 0) ogsSelect(TMP_INT(number), SelectMode::kNewNumber);
}

void close_area(const WorkArea* area) {
  const TempsMark mark;
  send(area->server(), "close");
}

}  // namespace

bool may_write(const std::string& file) {
  if (tables_only_read()) complain(file + ": this session only reads");
  return !tables_only_read();
}

bool open_for_person(const std::string& name, std::string_view alias, OpenFor use) {
  const TempsMark mark;
  if (use != OpenFor::kReading && !may_write(name)) return false;
  const Sought sought = seek_file(name);
  if (sought.error != 0) {
    complain(shown_path(sought.path) + ": " + system_words(sought.error));
    return false;
  }
  const std::int32_t former = selected();
  if (open_found(sought, alias, use)) return true;
  select_again(former);
  return false;
}

OpenForLook::OpenForLook(const std::string& name, std::string_view alias, OpenFor use)
    : former_(selected()), opened_(open_for_person(name, alias, use)) {}
OpenForLook::~OpenForLook() noexcept(false) {
  if (!opened_) return;
  if (current_server() != nullptr) close_area(current_area());
  select_again(former_);
}

bool open_command(std::string_view arguments) {
  const OpenFor use = take_if(arguments, "-x")   ? OpenFor::kAlone
                      : take_if(arguments, "-w") ? OpenFor::kWriting
                                                 : OpenFor::kReading;
  const std::string name = take_file_name(arguments);
  if (name.empty())
    complain(".open needs the name of a table");
  else
    open_for_person(name, take_word(arguments), use);
  return true;
}

bool close_command(std::string_view alias) {
  if (same_letters(alias, "all")) {
    close_all_areas();
    return true;
  }
  const WorkArea* area = alias.empty() ? current_area() : resolve_alias(alias);
  if (area == nullptr || area->server() == nullptr)
    complain(alias.empty() ? "no table is open in the current area"
                           : "no table is open as " + std::string(alias));
  else
    close_area(area);
  return true;
}

}  // namespace tarnel
