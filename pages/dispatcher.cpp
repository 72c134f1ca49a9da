// tarnelmain: fixes the working directory and chooses the page.
#include <unistd.h>

#include "core/frame.h"
#include "core/operators.h"
#include "core/sequence.h"
#include "frontend/toolkit.h"
#include "lib/set.h"
#include "lib/strings_search.h"
#include "lib/values.h"
#include "pages/pages.h"

namespace tarnel {
namespace {

constexpr const char* kModule = "example0";
constexpr const char* kExamples = TARNEL_EXAMPLES_DIR;
constexpr std::int32_t kDefaultDirectory = 7;  // number of the setting

constexpr const char* kPages[] = {"example0", "example1", "example2", "example3",
                                  "example4", "example5", "example6"};

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
  CPY_VAR(page, CALL_SIMPLE(tnlookup, env, TMP_STR("QUERY_STRING")));
  LINE_HOOK(14);
  if (csifu(CALL_SIMPLE(empty, page)))
    CPY_VAR(page, CALL_SIMPLE(strtran, CALL_SIMPLE(tnlookup, env, TMP_STR("PATH_INFO")),
                              TMP_STR("/"), empty_text()));
  LINE_HOOK(18);
  const char* chosen = kPages[0];
  for (const char* name : kPages)
    if (csifu(csceequu(name, page))) chosen = name;
  static_cast<void>(in_program([&] { CALL_SIMPLE(GET_FUNC(chosen), env, form, request_state); }));
  return p.result(nil_value());
}

}  // namespace tarnel
