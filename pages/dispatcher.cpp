// tarnelmain: fixes the working directory and chooses the page.
#include <unistd.h>

#include "core/frame.h"
#include "core/operators.h"
#include "frontend/request.h"
#include "frontend/toolkit.h"
#include "lib/number_text.h"
#include "lib/set.h"
#include "lib/strings.h"
#include "lib/strings_search.h"
#include "lib/values.h"
#include "pages/pages.h"

namespace tarnel {
namespace {

constexpr const char* kModule = "example0";
constexpr const char* kExamples = TARNEL_EXAMPLES_DIR;
constexpr std::int32_t kDefaultDirectory = 7;  // number of the setting

struct Page {
  const char* name;
  Callable procedure;
};
constexpr Page kPages[] = {{"example0", example0}, {"example1", example1}, {"example2", example2},
                           {"example3", example3}, {"example4", example4}, {"example5", example5},
                           {"example6", example6}};

}  // namespace

Var* tarnelmain(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "tarnelmain", 8, argc);
  Var* env = p.param(argv, 'A');
  Var* form = p.param(argv, 'A');
  Var* request_state = p.param(argv);
  Var* page = p.local('C');
  LINE_HOOK(11);
  CALL_SIMPLE(set, TMP_INT(kDefaultDirectory), TMP_STR(kExamples));
  static_cast<void>(!chdir(kExamples));  // the pages that need the tables report what is missing
  LINE_HOOK(13);
  CPY_VAR(page, lookup_pair(env, "QUERY_STRING"));
  LINE_HOOK(14);
  if (csifu(CALL_SIMPLE(empty, page)))
    CPY_VAR(page, CALL_SIMPLE(strtran, lookup_pair(env, "PATH_INFO"), TMP_STR("/"), empty_text()));
  LINE_HOOK(18);
  for (const Page& known : kPages)
    if (csifu(csceequu(known.name, page))) {
      CALL_SIMPLE(known.procedure, env, form, request_state);
      return p.result(nil_value());
    }
  CALL_SIMPLE(example0, env, form, request_state);
  return p.result(nil_value());
}

Var* exlink(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "exlink", 40, argc);
  Var* number = p.param(argv);
  LINE_HOOK(42);
  Var* link = TMP_STR("/cgi-bin/example0");
  if (csifu(CALL_SIMPLE(fastcgi))) link = csuaddc(link, ".fcgi", false);
  LINE_HOOK(44);
  link = csuaddc(link, "/example", false);
  return p.result(csuaddu(link, CALL_SIMPLE(ltrim, CALL_SIMPLE(str, number)), false));
}

Var* page_link(std::int32_t page) {
  return CALL_SIMPLE(exlink, TMP_INT(page));
}

}  // namespace tarnel
