// What expressions and statements of programs do beyond the operators: names, areas, macros, assignments, loops.
// The machine does it for programs that run from their source, translated code calls it by these names. An
// operation that fails raises its error and, where the error block lets the run go on, gives the error value.
//
// In brackets, as in operators.h: [temporaries pushed, errors raised]; "value" stands for what a function, block or
// record raises and pushes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/classes.h"
#include "core/function.h"
#include "core/memvars.h"
#include "core/operators.h"
#include "core/stacks.h"
#include "core/symbols.h"

namespace tarnel {

// --- Names.

// The Symbol of a name, which becomes known as that of an undefined variable; 0 or less for no name.
std::int32_t known_name(std::string_view name);

// What a name meant when it was looked for last.
struct FoundName {
  std::int32_t sym = -1;    // -1: there is no such name
  std::uint64_t stamp = 0;  // names_stamp() of that moment, 0: not yet
  Var* field = nullptr;     // the cell of that name in the area that was current then
};
// [0.., value] The field of the current area, which is looked for again when that is another one, else the memory
// variable. REQUIRES: the name has a Symbol.
Var* NAMED_VALUE(FoundName& name);

// A name that translated code mentions.
struct Name {
  const char* text;
  FoundName found{};
};
// [0] Its Symbol, which is made where there is none.
std::int32_t SYMBOL_OF(Name& name);
// [0.., value] The field or memory variable of a name.
Var* NAMED(Name& name);
// [0] The memory variable of a name.
Var* MEMVAR(Name& name);

// --- Areas. A null area is one that was not found, which was told.

// [0, 342] The area of an alias in lower case.
void* AREA_NAMED(std::string_view alias);
// An alias that translated code mentions, with its area as long as it is known to have it.
struct AliasName {
  const char* text;
  void* area = nullptr;
  std::uint64_t stamp = 0;  // names_stamp() of the moment in which it was found, 0: not yet
};
void* AREA_NAMED(AliasName& alias);
// [0, 322] The current area.
void* AREA_CURRENT();
// [0, 337 342] The area of an alias or number.
void* AREA_OF(Var* which);
// [0.., 306 and value] A field of an area.
Var* FIELD(void* area, Name& name);
Var* FIELD_BY_SYMBOL(void* area, std::int32_t sym);
// [0.., 306 and value] The field whose name is in `text`.
Var* MACRO_FIELD(void* area, Var* text);

// --- Macros.

// [1, 301 312 319] The pieces as one text.
Var* JOIN_TEXTS(std::int32_t count, Var** pieces);
// [0.., value] What a text says: evaluated now. A name alone is known from then on.
Var* MACRO_VALUE(Var* text);
// [0, 320] The memory variable whose name is in `text`.
Var* MACRO_MEMVAR(Var* text);
// [1, value] A literal in which `&` stands for what variables hold now.
Var* MACRO_TEXT(std::string_view literal);

// --- Values.

// [0..1] `cell`, which nothing that follows can end before the statement does.
inline Var* KEEP(Var* cell) {
  if (cell->sclass == 'T' || cell->sclass == 't' || cell->sclass == 'C') return cell;
  ++cell->refs;
  return PUSH_TEMP(cell);
}
// [0, value] target := value, or by a binary operator target += value. The cell that was written. What is undefined, or
// an error that was passed over, is stored in no record.
using BinaryOperation = Var* (*)(Var* left, Var* right, bool in_place);
Var* ASSIGN(Var* target, Var* value, BinaryOperation by = nullptr);
// [0.., value] The same for an instance variable.
Var* ASSIGN_INSTANCE(Var* object, std::string_view name, Var* value, BinaryOperation by = nullptr);
// [0, 202] +value: numbers and logicals only.
Var* SIGN(Var* value);

// --- Arguments. Lists of them end with a null.

// [0..1, 320] The variable itself; a field can't be one and goes as its value. Null for a variable that holds an error:
// such an argument isn't there.
Var* BY_REFERENCE(Var* cell, std::string_view name);
// [0..1] An argument of DO: a variable goes by reference, a field by value.
Var* VARIABLE_ARGUMENT(Var* cell);

// --- Loops.

// [0, 320] Is it a number other than 0?
bool IS_STEP(Var* step);
// [0, value] Is the counter beyond the limit, in the direction of the step?
bool IS_BEYOND(Var* counter, Var* limit, Var* step);
// [0..1, 312] The array of a FOR EACH, {} for another value.
Var* EACH_OF(Var* array);
// [0] The next element of the array, null behind the last; moves the position.
Var* EACH_NEXT(Var* array, Var* position);

// --- Declarations: what is named in `name` becomes private, public, or argument `position`.

void PRIVATE_NAMED(Var* name);  // [0]
void PUBLIC_NAMED(Var* name);   // [0]

}  // namespace tarnel
