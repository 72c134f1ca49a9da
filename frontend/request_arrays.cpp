#include "frontend/request_arrays.h"

#include <unistd.h>

#include <algorithm>
#include <string>
#include <utility>

#include "core/arrays.h"
#include "core/frame.h"
#include "frontend/account.h"
#include "frontend/form.h"
#include "frontend/log.h"
#include "lib/url.h"

namespace tarnel {
namespace {

constexpr std::int32_t kExtraPairs = 3;
constexpr std::size_t kLoggedBytes = 1024;   // of a form value; a log line has no room for more
constexpr std::int32_t kLoggedFields = 100;  // of a form: one body may have tens of thousands

void store_pair(Var* pair, std::string_view name, std::string_view value) {
  SET_STR(element(pair, 1), name);
  SET_STR(element(pair, 2), value);
}

}  // namespace

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

Var* make_form_array(std::int32_t length, FormLog log) {
  const std::int32_t most_logged = log == FormLog::kFields ? kLoggedFields : 0;
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
    if (element_count(form) < most_logged)
      log_line("form variable \"%.*s\" is \"%.*s\"",
               static_cast<int>(std::min(name.size(), kLoggedBytes)), name.data(),
               static_cast<int>(std::min(value.size(), kLoggedBytes)), value.data());
    append_pair(form, pair);
  }
  if (log == FormLog::kFields && element_count(form) > most_logged)
    log_line("%d more form variables aren't logged", element_count(form) - most_logged);
  return form;
}

}  // namespace tarnel
