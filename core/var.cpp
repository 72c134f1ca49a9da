#include "core/var.h"

#include <cmath>
#include <optional>
#include <vector>

#include "core/arrays.h"
#include "core/blocks.h"
#include "core/checks.h"
#include "core/classes.h"
#include "core/errors.h"
#include "core/frame.h"
#include "core/memory.h"
#include "core/sequence.h"
#include "core/switched.h"
#include "core/symbols.h"

namespace tarnel {

namespace detail {
Var constants[kConstantCount]{};
Var* free_cells = nullptr;
std::int32_t level = 0;
}  // namespace detail

namespace {

using namespace detail;

constexpr unsigned char kPoison = 0xA7;  // in freed cells of the checks build

struct CellState {
  Var* last_free = nullptr;  // the checks build's list is a queue
  std::size_t quarantined = 0;
  WindowHooks windows{nullptr, nullptr};
  int release_depth = 0;
  int clone_depth = 0;
  SharedHeader* put_off = nullptr;  // bodies too deep to be released by recursion
} state;

char empty_buffer[1] = "";

Var* nil_block(std::int32_t, Var**, Var**) {
  return nil_value();
}
Var* truth_block(std::int32_t, Var**, Var**) {
  return true_value();
}

void make_constant(Constant which, char type, std::int32_t length, std::int32_t word = 0) {
  Var& c = constants[which];
  c = Var{};
  c.type = type;
  c.sclass = 'C';
  c.length = length;
  c.refs = 1;
  c.name = -1;
  put_word(&c, word);
}

void make_block_constant(Constant which, BlockFunction function) {
  make_constant(which, 'U', 0);
  constants[which].sclass = 'N';
  SET_BLOCK(&constants[which], function, 0);
  constants[which].sclass = 'C';
}

void free_window(Var* v) {
  if (state.windows.destroy != nullptr && v->window != nullptr) state.windows.destroy(v->window);
}

void release_text_block(Var* v) {
  if (v->shared->refs == 1) macro_hooks().release(v->code);
  release_shared(v->shared);
}

// Frees what the payload refers to; the cell itself is left alone.
void release_contents(Var* v) {
  switch (v->type) {
    case 'C':
    case 'M':
      return MEM_FREE(v->text);
    case 'A':
    case 'B':
    case 'O':
      return release_shared(v->shared);
    case 'b':
      return release_text_block(v);
    case 'S':
      return free_window(v);
    default:
      return;
  }
}

// One test instead of a search: each assignment asks. Letters differ in these six bits.
bool refers_to_something(char type) {
  constexpr std::uint64_t kTypes = [] {
    std::uint64_t types = 0;
    for (const char letter : {'C', 'M', 'A', 'O', 'B', 'b', 'S'})
      types |= std::uint64_t{1} << (letter & 63);
    return types;
  }();
  return (kTypes >> (type & 63) & 1) != 0;
}

// Takes what the payload refers to out of a cell and frees it. The cell is without value by then, since
// destructors and error handlers may look at it before it is filled again. A number stays: the rules of
// fixed-type cells ask for its type.
void empty_cell(Var* v) {
  if (!refers_to_something(v->type)) return;
  Var contents = *v;
  v->type = 'U';
  release_contents(&contents);
}

Var* refuse_assignment(const char* text) {
  RT_INTERNAL(332, text);
  return error_value();
}

// A number and a logical, or two kinds of block, pass for each other in a fixed-type variable.
bool fixed_type_accepts(char cell, char value) {
  return cell == value || (cell != 'O' && cell != 'u' && types_compatible(cell, value));
}

Var* check_fixed_type(Var* var, char type) {
  if (fixed_type_accepts(var->type, type)) return var;
  return RT_ERROR(
      332, format_text("attempt to assign %c type to fixed type %c variable", type, var->type));
}

// An assignment to an undefined name creates a private variable of the running procedure.
Var* define_private(Var* undefined) {
  if (undefined->name < 0) {
    undefined->sclass = 'N';
    return undefined;
  }
  Var* fresh = NEW_VAR('N', 'U');
  PUSH_VARSTACK(undefined->name, fresh);
  return fresh;
}

// A cell that was written to after it was freed shows it.
void end_quarantine(Var* cell) {
  --state.quarantined;
  const auto* bytes = reinterpret_cast<const unsigned char*>(cell);
  for (std::size_t i = 0; i < sizeof *cell; ++i)
    check(bytes[i] == kPoison ||
              (i >= offsetof(Var, raw) && i < offsetof(Var, raw) + sizeof cell->raw),
          "a freed cell is left alone");
}

void free_body(SharedHeader* header) {
  for (std::uint32_t i = 0; i < header->count; ++i) DEL_VAR(header->elements[i]);
  MEM_FREE(header->elements);
  MEM_FREE(header);
}

// Calls axit of an object that is about to lose its last reference. A break ends the method only: what
// releases an object can't be stopped halfway.
void run_destructor(Var* object) {
  const ClassDescriptor* descriptor = class_of(object);
  if (descriptor == nullptr) return;
  std::int32_t scope = -2;
  const std::int32_t slot = FIND_METHOD("axit", *descriptor, kMethod, scope);
  if (slot < 0) return;
  object->refs = 1;  // alive for the call, so that the method may hand it around
  const std::int32_t mark = temp_top();
  in_sequence([&] { csdometh("axit", slot, 0, 1, &object); });
  POP_TEMPS(mark);
}

Var* copy_text(Var* target, const Var* source) {
  auto* buffer = static_cast<char*>(
      MEM_ALLOC(static_cast<std::size_t>(source->length < 1 ? 1 : source->length),
                MemPurpose::kText, MemSeverity::kMay));
  if (buffer == nullptr) {
    target->type = 'U';
    return RT_ERROR(301, "to copy text");
  }
  const std::string_view text = text_of(source);
  std::memcpy(buffer, text.data(), text.size());
  buffer[text.size()] = 0;
  target->type = 'C';
  target->text = buffer;
  return target;
}

Var* copy_raw_block(Var* target, const Var* source) {
  const auto size = static_cast<std::size_t>(source->length < 0 ? 0 : source->length);
  target->raw = MEM_ALLOC(size, MemPurpose::kOther);
  if (size > 0 && source->raw != nullptr) std::memcpy(target->raw, source->raw, size);
  target->type = '?';
  return target;
}

void copy_window(Var* target, const Var* source) {
  Window* copy = state.windows.copy != nullptr ? state.windows.copy(source->window) : nullptr;
  target->type = 'S';
  target->window = copy;
  if (copy == nullptr) RT_ERROR(301, "to create window variable");
}

// A number into a fixed-type cell keeps the cell's type.
void copy_into_fixed(Var* target, const Var* source) {
  if (target->type == 'I')
    put_word(target, integer_of(source));
  else
    target->num = number_of(source);
}

void copy_plain(Var* target, const Var* source) {
  target->type = source->type;
  target->bits = source->bits;
  target->bits2 = source->bits2;
}

// The elements of a body at one moment, kept alive; a null pointer ends them.
class HeldElements {
 public:
  explicit HeldElements(const SharedHeader* body)
      : cells_(body->elements, body->elements + body->count) {
    for (Var* cell : cells_) ++cell->refs;
    cells_.push_back(nullptr);
  }
  ~HeldElements() {
    for (Var* cell : cells_)
      if (cell != nullptr) DEL_VAR(cell);
  }
  HeldElements(const HeldElements&) = delete;
  HeldElements& operator=(const HeldElements&) = delete;
  std::int32_t count() const { return static_cast<std::int32_t>(cells_.size()) - 1; }
  Var* const* cells() const { return cells_.data(); }

