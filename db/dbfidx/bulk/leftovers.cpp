#include "db/dbfidx/bulk/leftovers.h"

#include <signal.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <ctime>
#include <filesystem>

#include "core/errors.h"
#include "core/file_ops.h"
#include "core/open_files.h"
#include "core/text.h"
#include "db/dbfidx/format/format_dbt.h"

namespace tarnel {
namespace {

constexpr std::string_view kBeginning = "new", kMemoExtension = ".dbt", kRecordExtension = ".ovdb";
constexpr std::time_t kSettled = 60;  // seconds

bool ends_so(std::string_view name, std::string_view end) {
  return name.size() > end.size() && same_letters(name.substr(name.size() - end.size()), end);
}

// The process whose temporary file a name tells of, 0 for another name.
pid_t writer_of(std::string_view name) {
  if (!name.starts_with(kBeginning)) return 0;
  name.remove_prefix(kBeginning.size());
  pid_t process = 0;
  const auto [end, failed] = std::from_chars(name.data(), name.data() + name.size(), process);
  const std::string_view rest = name.substr(static_cast<std::size_t>(end - name.data()));
  const std::size_t dot = std::min(rest.find('.'), rest.size());
  const std::string_view extension = rest.substr(dot);
  const bool ours = rest.find_first_not_of("-0123456789") == dot &&
                    (extension.starts_with(".ov") || extension == kMemoExtension);
  return failed == std::errc() && end - name.data() >= 5 && ours ? process : 0;
}

bool is_gone(pid_t process) {
  return process > 0 && ::kill(process, 0) != 0 && errno == ESRCH;
}

// The record file that a memo file waits for, "" for none.
std::string awaited_by(const std::string& memo_file) {
  const File file(memo_file.c_str(), O_RDONLY | O_NONBLOCK);
  dbt::PairMark mark;
  return file.opened() && dbt::read_pair_mark(file.fd(), mark) == 1 ? mark.name : std::string();
}

}  // namespace

std::vector<Leftover> leftovers_in(const std::string& directory) {
  std::vector<std::string> names, awaited;
  std::error_code failed;
  const std::string folder = directory.empty() ? "./" : directory;
  for (std::filesystem::directory_iterator at(folder, failed), end; !failed && at != end;
       at.increment(failed)) {
    std::string name = at->path().filename().string();
    if (is_gone(writer_of(name))) names.push_back(name);
    // A mark lies in a file that has its place already.
    if (ends_so(name, kMemoExtension) && writer_of(name) == 0)
      awaited.push_back(awaited_by(at->path().string()));
  }
  std::ranges::sort(names);
  std::vector<Leftover> found;
  for (const std::string& name : names) {
    struct stat status {};
    const std::string path = (std::filesystem::path(folder) / name).string();
    // A memo file with such a name may be that of a table, or all that is left of one.
    const std::string records = name.substr(0, name.rfind('.')) + std::string(kRecordExtension);
    const bool stray =
        ends_so(name, kMemoExtension) && (!std::ranges::binary_search(names, records) ||
                                          std::ranges::find(awaited, records) != awaited.end());
    if (stray || std::ranges::find(awaited, name) != awaited.end() ||
        file_ops().stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
      continue;
    found.push_back(
        {path,
         format_text("%s, %lld bytes: left by process %ld, which is gone", name.c_str(),
                     static_cast<long long>(status.st_size), static_cast<long>(writer_of(name))),
         std::time(nullptr) - status.st_mtime >= kSettled});
  }
  return found;
}

}  // namespace tarnel
