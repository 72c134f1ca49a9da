#include "frontend/request.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>

#include "core/arrays.h"
#include "core/frame.h"
#include "core/output.h"
#include "core/settings.h"
#include "frontend/account.h"
#include "frontend/form.h"
#include "frontend/log.h"
#include "frontend/state_object.h"
#include "lib/url.h"

namespace tarnel {
namespace {

constexpr std::int32_t kExtraPairs = 3;
constexpr std::size_t kLoggedBytes = 1024;   // of a form value; a log line has no room for more
constexpr std::int32_t kLoggedFields = 100;  // of a form: one body may have tens of thousands

struct FrontEndState {
  std::int32_t iteration = 0;
  Var* state_object = nullptr;  // made by the first request, kept for the life of the process
} state;

void store_pair(Var* pair, std::string_view name, std::string_view value) {
  SET_STR(element(pair, 1), name);
  SET_STR(element(pair, 2), value);
}

// [name, value] for each entry of the environment, and three pairs of our own behind them.
Var* make_environment_array() {
  std::int32_t entries = 0;
  while (environ != nullptr && environ[entries] != nullptr && entries < kMaxElements) ++entries;
  const std::int32_t n = std::min(entries + kExtraPairs, kMaxElements);
  Var* env = cscreara(NEW_TEMP(), n, kAllNil);
  log_line("created aEnv[%d] at %p", n, static_cast<void*>(env));
  for (std::int32_t i = 1; i <= n; ++i) cscreara(element(env, i), 2, kAllNil);

  std::int32_t used = 0;
  for (; used < n - kExtraPairs; ++used) {
    const std::string_view entry = environ[used];
    const std::size_t equals = entry.find('=');
    if (equals != std::string_view::npos)
      store_pair(element(env, used + 1), entry.substr(0, equals), entry.substr(equals + 1));
  }
  const std::string user = account_name(getuid());
  log_line("user is %s", user.c_str());
  store_pair(element(env, ++used), "TARNEL_USER", user);
  store_pair(element(env, ++used), "TARNEL_RELEASE", "1.10");
  store_pair(element(env, ++used), "TARNEL_PLATFORM", "Linux");
  log_line("done with environment variables");
  return env;
}

// [name, value] for each field of the body, split at the first equals sign of the decoded text.
Var* make_form_array(std::int32_t length) {
  Var* form = cscreara(NEW_TEMP(), 0, kAllNil);
  log_line("created aForm[%d] at %p", 0, static_cast<void*>(form));
  FormReader reader(STDIN_FILENO, length);
  std::string field;
  if (length > kMostBodyBytes)
    log_line("the body has more than %d bytes, the rest is dropped", kMostBodyBytes);
  while (reader.next(field)) {
    if (element_count(form) == kMaxElements) {
      log_line("the form has more than %d fields, the rest is dropped", kMaxElements);
      break;
    }
    field = decode_url(std::move(field));
    const NamedValue pair = split_pair(field);
    const auto& [name, value] = pair;
    if (element_count(form) < kLoggedFields)
      log_line("form variable \"%.*s\" is \"%.*s\"",
               static_cast<int>(std::min(name.size(), kLoggedBytes)), name.data(),
               static_cast<int>(std::min(value.size(), kLoggedBytes)), value.data());
    append_pair(form, pair);
  }
  if (element_count(form) > kLoggedFields)
    log_line("%d more form variables aren't logged", element_count(form) - kLoggedFields);
  return form;
}

}  // namespace

Var* request_main(std::int32_t, Var**) {
  open_request_log();
  log_line("using regular CGI");
  log_line("compiled on " __DATE__ " at " __TIME__);
  CALL_SIMPLE(tndirect, NEW_TEMP());
  log_line("It's done. Stick a fork in it.");
  return nil_value();
}

Var* tndirect(std::int32_t, Var**) {
  log_line("PID %u; iteration #%d", static_cast<unsigned>(getpid()), state.iteration++);
  Var* env = make_environment_array();
  const char* length_text = std::getenv("CONTENT_LENGTH");
  log_line("content-length is (%p) \"%s\"", static_cast<const void*>(length_text),
           length_text != nullptr ? length_text : "(null)");
  const std::int32_t length = content_length(length_text);
  log_line("content-length is %d", length);
  Var* form = make_form_array(length);
  write_direct_line("Content-type: text/html");
  write_direct_line("");
  log_line("there are %d envars", element_count(env));
  log_line("there are %d formvars", element_count(form));
  if (state.state_object == nullptr) HOLD_VAR(&state.state_object, CALL_SIMPLE(tnstate));
  log_line("calling tarnelmain()");
  CALL_SIMPLE(GET_FUNC("tarnelmain"), env, form, state.state_object);
  flush_output();
  return false_value();
}

// Hook of start-up, before the terminal: an application without an abort key gets ESC.
Var* programini(std::int32_t, Var**) {
  Settings& s = settings();
  if (s.breakkey == 0) {
    s.breakkey = 27;
    s.breakkey_companion = 0;
  }
  return int_zero();
}

// Hook of start-up: whatever terminal the server was started from, a page has none.
Var* cursesinit(std::int32_t, Var**) {
  setenv("TERM", "dumb", 1);
  return nil_value();
}

Var* fastcgi(std::int32_t, Var**) {
  return false_value();
}

}  // namespace tarnel
