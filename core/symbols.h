// The name table: memory variables by name, and the fields of open work areas under the same names.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/var.h"

namespace tarnel {

constexpr int kNameSize = 10;  // significant characters of every name of the language

struct Symbol {
  char name[kNameSize + 1];  // upper case, blanks stripped
  std::int32_t next;         // next in the hash chain, or in the free list; 0 ends it
  SharedHeader* fields;      // field cells of this name in all open areas, or null
  Var* var;                  // the cell now bound to the name
};

void init_symbols();

std::int32_t symbol_count();  // highest index ever given out + 1; index 0 is never used
Symbol& symbol_at(std::int32_t sym);
inline Var* symbol_var(std::int32_t sym) {
  return symbol_at(sym).var;
}

// Upper-cases (50 characters at most), trims blanks and compares 10 characters. -1: empty or
// unknown. A hit moves to the head of its chain.
std::int32_t FIND_SYMBOL(std::string_view name);
// The Symbol of a name, made with a fresh NIL cell of class N when unknown. -1 for an empty name.
std::int32_t ADD_SYMBOL(std::string_view name);
// Unlinks the Symbol of a name, frees its index and its cell. Unknown names are ignored.
void FORGET_NAME(std::string_view name);
// The current cell of a name, which is created when unknown.
Var* GET_MEMVAR(std::string_view name);

// Changes whenever a name is forgotten, a field cell comes under a name or goes, or an area gets or loses its
// alias, so that what was found under a name or alias is still there as long as it stays. Never 0.
std::uint64_t names_stamp();
void note_names_changed();

// The cell a name means in ordinary code: a field of the current work area, else the variable.
Var* RESOLVE_NAME(std::int32_t sym);
// The field cell of that name in the current work area, null when there is none. Its value may be that
// of another record: FIELD_GET.
Var* find_current_field(std::int32_t sym);
FieldOwner* current_field_owner();  // of the current work area; null when there is none
// A field cell with the value of the record under its owner's cursor.
Var* FIELD_GET(Var* cell);
// Hands a value to the record behind a field cell; result of the owner's put.
Var* FIELD_PUT(Var* cell, Var* value);

// Set by the table engine: the owner of the current work area's fields, or null.
void set_current_owner_hook(FieldOwner* (*current_owner)());

// Every assignment and copy has three forms, by how its target or source is found: a cell itself,
// the variable of a Symbol, or what the name means in ordinary code. They are written
//   SET_INT(cell, 1)    SET_INT(symbol_var(sym), 1)    SET_INT(RESOLVE_NAME(sym), 1)
// and CPY_VAR likewise with any two of the three.

// --- Releases by name.
// RELEASE name: empties a variable of the current level (any: of every level) and makes it
// undefined.
void RELEASE_NAME(std::string_view name, bool any);
// RELEASE ALL (all false): empties the variables of this level. CLEAR MEMORY (all true): unbinds
// all.
void RELEASE_ALL(bool all);

// Names that are like a pattern with * and ?, in any case, or all others.
class NameChoice {
 public:
  NameChoice(std::string_view pattern, bool like);
  bool takes(const char* name) const;  // as the table stores it

 private:
  std::string pattern_;
  bool like_;
};
// RELEASE ALL of some: those of this level.
void RELEASE_CHOSEN(const NameChoice& choice);

}  // namespace tarnel
