#include "frontend/request.h"

#include <unistd.h>

#include <cstdlib>

#include "core/arrays.h"
#include "core/frame.h"
#include "core/output.h"
#include "core/settings.h"
#include "frontend/form.h"
#include "frontend/log.h"
#include "frontend/request_arrays.h"
#include "frontend/state_object.h"

namespace tarnel {
namespace {

struct FrontEndState {
  std::int32_t iteration = 0;
  Var* state_object = nullptr;  // made by the first request, kept for the life of the process
} state;

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
  Var* form = make_form_array(length, FormLog::kFields);
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

}  // namespace tarnel
