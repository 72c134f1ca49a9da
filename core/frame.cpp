#include "core/frame.h"

#include <cassert>
#include <string>

#include "core/arrays.h"
#include "core/checks.h"
#include "core/errors.h"
#include "core/runtime.h"
#include "core/signals.h"
#include "core/text.h"

namespace tarnel {

namespace detail {
Frame base_frame{-1, 0, 0, -1, "", nullptr, "", 0, -2, 0, nullptr, nullptr, nullptr};
Frame* frame = &base_frame;
}  // namespace detail

namespace {

bool parameter_type_fits(char received, char declared) {
  return declared == 'U' || types_compatible(received, declared);
}

// The cell of a parameter without a usable argument: empty, of the declared type.
Var* empty_parameter(Var* c, char type) {
  if (upper_class(c->sclass) != 'T') c = NEW_TEMP();
  detail::frame->temp_mark = temp_top();
  if (type != 'U' && letter_in(type, "ABCDILNOu?")) FIX_VAR(c, type);
  return c;
}

}  // namespace

// The result may be bound. It is among the temporaries then.
void detail::end_bindings(const Frame* ended, Var* result) {
  PUSH_TEMP(result);
  ++result->refs;
  POP_VARSTACK(ended->var_entry);
}

Var* detail::tell_wrong_result(Var* result, char expected) {
  if (!types_compatible(result->type, expected))
    RT_ERROR(201,
             format_text("Illegal return type, expected %c - received %c", expected, result->type));
  return result;
}

Var* detail::bind_parameter(std::int32_t argc, std::int32_t i, Var** argv, char letter) {
  const char type = static_cast<char>(letter & 127);
  const bool quiet = (letter & 128) != 0;
  Var* c = i < argc ? argv[i] : nullptr;
  if (c == nullptr) {
    c = empty_parameter(NEW_TEMP(), type);
  } else if (!parameter_type_fits(c->type, type)) {
    const bool of_method = detail::frame->method_scope != detail::base_frame.method_scope;
    if (!quiet)
      RT_ERROR(201, format_text("for parameter #%d;expected %c - received %c;defaulting to empty "
                                "parameter of type %c",
                                of_method ? i : i + 1, type, c->type, type));
    c = empty_parameter(c, type);
  }
  switch (c->sclass) {
    case 'C':  // a private copy, which like every parameter outlives the loops
      c = ARG_VAR(c);
      c->sclass = 'N';
      detail::frame->temp_mark = temp_top();
      return c;
    case 'F':
    case 'f':
      if (!quiet) RT_ERROR(204, "field not allowed as parameter to function");
      return c;
    case 'T':
      c->sclass = type == 'U' ? 'N' : 'S';
      return c;
    case 't':
      c->sclass = type == 'U' ? 'n' : 's';
      return c;
    case 'U':
      RT_ERROR(901, "function called with undefined variable");
      return c;
    default:
      return c;
  }
}

Var* DEFAULT_IVAR(Var* object, std::int32_t i, char letter, Var* init) {
  if (!letter_in(object->type, "Ou") || i < 1 || i > element_count(object)) return nil_value();
  Var* cell = element(object, i);
  if (letter != 'U') FIX_VAR(cell, letter);
  if (init != nullptr) CPY_VAR(cell, init);
  return cell;
}

Var* null_result() {
  return RT_ERROR(320, "function returned zero pointer");
}

Frame* frame_at(std::int32_t n) {
  for (Frame* f = detail::frame; f->prev != nullptr; f = f->prev)
    if (f->line >= 0 && --n < 0) return f;
  return nullptr;
}

void leave_procedures(Frame* frame, std::int32_t vars) {
  // Bindings go while the level is still that of a procedure inside the sequence, innermost first.
  while (detail::frame != frame) {
    POP_VARSTACK(detail::frame->var_entry);
    detail::level = detail::frame->saved_level;
    detail::frame = detail::frame->prev;
  }
  POP_VARSTACK(vars);
}

// --- Walks of the chain.

namespace {

Frame* frame_of_argument(std::int32_t argc, Var** argv) {
  return frame_at(arg_is(argc, argv, 0, "INFL") ? integer_of(argv[0]) : 0);
}

}  // namespace

Var* procline(std::int32_t argc, Var** argv) {
  const Frame* f = frame_of_argument(argc, argv);
  return f != nullptr ? TMP_INT(f->line) : num_zero();
}

Var* procname(std::int32_t argc, Var** argv) {
  const Frame* f = frame_of_argument(argc, argv);
  return f != nullptr ? TMP_TEXT(upper_text(f->proc)) : empty_text();
}

Var* procfile(std::int32_t argc, Var** argv) {
  const Frame* f = frame_of_argument(argc, argv);
  return f != nullptr ? TMP_TEXT(upper_text(f->module)) : empty_text();
}

Var* pcount(std::int32_t, Var**) {
  const std::int32_t count = detail::frame->argc;
  return count != 0 ? TMP_INT(count) : num_zero();
}

}  // namespace tarnel