 private:
  std::vector<Var*> cells_;
};

Var* report_undefined(Var* target, const Var* source) {
  RT_ERROR(307, format_text("access of variable '%s' attempted",
                            source->name > 0 ? symbol_at(source->name).name : ""));
  return target;
}

}  // namespace

void init_constants() {
  if (constants[kErrorValue].sclass == 'C') return;
  make_constant(kErrorValue, 'E', -1);
  make_constant(kTrue, 'L', 1, 1);
  make_constant(kFalse, 'L', 1);
  make_constant(kEmptyText, 'C', 1);
  constants[kEmptyText].text = empty_buffer;
  make_constant(kEmptyDate, 'D', 8);
  make_constant(kNumZero, 'N', -1);
  make_constant(kIntZero, 'I', -1);
  make_constant(kIntOne, 'I', -1, 1);
  make_constant(kIntMinusOne, 'I', -1, -1);
  make_constant(kNil, 'U', 0);
  make_block_constant(kEmptyBlock, nil_block);
  make_block_constant(kTrueBlock, truth_block);
}

void set_window_hooks(const WindowHooks& hooks) {
  state.windows = hooks;
}

std::int32_t truncate_to_int(double d) {
  if (std::isnan(d)) return 0;
  if (d >= 2147483647.0) return INT32_MAX;
  if (d <= -2147483648.0) return INT32_MIN;
  return static_cast<std::int32_t>(d);
}

double number_of_word(const Var* v) {
  if (v->type == 'I' || v->type == 'L') return v->i;
  RT_ERROR(317, "Expected numeric or logical");
  return 0;
}

std::int32_t integer_of(const Var* v) {
  return v->type == 'I' || v->type == 'L' ? v->i : truncate_to_int(number_of(v));
}

bool truth_of_number(const Var* v) {
  if (v->type == 'N' || v->type == 'F') return v->num != 0.0;
  RT_ERROR(317, "Expected logical or numeric");
  return false;
}

bool types_compatible(char a, char b) {
  if (a == b) return true;
  const auto both_in = [a, b](const char* set) { return letter_in(a, set) && letter_in(b, set); };
  return both_in("NFIL") || both_in("Bb") || both_in("Ou");
}

// Cells are made a slab at a time and never returned to the heap.
Var* detail::new_cell() {
  if (free_cells == nullptr || (kChecked && state.quarantined <= kQuarantine)) {
    auto* slab = static_cast<Var*>(MEM_ALLOC_VAR(kSlabCells * sizeof(Var)));
    for (std::size_t i = kSlabCells; i > 0; --i) PUT_CELL(slab + i - 1);
  }
  Var* cell = free_cells;
  free_cells = static_cast<Var*>(cell->raw);
  if (kChecked) end_quarantine(cell);
  return cell;
}

void detail::quarantine(Var* cell) {
  std::memset(static_cast<void*>(cell), kPoison, sizeof *cell);
  cell->raw = nullptr;
  if (free_cells == nullptr)
    free_cells = cell;
  else
    state.last_free->raw = cell;
  state.last_free = cell;
  ++state.quarantined;
}

Var* detail::argument_copy(Var* v) {
  Var* temp = NEW_TEMP();
  if (is_plain(v)) return copy_shown(temp, v);
  CPY_VAR(temp, v);
  if (v->sclass == 'U') temp->sclass = 'U';
  return temp;
}

Var* CLR_VAR(Var* var, char type) {
  bool frees = false;
  switch (var->sclass) {
    case 'C':
      return refuse_assignment("attempt to release the contents of a constant variable");
    case 'F':
    case 'f':
      return refuse_assignment("attempt to release contents of a field variable");
    case 'M':
    case 'P':
    case 'm':
    case 'p':
      return RT_ERROR(332, "cannot assign to variable");
    case 'S':
    case 's':
      if (is_error(check_fixed_type(var, type))) return error_value();
      frees = var->sclass == 'S';
      break;
    case 'U':
      var = define_private(var);
      break;
    case 'l':
    case 'n':
    case 't':
    case 'v':
      break;
    default:
      frees = true;
  }
  if (frees) empty_cell(var);
  var->sclass = upper_class(var->sclass);
  return var;
}

Var* detail::assign(Var* target, Var* source) {
  if (target == source) return target;
  if (target == nullptr || source == nullptr)
    return RT_INTERNAL(407, format_text("CPY_VAR: received null pointer (%lx, %lx)",
                                        reinterpret_cast<unsigned long>(target),
                                        reinterpret_cast<unsigned long>(source)));
  if (is_plain(source) && is_plain(target) &&
      letter_in(target->sclass, "NTV"))  // the usual case, at once
    return copy_shown(target, source);
  if (target->sclass == 'F' || target->sclass == 'f') {
    FIELD_PUT(target, source);
    return target;
  }
  if (is_undefined(source)) return report_undefined(target, source);
  // It may live inside what target is about to release (an element of target's own array). Else it isn't even counted: a
  // page of the program's file with constants that nothing writes to needs no copy of its own.
  std::optional<CellHold> held;
  if (!letter_in(target->sclass, "NTV") || !(is_plain(target) || is_text(target)))
    held.emplace(source);
  Var* d = CLR_VAR(target, source->type);
  if (!is_error(d)) {
    Var* stored = d;
    switch (source->type) {
      case '?':
        copy_raw_block(d, source);
        break;
      case 'C':
      case 'M':
        stored = copy_text(d, source);
        break;
      case 'A':
      case 'O':
      case 'B':
      case 'b':
        ++source->shared->refs;
        copy_plain(d, source);
        break;
      case 'S':
        copy_window(d, source);
        break;
      case 'N':
      case 'F':
      case 'I':
        if (d->sclass == 'S') {
          copy_into_fixed(d, source);
          break;
        }
        [[fallthrough]];
      default:
        copy_plain(d, source);
    }
    if (!is_error(stored)) {
      d->length = source->length;
      d->decimals = source->decimals;
    }
    d = stored;
  }
  return d;
}

void drop_last_reference(Var* var) {
  if (var == nullptr) {
    RT_INTERNAL(303, "DEL_VAR received null pointer");
    return;
  }
  if (--var->refs != 0) return;
  switch (var->sclass) {
    case 'L':
    case 'M':
    case 'N':
    case 'P':
    case 'S':
    case 'T':
    case 'V':
      break;
    case 'F':
    case 'U':
    case 'f':
    case 'l':
    case 'm':
    case 'n':
    case 'p':
    case 's':
    case 't':
    case 'v':
      return PUT_CELL(var);
    default:
      return;  // a constant
  }
  if (var->type == 'O' && var->shared->refs == 1) {
    run_destructor(var);
    if (var->refs > 1) {  // the method kept the object alive
      --var->refs;
      return;
    }
  }
  release_contents(var);
  PUT_CELL(var);
}

Var* CLONE_VAR(Var* target, Var* source) {
  if (source->type != 'A') return CPY_VAR(target, source);
  if (state.clone_depth == kMaxCloneDepth)
    return RT_INTERNAL(409, "array nested too deeply to be cloned");
  // An array that holds another one twice, which holds a third one twice, and so on, is short and its copy endless.
  if (state.clone_depth == 0 && elements_of_copy(source) > kMaxMadeElements)
    return too_many_elements();
  const Switched<int> deeper(state.clone_depth, state.clone_depth + 1);
  // An error handler may change the source: its elements as they are now are what is cloned.
  const HeldElements elements(source->shared);
  return cscreara(target, elements.count(), kCloneValues, elements.cells());
}

// The vector first: where it is too large nothing is left behind.
SharedHeader* new_shared(std::int32_t size) {
  const std::size_t room = (static_cast<std::size_t>(size) + 1) * sizeof(Var*);
  auto** elements = static_cast<Var**>(MEM_ALLOC(room, MemPurpose::kArray));
  elements[0] = nullptr;
  auto* header = static_cast<SharedHeader*>(MEM_ALLOC(sizeof(SharedHeader), MemPurpose::kArray));
  *header = {1, 0, elements};
  return header;
}

// Deeply nested bodies are put off instead of released by recursion; the list goes through the slot
// behind the last element.
void release_shared(SharedHeader* header) {
  if (header == nullptr || --header->refs != 0) return;
  if (state.release_depth == kMaxReleaseDepth) {
    header->elements[header->count] = reinterpret_cast<Var*>(state.put_off);
    state.put_off = header;
    return;
  }
  const Switched<int> deeper(state.release_depth, state.release_depth + 1);
  free_body(header);
  while (state.release_depth == 1 && state.put_off != nullptr) {
    SharedHeader* next = state.put_off;
    state.put_off = reinterpret_cast<SharedHeader*>(next->elements[next->count]);
    free_body(next);
  }
}

void HOLD_VAR(Var** slot, Var* var) {
  ++var->refs;
  if (var->sclass == 'T' || var->sclass == 'U') var->sclass = 'V';
  if (var->sclass == 't') var->sclass = 'v';
  *slot = var;
}

Var* UNHOLD_VAR(Var** slot) {
  Var* held = *slot;
  *slot = nullptr;
  if (held != nullptr) DEL_VAR(held);
  return nil_value();
}

}  // namespace tarnel
