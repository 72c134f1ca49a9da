#include "frontend/error_page.h"

#include "core/arrays.h"
#include "core/blocks.h"
#include "core/classes.h"
#include "core/error_object.h"
#include "core/frame.h"
#include "core/operators.h"
#include "core/runtime.h"
#include "frontend/log.h"
#include "lib/date_functions.h"
#include "lib/number_text.h"
#include "lib/numbers.h"
#include "lib/strings.h"
#include "lib/value_text.h"
#include "lib/values.h"

namespace tarnel {
namespace {

constexpr const char* kModule = "tnerr";

bool is_empty(Var* v) {
  return truth_of(CALL_SIMPLE(empty, v));
}
Var* trimmed_number(Var* v) {
  return CALL_SIMPLE(alltrim, CALL_SIMPLE(str, v));
}
Var* plus(Var* left, const char* text) {
  return csuaddc(left, text, false);
}
Var* plus(Var* left, Var* right) {
  return csuaddu(left, right, false);
}
void append(Var* messages, Var* text) {
  CALL_SIMPLE(aadd, messages, text);
}

// {|oError| errhand(oError)}; the run ends also where a page evaluates the block itself.
Var* handler_block(std::int32_t argc, Var** argv, Var**) {
  Procedure p(kModule, "cb_1_14_1", 14, argc);
  Var* error = p.param(argv);
  Var* result = CALL_SIMPLE(errhand, error);
  if (is_quitting()) QUIT_RUN();
  return p.result(result);
}

// {|cText| tnsyslog(3, cText)}
Var* log_block(std::int32_t argc, Var** argv, Var**) {
  Procedure p(kModule, "cb_1_92_2", 92, argc);
  Var* text = p.param(argv);
  return p.result(CALL_SIMPLE(tnsyslog, TMP_INT(3), text));
}

// {|cText| qout(cText + "<BR>" + chr(10))}
Var* page_block(std::int32_t argc, Var** argv, Var**) {
  Procedure p(kModule, "cb_1_93_3", 93, argc);
  Var* text = p.param(argv);
  return p.result(CALL_SIMPLE(qout, plus(text, "<BR>\n")));
}

void append_arguments(Var* messages, Var* args) {
  if (args->type != 'A' || element_count(args) == 0) return;
  append(messages, TMP_STR("Arguments:"));
  for (std::int32_t i = 1; i <= element_count(args); ++i) {
    Var* arg = csgetarr(args, i);
    Var* line =
        plus(plus(cscaddu(" [", trimmed_number(TMP_INT(i))), "] "), CALL_SIMPLE(valtype, arg));
    append(messages, plus(plus(plus(line, " {"), CALL_SIMPLE(x2c, arg)), "}"));
  }
}

// Levels 0 and 1 are the handler and its block: the first line shows the procedure that failed.
void append_call_stack(Var* messages) {
  append(messages, TMP_STR("Call stack:"));
  for (std::int32_t i = 0;; ++i) {
    Var* level = TMP_INT(i + 2);
    Var* name = CALL_SIMPLE(procname, level);
    if (is_empty(name)) return;
    Var* line = plus(plus(cscaddu(" [", trimmed_number(TMP_INT(i))), "] "), name);
    Var* number = trimmed_number(CALL_SIMPLE(procline, level));
    append(messages, plus(plus(plus(line, " ("), number), ")"));
  }
}

}  // namespace

Var* errorsys(std::int32_t argc, Var**) {
  Procedure p(kModule, "errorsys", 10, argc);
  LINE_HOOK(12);
  CALL_SIMPLE(tnsyslog, TMP_INT(7), TMP_STR("error handler set"));
  LINE_HOOK(14);
  return p.result(set_default_handler(handler_block));
}

Var* throwerror(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "throwerror", 20, argc);
  Var* subsystem = p.param(argv);
  Var* subcode = p.param(argv);
  Var* severity = p.param(argv);
  Var* description = p.param(argv);
  Var* args = p.param(argv);
  LINE_HOOK(24);
  const ErrorGuard guard;
  Var* error = CALL_SIMPLE(errornew);
  if (is_nil(severity)) CPY_VAR(severity, TMP_INT(2));
  if (is_nil(description)) CPY_VAR(description, TMP_STR("<no description available>"));
  LINE_HOOK(30);
  put_ivar(error, "args", CALL_SIMPLE(aclone, args));
  put_ivar(error, "subsystem", subsystem);
  put_ivar(error, "subcode", subcode);
  put_ivar(error, "severity", severity);
  put_ivar(error, "descriptio", description);
  LINE_HOOK(36);
  evaluate_error_block(error);
  return p.result(nil_value());
}

Var* errhand(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "errhand", 42, argc);
  Var* error = p.param(argv);
  LINE_HOOK(46);
  Var* previous = CALL_SIMPLE(errorsys);
  Var* messages = cscreara(NEW_TEMP(), 0, kAllNil);
  LINE_HOOK(50);
  append(messages, TMP_STR("An error has occurred."));
  append(messages, cscaddu("Subsystem:   ", get_ivar(error, "subsystem")));
  append(messages, cscaddu("Subcode:     ", trimmed_number(get_ivar(error, "subcode"))));
  append(messages, cscaddu("Description: ", get_ivar(error, "descriptio")));
  LINE_HOOK(55);
  if (dos_error() != 0)
    append(messages, cscaddu("DOS Error:   ", trimmed_number(TMP_INT(dos_error()))));
  if (Var* operation = get_ivar(error, "operation"); !is_empty(operation))
    append(messages, cscaddu("Operation:   ", operation));
  if (Var* file = get_ivar(error, "filename"); !is_empty(file))
    append(messages, cscaddu("File:        ", file));
  LINE_HOOK(64);
  append_arguments(messages, get_ivar(error, "args"));
  LINE_HOOK(72);
  append_call_stack(messages);
  LINE_HOOK(80);
  CALL_SIMPLE(dumperr, messages);
  CALL_SIMPLE(builtin_shutdown);
  CALL_SIMPLE(errorblock, previous);
  return p.result(false_value());
}

Var* dumperr(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "dumperr", 90, argc);
  Var* messages = p.param(argv);
  LINE_HOOK(92);
  CALL_SIMPLE(aeval, messages, TMP_BLOCK(log_block));
  LINE_HOOK(93);
  CALL_SIMPLE(aeval, messages, TMP_BLOCK(page_block));
  return p.result(nil_value());
}

// NIL counts as unknown: the type letter is compared, and no letter is NIL.
Var* x2c(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "x2c", 100, argc);
  Var* value = p.param(argv);
  LINE_HOOK(102);
  switch (value->type) {
    case 'N':
    case 'F':
    case 'I':
      return p.result(trimmed_number(value));
    case 'C':
      return p.result(value);
    case 'L':
      return p.result(TMP_STR(truth_of(value) ? ".T." : ".F."));
    case 'D':
      return p.result(CALL_SIMPLE(dtoc, value));
    case 'O':
      return p.result(TMP_STR("<object>"));
    case 'A':
      return p.result(TMP_STR("<array>"));
    case 'B':
    case 'b':
      return p.result(TMP_STR("<block>"));
    default:
      return p.result(TMP_STR("<unknown>"));
  }
}

}  // namespace tarnel
