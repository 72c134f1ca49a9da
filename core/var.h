// The value cell. Every value of the language, in a variable, an array element, a field, an
// argument or an intermediate of an expression, is one Var. This file holds the cell, the rules by
// which contents are copied and released, and the constant cells.
//
// Type letters:    C text  M memo text  N F double  I 32-bit integer  L logical  D day number
//                  A array  O object  B compiled block  b text block  S window  ? raw block
//                  U no value  E the error value
// Class letters:   T t temporary   N n free variable   S s fixed-type variable
//                  V v a temporary that a binding or a long-lived slot now holds
//                  F f field   U undefined name   C constant   L l as N n   M m P p read-only
// An upper-case class owns its payload; a lower-case one only points at it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "core/checks.h"

namespace tarnel {

struct Var;
struct Window;
struct Code;  // of a text block, owned by the macro evaluator

// The outward form of every procedure and builtin. The caller owns the vector; the result is never
// null and lives on the temporary stack or is a constant, a variable or an element.
using Callable = Var* (*)(std::int32_t argc, Var** argv);

// A compiled block's function; `locals` are the cells of the enclosing procedure that it names.
using BlockFunction = Var* (*)(std::int32_t argc, Var** argv, Var** locals);

// The counted body that all copies of an array, object or block share.
struct SharedHeader {
  std::uint32_t refs;
  std::uint32_t count;  // elements, at most kMaxElements
  Var** elements;       // room for count + 1
};
constexpr std::int32_t kMaxElements = 65535;

// Who owns a field cell. A null function stands for the object's method fieldget or fieldput.
struct FieldOwner {
  Var* object;
  Callable get;  // (object, cell)
  Callable put;  // (object, cell, value)
};

struct Var {
  char type;
  char sclass;
  std::uint8_t decimals;
  std::uint8_t unused;  // written, so that the first eight bytes of a new cell are one write
  std::int32_t length;  // C M: bytes with the NUL; N F I: display width, -1 none; D 8; L 1; ? bytes
  std::uint32_t refs;
  std::int32_t name;  // Symbol index, -1 none; in a field cell the zero-based field number
  union {
    std::int32_t level;  // activation level at which the cell was made or bound, 0 public
    FieldOwner* owner;   // in a field cell
  };
  union {                // first payload word
    std::uint64_t bits;  // the word as it is; integers are stored with its upper half zero
    double num;
    std::int32_t i;  // I value, L 0 or 1, D day number
    char* text;
    SharedHeader* shared;
    Window* window;
    void* raw;
  };
  union {  // second payload word, blocks only
    BlockFunction function;
    Code* code;
    std::uint64_t bits2;
  };
};
static_assert(sizeof(Var) <= 40, "a cell is at most 40 bytes");

constexpr std::int32_t kMaxTextLength = 0x7FFFFFFE;  // bytes without the NUL

// What the usual cases of the functions below need where they are called: they run at each step of a program.
namespace detail {
enum Constant {
  kErrorValue,
  kTrue,
  kFalse,
  kEmptyText,
  kEmptyDate,
  kNumZero,
  kIntZero,
  kIntOne,
  kIntMinusOne,
  kNil,
  kEmptyBlock,
  kTrueBlock,
  kConstantCount
};
extern Var constants[kConstantCount];
extern Var* free_cells;      // linked through their first payload words
extern std::int32_t level;   // of the running procedure
Var* new_cell();             // where there is no free one, and in the checks build
void quarantine(Var* cell);  // in the checks build
Var* argument_copy(Var* v);
Var* assign(Var* target, Var* source);
}  // namespace detail

// --- Constant cells: class C, never written to. Operations that fail return one of them.
inline Var* error_value() {
  return &detail::constants[detail::kErrorValue];
}
inline Var* true_value() {
  return &detail::constants[detail::kTrue];
}
inline Var* false_value() {
  return &detail::constants[detail::kFalse];
}
inline Var* empty_text() {
  return &detail::constants[detail::kEmptyText];
}
inline Var* empty_date() {
  return &detail::constants[detail::kEmptyDate];
}
inline Var* num_zero() {
  return &detail::constants[detail::kNumZero];
}
inline Var* int_zero() {
  return &detail::constants[detail::kIntZero];
}
inline Var* int_one() {
  return &detail::constants[detail::kIntOne];
}
inline Var* int_minus_one() {
  return &detail::constants[detail::kIntMinusOne];
}
inline Var* nil_value() {
  return &detail::constants[detail::kNil];
}
inline Var* empty_block() {
  return &detail::constants[detail::kEmptyBlock];
}
inline Var* true_block() {
  return &detail::constants[detail::kTrueBlock];
}

inline Var* logical(bool b) {
  return b ? true_value() : false_value();
}
inline bool is_error(const Var* v) {
  return v == error_value();
}

// Sets up the constants, once.
void init_constants();

// --- Small tests.
inline bool letter_in(char letter, const char* set) {
  for (; *set != 0; ++set)
    if (*set == letter) return true;
  return false;
}
inline bool is_text(const Var* v) {
  return v->type == 'C' || v->type == 'M';
}
inline bool is_number(const Var* v) {
  return v->type == 'N' || v->type == 'F' || v->type == 'I';
}
inline bool is_number_or_logical(const Var* v) {
  return is_number(v) || v->type == 'L';
}
inline bool is_block(const Var* v) {
  return v->type == 'B' || v->type == 'b';
}
inline bool is_nil(const Var* v) {
  return v->type == 'U';
}
// Undefined memory variable, as against a variable that holds NIL.
inline bool is_undefined(const Var* v) {
  return v->type == 'U' && v->sclass == 'U';
}
inline bool owns_payload(const Var* v) {
  return v->sclass >= 'A' && v->sclass <= 'Z';
}
inline char upper_class(char sclass) {
  return sclass >= 'a' && sclass <= 'z' ? static_cast<char>(sclass - 'a' + 'A') : sclass;
}

// The bytes of a C or M cell without its NUL; valid while the cell is not assigned to.
inline std::string_view text_of(const Var* v) {
  return {v->text, static_cast<std::size_t>(v->length > 0 ? v->length - 1 : 0)};
}
// True if argument i exists and its type letter is in `types` ("CM", "INFL"). Raises nothing.
inline bool arg_is(std::int32_t argc, Var* const* argv, std::int32_t i, const char* types) {
  return i < argc && argv[i] != nullptr && letter_in(argv[i]->type, types);
}

// The rare parts of the next ones.
bool truth_of_number(const Var* v);
double number_of_word(const Var* v);
// Value of a number or logical as a double, as an integer (truncated toward zero; what does not fit
// gives the nearest bound, not-a-number 0), or as a truth. Another type raises 317 and gives 0.
inline double number_of(const Var* v) {
  return v->type == 'N' || v->type == 'F' ? v->num : number_of_word(v);
}
std::int32_t integer_of(const Var* v);
inline bool truth_of(const Var* v) {
  return v->type == 'L' || v->type == 'I' ? v->i != 0 : truth_of_number(v);
}
// A double cut to 32 bits by the rule of integer_of.
std::int32_t truncate_to_int(double d);

// Two types that an assignment, a typed parameter or a typed result takes for each other: equal ones,
// numbers and logicals among themselves, the two kinds of block, and O with u.
bool types_compatible(char a, char b);

// A number, logical or date: a value that lies in its cell alone.
inline bool has_plain_type(const Var* v) {
  // Letters differ in these six bits.
  constexpr auto bit_of = [](char type) { return std::uint64_t{1} << (type & 63); };
  constexpr std::uint64_t kPlain =
      bit_of('N') | bit_of('F') | bit_of('I') | bit_of('L') | bit_of('D');
  return (kPlain >> (v->type & 63) & 1) != 0;
}
// The same or NIL.
inline bool is_plain(const Var* v) {
  return has_plain_type(v) || (v->type == 'U' && v->sclass != 'U');
}
// A plain value with the form in which it is shown.
inline Var* copy_shown(Var* target, const Var* source) {
  target->type = source->type;
  target->bits = source->bits;
  target->bits2 = source->bits2;
  target->length = source->length;
  target->decimals = source->decimals;
  return target;
}

// --- Cell life.
inline Var* GET_CELL() {
  if (kChecked || detail::free_cells == nullptr) [[unlikely]]
    return detail::new_cell();
  Var* const cell = detail::free_cells;
  detail::free_cells = static_cast<Var*>(cell->raw);
  return cell;
}
inline void PUT_CELL(Var* cell) {
  if (kChecked) return detail::quarantine(cell);
  cell->raw = detail::free_cells;
  detail::free_cells = cell;
}

namespace detail {
inline Var* init_cell(Var* v, char sclass, char type, std::int32_t length = 0,
                      std::uint8_t decimals = 0, std::uint64_t bits = 0) {
  v->type = type;
  v->sclass = sclass;
  v->decimals = decimals;
  v->unused = 0;
  v->length = length;
  v->refs = 1;
  v->name = -1;
  v->level = detail::level;
  v->bits = bits;
  v->bits2 = 0;
  return v;
}
}  // namespace detail

// A cell of the given class and type with one reference, level = activation level, no name.
inline Var* NEW_VAR(char sclass, char type) {
  return detail::init_cell(GET_CELL(), sclass, type);
}

// The by-value form of an argument: a cell of class exactly T as it is, any other copied into a new
// temporary. An undefined variable raises 307, and the temporary's class is then U.
inline Var* ARG_VAR(Var* v) {
  return v->sclass == 'T' ? v : detail::argument_copy(v);
}

// Releases the contents of `var` before a value of type `type` is stored; the gate of every
// assignment. Returns the cell to write into (another one when `var` is an undefined name), or the
// error value after raising 332.
Var* CLR_VAR(Var* var, char type);

// Assignment. Returns the cell written (target for fields), or the error value after an error.
inline Var* CPY_VAR(Var* target, Var* source) {
  if (target != nullptr && source != nullptr && target->sclass == 'N' && is_plain(source) &&
      is_plain(target))
    return copy_shown(target, source);
  return detail::assign(target, source);
}

void drop_last_reference(Var* var);  // the rare part of DEL_VAR
// Drops one reference; at the last one the contents die, for an object after its method axit.
inline void DEL_VAR(Var* var) {
  if (var != nullptr && !kChecked && var->refs == 1 && is_plain(var) &&
      (var->sclass == 'T' || var->sclass == 'N')) [[likely]]
    PUT_CELL(var);
  else if (var != nullptr && var->refs > 1)
    --var->refs;
  else
    drop_last_reference(var);
}

// Deep copy: an array becomes a new array with cloned elements, anything else is CPY_VAR.
Var* CLONE_VAR(Var* target, Var* source);

// Makes `var` an empty value of the declared type in class S (s for text); u counts as O.
Var* FIX_VAR(Var* var, char letter);

// Stores `var` in a long-lived slot outside the temporary stack, which takes a reference.
void HOLD_VAR(Var** slot, Var* var);
// Releases the slot's cell, if any, and nulls it; returns the NIL constant.
Var* UNHOLD_VAR(Var** slot);

// Gives up one reference to a shared body; the last one releases elements, vector and header.
void release_shared(SharedHeader* header);
// A new body without elements, refs 1, with room for that many.
SharedHeader* new_shared(std::int32_t size = 0);

// Keeps a cell alive while something runs that might end it.
class CellHold {
 public:
  explicit CellHold(Var* cell) : cell_(cell) { ++cell->refs; }
  ~CellHold() { DEL_VAR(cell_); }
  CellHold(const CellHold&) = delete;
  CellHold& operator=(const CellHold&) = delete;

