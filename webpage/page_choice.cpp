#include "webpage/page_choice.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "core/file_ops.h"
#include "lang/source_file.h"

namespace tarnel {
namespace {

constexpr int kForbidden = 403, kAbsent = 404;

std::string variable(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

// Is it this program, whatever its name?
bool is_this_program(const std::string& path) {
  struct stat named, running;
  return file_ops().stat(path.c_str(), &named) == 0 &&
         file_ops().stat("/proc/self/exe", &running) == 0 && named.st_dev == running.st_dev &&
         named.st_ino == running.st_ino;
}

PageChoice refuse(int status, std::string reason) {
  PageChoice refused;
  refused.status = status;
  refused.reason = std::move(reason);
  return refused;
}

bool kind_of(const std::string& path, PageKind& kind) {
  if (path.ends_with(".prg"))
    kind = PageKind::kProgram;
  else if (path.ends_with(".tnp"))
    kind = PageKind::kTemplate;
  else
    return false;
  return true;
}

PageChoice below_root(const std::string& wanted) {
  PageChoice choice;
  if (wanted.empty()) return refuse(kForbidden, "the server names no page");
  const std::string root = variable("DOCUMENT_ROOT");
  choice.root = root.empty() ? "" : real_path(root);
  if (choice.root.empty()) return refuse(kForbidden, "no DOCUMENT_ROOT that is there");
  choice.path = real_path(wanted);
  if (choice.path.empty()) {
    const bool absent = errno == ENOENT || errno == ENOTDIR;
    return refuse(absent ? kAbsent : kForbidden, wanted + ": " + std::strerror(errno));
  }
  if (!lies_below(choice.path, choice.root))
    return refuse(kForbidden, choice.path + " isn't below " + choice.root);
  if (!kind_of(choice.path, choice.kind))
    return refuse(kForbidden, choice.path + " is neither .prg nor .tnp");
  return choice;
}

}  // namespace

std::string real_path(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                         std::free);
  return real != nullptr ? real.get() : "";
}

// A server that passes a request on sets both REDIRECT_STATUS and REDIRECT_URL. The first alone is no sign of it:
// there are servers that set it for every program.
PageChoice choose_page() {
  const std::string script = variable("SCRIPT_FILENAME");
  if (!is_this_program(script)) return below_root(script);
  if (variable("REDIRECT_STATUS").empty() || variable("REDIRECT_URL").empty())
    return refuse(kForbidden, "a request for this program itself");
  return below_root(variable("PATH_TRANSLATED"));
}

std::string unfit_page(int fd, const std::string& path) {
  struct stat status;
  if (file_ops().fstat(fd, &status) != 0) return std::strerror(errno);
  if (!S_ISREG(status.st_mode)) return "is no regular file";
  return open_to_strangers(status, path);
}

}  // namespace tarnel
