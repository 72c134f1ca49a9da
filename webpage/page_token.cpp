#include "webpage/page_token.h"

#include <syslog.h>
#include <unistd.h>

#include <utility>

#include "core/file_ops.h"
#include "core/frame.h"
#include "core/open_files.h"
#include "core/signals.h"
#include "core/system_log.h"
#include "lib/digests.h"

namespace tarnel {
namespace {

constexpr const char* kSecretFile = "/.tnsecret";
constexpr std::int64_t kSecretSize = 64;  // digits
constexpr std::int32_t kVisitorBytes = 24;

struct TokenState {
  std::string folder, visitor, secret;
} state;

// A cookie of this name can't come from another host of the domain, but needs HTTPS.
std::string cookie_name() {
  return request_is_secure() ? "__Host-tnvisitor" : "tnvisitor";
}

const std::string& visitor() {
  if (state.visitor.empty()) state.visitor = request_cookie(cookie_name());
  return state.visitor;
}

// Is the file this account's alone?
bool is_private(int fd) {
  struct stat status;
  return file_ops().fstat(fd, &status) == 0 && S_ISREG(status.st_mode) &&
         status.st_uid == geteuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

// The first who comes writes it, under a lock: what is too short was broken off.
const std::string& secret() {
  if (!state.secret.empty() || state.folder.empty()) return state.secret;
  const std::string name = state.folder + kSecretFile;
  const File file(name.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK, S_IRUSR | S_IWUSR);
  if (file.opened() && !is_private(file.fd()))
    write_system_log(LOG_ERR,
                     name + ": must belong to the account of the server, and to it alone (0600)");
  if (!file.opened() || !is_private(file.fd())) return state.secret;
  if (!lock_range(file.fd(), F_WRLCK, 0, 0, LockWait::kYes)) {
    answer_given_up_wait();
    return state.secret;
  }
  std::string digits(kSecretSize, '\0');
  const auto size = static_cast<std::size_t>(kSecretSize);
  if (!read_at(file.fd(), digits.data(), size, 0)) {
    digits = text_of(CALL_SIMPLE(randtext, TMP_INT(kSecretSize / 4 * 3)));
    if (digits.size() != size || !write_at(file.fd(), digits.data(), size, 0)) return state.secret;
  }
  return state.secret = std::move(digits);
}

std::string token_of(const std::string& who) {
  if (secret().empty() || who.empty()) return {};
  return std::string(text_of(CALL_SIMPLE(hmacsha256, TMP_TEXT(who), TMP_TEXT(secret()))));
}

}  // namespace

void set_secret_folder(std::string folder) {
  state.folder = std::move(folder);
}

bool has_visitor() {
  return !visitor().empty();
}

void welcome_visitor() {
  if (has_visitor()) return;
  state.visitor = text_of(CALL_SIMPLE(randtext, TMP_INT(kVisitorBytes)));
  if (!set_cookie(cookie_name(), state.visitor, nil_value())) state.visitor.clear();
}

std::string visitor_token() {
  welcome_visitor();
  return token_of(state.visitor);
}

// Takes the same time wherever they differ.
bool is_visitor_token(std::string_view token) {
  const std::string right = token_of(visitor());
  if (right.empty() || token.size() != right.size()) return false;
  unsigned differs = 0;
  for (std::size_t i = 0; i < right.size(); ++i)
    differs |= static_cast<unsigned char>(token[i] ^ right[i]);
  return differs == 0;
}

}  // namespace tarnel