 private:
  Var* const cell_;
};

// The same for the body of an array, object or block, whatever becomes of the cell that led to it.
class BodyHold {
 public:
  explicit BodyHold(SharedHeader* body) : body_(body) { ++body->refs; }
  ~BodyHold() { release_shared(body_); }
  BodyHold(const BodyHold&) = delete;
  BodyHold& operator=(const BodyHold&) = delete;
  SharedHeader* get() const { return body_; }
  SharedHeader* operator->() const { return body_; }

 private:
  SharedHeader* const body_;
};

// --- Typed assignments. A field cell passes the value on to its record. They return the cell
// written, or the error value when the assignment was refused.
Var* SET_INT(Var* var, std::int32_t value);
Var* SET_NUM(Var* var, double value, int decimals);  // decimals -1: SET DECIMALS
Var* SET_LOG(Var* var, bool value);
Var* SET_DATE(Var* var, std::int32_t day);
// Copies n bytes (n < 0: up to the NUL, null gives the empty text). A null text with n >= 0 makes n
// zero bytes for the caller to fill. Too long a text is error 319, no memory error 301.
Var* SET_STR(Var* var, const char* text, std::int64_t n);
inline Var* SET_STR(Var* var, std::string_view text) {
  return SET_STR(var, text.data() == nullptr ? "" : text.data(),
                 static_cast<std::int64_t>(text.size()));
}
Var* SET_STRP(Var* var, const char* text);  // points at the caller's text, which must outlive it
Var* SET_PTR(Var* var, void* pointer);
Var* SET_WIN(Var* var, Window* window);
Var* SET_WINCOPY(Var* var, const Var* source);
// A compiled block that shares the given cells as its detached locals.
Var* SET_BLOCK(Var* var, BlockFunction function, std::uint8_t flag, Var* const* locals = nullptr,
               std::int32_t count = 0);

// --- Typed temporaries; they never fail, but TMP_TEXT and TMP_BUFFER give the error value for a
// text that is too long or finds no memory.
Var* TMP_INT(std::int32_t value);
Var* TMP_NUM(double value, int decimals);  // decimals -1: SET DECIMALS
Var* TMP_LOG(bool value);
Var* TMP_DATE(std::int32_t day);
Var* TMP_STR(const char* text);        // points at the caller's text
Var* TMP_TEXT(std::string_view text);  // owns a copy
Var* TMP_BUFFER(std::int64_t n);       // owns n bytes, all of which the caller fills
Var* TMP_WIN(Window* window);
Var* TMP_BLOCK(BlockFunction function, Var* const* locals = nullptr, std::int32_t count = 0);

// An object in a new temporary: element 1 the class, 2 the method array, then ivar_count instances.
Var* NEW_OBJECT(std::int32_t ivar_count, const void* class_descriptor, Var* methods);

// Stores an integer, logical or day number into the payload word. The upper half is zero, so the
// word read as a double is the same on every run.
inline void put_word(Var* v, std::int32_t value) {
  v->bits = static_cast<std::uint32_t>(value);
}

// How window variables are copied and freed; the screen sets it.
struct WindowHooks {
  Window* (*copy)(const Window*);  // null result: it could not be created
  void (*destroy)(Window*);
};
void set_window_hooks(const WindowHooks& hooks);

}  // namespace tarnel
