// The array functions of the language.
#include <algorithm>

#include "core/arrays.h"
#include "core/blocks.h"
#include "core/errors.h"
#include "core/operators.h"
#include "core/signals.h"
#include "core/stacks.h"

namespace tarnel {
namespace {

bool is_array(std::int32_t argc, Var** argv) {
  return arg_is(argc, argv, 0, "A");
}

Var* wrong_type(const char* place, Var* result) {
  RT_ERROR(312, place);
  return result;
}

// Elements to visit of an array of `size`: [start, start + count), count cut to what is there.
struct Range {
  std::int32_t start = 1;
  std::int32_t count;

  explicit Range(std::int32_t size) : count(size) {}
  void cut(std::int32_t size) {
    if (static_cast<std::int64_t>(start) + count > size) count = std::max(size - start + 1, 0);
  }
};

// The elements of an array while blocks and error handlers run, which may resize it, end it or give its
// variable another value. Elements that they take away are passed over.
class Walk {
 public:
  explicit Walk(const Var* list) : body_(list->shared) {}
  bool has(std::int32_t i) const { return i >= 1 && static_cast<std::uint32_t>(i) <= body_->count; }
  Var* at(std::int32_t i) const { return body_->elements[i - 1]; }

 private:
  const BodyHold body_;
};

// Moves elements and puts a fresh NIL where one was released.
void close_gap(SharedHeader* body, std::uint32_t gap) {
  Var* dying = body->elements[gap];
  std::copy(body->elements + gap + 1, body->elements + body->count, body->elements + gap);
  body->elements[body->count - 1] = NEW_VAR('N', 'U');
  DEL_VAR(dying);
}

void open_gap(SharedHeader* body, std::uint32_t gap) {
  Var* dying = body->elements[body->count - 1];
  std::copy_backward(body->elements + gap, body->elements + body->count - 1,
                     body->elements + body->count);
  body->elements[gap] = NEW_VAR('N', 'U');
  DEL_VAR(dying);
}

bool equals(Var* left, Var* key) {
  const bool comparable = left->type == key->type || (is_text(left) && is_text(key)) ||
                          (is_number_or_logical(left) && is_number_or_logical(key));
  if (!comparable) return false;
  Var* result = csuequu(left, key);
  return is_number_or_logical(result) && truth_of(result);
}

bool matches(Var* candidate, Var* key) {
  if (!is_block(key)) return equals(candidate, key);
  Var* result = run_block_with(key, candidate);
  return is_number_or_logical(result) && truth_of(result);
}

}  // namespace

Var* aadd(std::int32_t argc, Var** argv) {
  if (!is_array(argc, argv)) return wrong_type("in AADD", nil_value());
  Var* value = argc > 1 ? argv[1] : nil_value();
  cscrearr(argv[0], element_count(argv[0]) + 1, kKeep, {value});
  return value;
}

Var* asize(std::int32_t argc, Var** argv) {
  if (argc != 2) {
    RT_ERROR(311, "in ASIZE");
    return nil_value();
  }
  if (!is_array(argc, argv) || !arg_is(argc, argv, 1, "INFL"))
    return wrong_type("in ASIZE", argv[0]);
  cscreara(argv[0], integer_of(argv[1]), kKeep);
  return argv[0];
}

Var* aclone(std::int32_t argc, Var** argv) {
  if (argc != 1) {
    RT_ERROR(311, "in ACLONE");
    return nil_value();
  }
  return CLONE_VAR(NEW_TEMP(), argv[0]);
}

Var* array(std::int32_t argc, Var** argv) {
  for (std::int32_t i = 0; i < argc; ++i)
    if (!arg_is(argc, argv, i, "NFIL")) return wrong_type("in ARRAY", nil_value());
  // All of them, before the first is made.
  std::int64_t level = 1, all = 0;
  for (std::int32_t i = 0; i < argc && all <= kMaxMadeElements; ++i) {
    level *= std::clamp(integer_of(argv[i]), 0, kMaxElements);  // other sizes are refused below
    all += level;
  }
  if (all > kMaxMadeElements) return too_many_elements();
  const std::int32_t mark = temp_top();
  Var* made = cscreara(NEW_TEMP(), argc > 0 ? integer_of(argv[argc - 1]) : 0, kAllNil);
  for (std::int32_t i = argc - 2; i >= 0 && !is_error(made); --i)
    made = cscrearr(NEW_TEMP(), integer_of(argv[i]), kCloneOne, {made});
  return keep_temp(mark, made);
}

Var* afill(std::int32_t argc, Var** argv) {
  if (!is_array(argc, argv)) return wrong_type("in AFILL", nil_value());
  const std::int32_t size = element_count(argv[0]);
  Range range(size);
  if (arg_is(argc, argv, 2, "INF") && integer_of(argv[2]) > 0) range.start = integer_of(argv[2]);
  if (argc == 4 && arg_is(argc, argv, 3, "INF") && integer_of(argv[3]) >= 1)
    range.count = integer_of(argv[3]);
  range.cut(size);
  Var* value = argc > 1 ? argv[1] : nil_value();
  const Walk walk(argv[0]);
  for (std::int32_t i = 0; i < range.count && walk.has(range.start + i); ++i) {
    look_at_signals();
    CPY_VAR(walk.at(range.start + i), value);
  }
  return argv[0];
}

Var* ains(std::int32_t argc, Var** argv) {
  if (!is_array(argc, argv) || !arg_is(argc, argv, 1, "INFL"))
    return wrong_type("in AINS", nil_value());
  const std::int32_t position = integer_of(argv[1]);
  if (position < 1 || position > element_count(argv[0])) return wrong_type("in AINS", argv[0]);
  open_gap(argv[0]->shared, static_cast<std::uint32_t>(position - 1));
  return argv[0];
}

Var* adel(std::int32_t argc, Var** argv) {
  if (!is_array(argc, argv) || !arg_is(argc, argv, 1, "INFL"))
    return wrong_type("in ADEL", num_zero());
  if (element_count(argv[0]) == 0) return wrong_type("in ADEL", num_zero());
  std::int32_t position = integer_of(argv[1]);
  // A position outside the array means its first element; programs rely on it.
  if (position < 1 || position > element_count(argv[0])) position = 1;
  close_gap(argv[0]->shared, static_cast<std::uint32_t>(position - 1));
  return argv[0];
}

Var* aeval(std::int32_t argc, Var** argv) {
  if (argc < 2 || !is_array(argc, argv)) return wrong_type("in AEVAL", nil_value());
  Var* list = argv[0];
  if (!is_block(argv[1])) return list;
  const std::int32_t size = element_count(list);
  Range range(size);
  if (arg_is(argc, argv, 2, "INF")) {
    const std::int32_t start = integer_of(argv[2]);
    if (start > 0 && start <= size) range.start = start;
  }
  if (argc == 4 && arg_is(argc, argv, 3, "INF") && integer_of(argv[3]) >= 0)
    range.count = integer_of(argv[3]);
  range.cut(size);
  const Walk walk(list);
  Var* block = CPY_VAR(NEW_TEMP(), argv[1]);
  for (std::int32_t i = range.start; i < range.start + range.count && walk.has(i); ++i) {
    const std::int32_t mark = temp_top();
    const CellHold cell(walk.at(i));
    run_block_with(block, walk.at(i), TMP_INT(i));
    POP_TEMPS(mark);
  }
  return list;
}

Var* ascan(std::int32_t argc, Var** argv) {
  if (argc < 2) {
    RT_ERROR(311, "in ASCAN");
    return num_zero();
  }
  if (!is_array(argc, argv)) return wrong_type("in ASCAN", num_zero());
  Var* list = argv[0];
  const std::int32_t size = element_count(list);
  Range range(size);
  if (arg_is(argc, argv, 2, "INFL")) range.start = std::max(integer_of(argv[2]), 1);
  if (range.start > size) return num_zero();
  if (arg_is(argc, argv, 3, "INFL")) range.count = integer_of(argv[3]);
  if (range.count < 0) return num_zero();
  range.count = std::min(range.count, size - range.start + 1);
  const Walk walk(list);
  Var* key = is_block(argv[1]) ? CPY_VAR(NEW_TEMP(), argv[1]) : argv[1];
  for (std::int32_t i = range.start; i < range.start + range.count && walk.has(i); ++i) {
    const std::int32_t mark = temp_top();
    const CellHold cell(walk.at(i));
    const bool found = matches(walk.at(i), key);
    POP_TEMPS(mark);
    if (found) return TMP_INT(i);
  }
  return num_zero();
}

}  // namespace tarnel
