#include "webpage/page_config.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <variant>

#include "core/file_ops.h"
#include "core/open_files.h"
#include "core/text.h"
#include "lang/source_file.h"
#include "lib/file_names.h"
#include "lib/strings.h"
#include "webpage/page_choice.h"

namespace tarnel {
namespace {

constexpr const char* kName = "tnpage.conf";
constexpr std::size_t kMostBytes = 64 * 1024;

// Where a value goes; numbers have a limit.
struct Row {
  std::string_view name;
  std::variant<std::string PageConfig::*, std::int32_t PageConfig::*, bool PageConfig::*> place;
  std::int32_t most = 0;
};
constexpr Row kRows[] = {
    {"data", &PageConfig::data},
    {"include", &PageConfig::include},
    {"log", &PageConfig::log},
    {"seconds", &PageConfig::seconds, 24 * 60 * 60},
    {"memory", &PageConfig::memory, 1024 * 1024},
    {"body", &PageConfig::body, 32},
    {"show_errors", &PageConfig::show_errors},
    {"allow_run", &PageConfig::allow_run},
};

// local0 to local7, stderr or the path of a socket.
bool is_log(std::string_view value) {
  const bool facility =
      value.size() == 6 && value.starts_with("local") && value[5] >= '0' && value[5] <= '7';
  return facility || value == "stderr" || value.starts_with('/');
}

bool read_number(std::string_view value, std::int32_t most, std::int32_t& number) {
  const char* const end = value.data() + value.size();
  const auto [at, failure] = std::from_chars(value.data(), end, number);
  return failure == std::errc() && at == end && number >= 0 && number <= most;
}

bool store(PageConfig& config, const Row& row, std::string_view value) {
  if (const auto* const text = std::get_if<std::string PageConfig::*>(&row.place)) {
    config.*(*text) = value;
    return row.name != "log" || is_log(value);
  }
  if (const auto* const number = std::get_if<std::int32_t PageConfig::*>(&row.place))
    return read_number(value, row.most, config.*(*number));
  config.*std::get<bool PageConfig::*>(row.place) = value == "yes";
  return value == "yes" || value == "no";
}

bool store_line(PageConfig& config, std::string_view line) {
  line = trim_blanks(line.substr(0, line.find('#')));
  if (line.empty()) return true;
  const std::size_t equals = std::min(line.find('='), line.size());
  const std::string_view name = trim_blanks(line.substr(0, equals));
  const auto* const row = std::ranges::find(kRows, name, &Row::name);
  return row != std::end(kRows) && equals < line.size() &&
         store(config, *row, trim_blanks(line.substr(equals + 1)));
}

bool fail(std::string& fault, const std::string& file, std::string_view words) {
  fault = file + std::string(words);
  return false;
}

bool read_file(const std::string& name, PageConfig& config, std::string& fault) {
  const File file(name.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY);
  struct stat status;
  if (!file.opened() || file_ops().fstat(file.fd(), &status) != 0)
    return fail(fault, name, std::string(": ") + std::strerror(errno));
  if (!S_ISREG(status.st_mode)) return fail(fault, name, " is no regular file");
  if (const std::string how = open_to_strangers(status, real_path(name)); !how.empty())
    return fail(fault, name, " " + how);
  if (status.st_size > static_cast<off_t>(kMostBytes)) return fail(fault, name, " is too long");
  std::string text(static_cast<std::size_t>(status.st_size), '\0');
  const std::int64_t length = read_some_at(file.fd(), text.data(), text.size(), 0);
  if (length < 0) return fail(fault, name, std::string(": ") + std::strerror(errno));
  std::string_view rest = std::string_view(text).substr(0, static_cast<std::size_t>(length));
  for (int line = 1; !rest.empty(); ++line) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    if (!store_line(config, rest.substr(0, end)))
      return fail(fault, name, ":" + std::to_string(line) + ": this line isn't understood");
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return true;
}

}  // namespace

bool read_page_config(PageConfig& config, std::string& fault) {
  struct stat status;
  for (const std::string& name :
       {program_folder() + kName, std::string(TARNEL_CONFIG_DIR "/") + kName}) {
    // A link that leads nowhere was meant to be one.
    char first;
    if (file_ops().stat(name.c_str(), &status) == 0 || ::readlink(name.c_str(), &first, 1) > 0)
      return read_file(name, config, fault);
    if (errno != ENOENT && errno != ENOTDIR)
      return fail(fault, name, std::string(": ") + std::strerror(errno));
  }
  return true;
}

}  // namespace tarnel
