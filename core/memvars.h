// Memory variables: PUBLIC, PRIVATE, parameters by name, fields by name, and the inspectors.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

std::int32_t DECLARE_PUBLIC(std::int32_t sym);
std::int32_t DECLARE_PRIVATE(std::int32_t sym);
// PARAMETERS &name: binds argument `position` (from 0) to the expanded name. Errors 204, 901.
void BIND_MACRO_PARAM(Var* name, std::int32_t argc, std::int32_t position, Var** argv);

// Set by the table engine; an area is opaque here.
struct AreaHooks {
  void* (*current)();
  void* (*by_name)(
      std::string_view alias);  // null: no such area; the empty text is the current area
  void* (*by_number)(std::int32_t number);
  FieldOwner* (*owner)(void* area);  // null: no table open
  void* (*push)(void* area);         // makes it current, returns the former one
  void (*pop)(void* saved);
  // 0: no area was ever chosen. Chosen, it stands for one without a table.
  std::int32_t (*current_number)() = nullptr;
  void (*choose_number)(std::int32_t number) = nullptr;
};
void set_area_hooks(const AreaHooks& hooks);
const AreaHooks& area_hooks();

// The field of an area, of the current one, and of an alias. Errors 306, 342.
Var* GET_FIELD_IN(void* area, std::int32_t sym);
Var* GET_FIELD(std::int32_t sym);
Var* GET_ALIAS_FIELD(std::int32_t alias, std::int32_t sym);
// Starts alias->(expression): the former area, to be handed to pop. Error 342 leaves the selection.
void* PUSH_ALIAS(std::int32_t alias);
void* AREA_BY_NAME(std::string_view name);
Var* GET_FIELD_TEXT(std::string_view field);
Var* GET_ALIAS_FIELD_TEXT(std::string_view alias, std::string_view field);
// Starts (expression)->; error 342 leaves the selection.
void* SELECT_AREA_VAR(Var* which);

// The cell of a local or static of the running procedure by name, or the NIL constant.
Var* FIND_LOCAL(std::string_view name, char kind = 0);
// The text of a macro operand; error 312 with the label, and the empty text, when it is no text.
std::string_view cschrarg(Var* v, const char* label);

#define MEMVAR_BUILTINS(X)                                                                         \
  X("_displpriv", displpriv, "_displpriv([nDepth], [cKind]): lists private variables")             \
  X("_displpubl", displpubl, "_displpubl(): lists public variables")                               \
  X("_displvar", displvar, "_displvar([nDepth]): lists locals and statics of a procedure")         \
  X("_procvar", procvar,                                                                           \
    "_procvar(cName, [cKind], [nDepth], [xNew]) -> xValue: a local or static by name")             \
  X("__mclear", mclear, "__mclear(): CLEAR MEMORY, unbinds all memory variables",                  \
    "{__mvpublic('x'), __mclear(), type('x')}[3] ==> U")                                           \
  X("__mrelease", mrelease,                                                                        \
    "__mrelease([cName], [lLike]): RELEASE, one variable or all of this level; with lLike those "  \
    "with names like a pattern, or unlike it")                                                     \
  X("__mvpublic", mvpublic, "__mvpublic(cName, ...): PUBLIC",                                      \
    "{__mvpublic('total'), type('total')}[2] ==> L")                                               \
  X("__mvprivate", mvprivate, "__mvprivate(cName, ...): PRIVATE",                                  \
    "{__mvprivate('total'), type('total')}[2] ==> U")                                              \
  X("memvarblock", memvarblock,                                                                    \
    "memvarblock(cName) -> bBlock: gives a memory variable a value, or its value; NIL when there " \
    "is none",                                                                                     \
    "{__mvpublic('x'), eval(memvarblock('x'), 5), type('x')}[3] ==> N")                            \
  X("readvar", readvar, "readvar([cName]) -> cName: name of the variable being edited",            \
    "readvar('name') ==> NAME")

MEMVAR_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kMemvarBuiltins[] = {MEMVAR_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kMemvarsModule{
    .name = "memvars", .subject = "Blocks, names and calls", .functions = kMemvarBuiltins};

}  // namespace tarnel
