#include "core/memvars.h"

#include <algorithm>
#include <string>
#include <vector>

#include "core/blocks.h"
#include "core/errors.h"
#include "core/frame.h"
#include "core/symbols.h"
#include "core/text.h"

namespace tarnel {
namespace {

constexpr std::size_t kReadvarSize = 120;

struct MemvarState {
  AreaHooks areas{};
  std::string readvar;
} state;

Var* alias_not_open(std::string_view alias) {
  return RT_ERROR(342, alias);
}

Var* field_or_null(void* area, std::int32_t sym) {
  const SharedHeader* fields = symbol_at(sym).fields;
  const FieldOwner* owner =
      area != nullptr && state.areas.owner != nullptr ? state.areas.owner(area) : nullptr;
  if (fields == nullptr || owner == nullptr) return nullptr;
  for (std::uint32_t i = fields->count; i > 0; --i)
    if (fields->elements[i - 1]->owner == owner) return FIELD_GET(fields->elements[i - 1]);
  return nullptr;
}

Var* field_in_text(void* area, std::string_view field) {
  const std::int32_t sym = FIND_SYMBOL(field);
  Var* cell = sym > 0 ? field_or_null(area, sym) : nullptr;
  return cell != nullptr ? cell : RT_ERROR(306, field);
}

void* push_area(void* area) {
  return area != nullptr && state.areas.push != nullptr ? state.areas.push(area) : nullptr;
}

// --- Inspectors.

// Calls `look` with kind, name and cell of each, until it gives true.
template <typename Look>
bool any_of_cells(const CellNames& named, Look look) {
  if (named.cells == nullptr) return false;
  std::string_view names = named.names;
  for (std::size_t i = 0; !names.empty(); ++i) {
    const std::string_view name = names.substr(0, names.find(' '));
    if (name[0] != '-' && look(name[0], name.substr(1), named.cells[i])) return true;
    names.remove_prefix(name.size() + 1);
  }
  return false;
}

// Those of a frame: its parameters and locals, or the statics that it sees, its own first.
template <typename Look>
bool any_variable(const Frame& frame, Look look) {
  return frame.names != nullptr && any_of_cells({frame.names->variables, frame.variables}, look);
}
template <typename Look>
bool any_static(const Frame& frame, Look look) {
  return frame.names != nullptr && (any_of_cells(frame.names->statics, look) ||
                                    any_of_cells(frame.names->file_statics, look));
}

// Takes the first of a name and kind. A parameter is a local as well; kind 0: any.
auto cell_named(std::string_view name, char kind, Var*& cell) {
  return [name = name.substr(0, kNameSize), kind, &cell](char its_kind, std::string_view its_name,
                                                         Var* its_cell) {
    const bool fits = kind == 0 || kind == its_kind || (kind == 'L' && its_kind == 'P');
    if (!fits || !same_letters(its_name.substr(0, kNameSize), name)) return false;
    cell = its_cell;
    return true;
  };
}

void print_line(Var* first, std::string_view name, Var* value) {
  const Function qout = lookup_function("qout");
  Var* argv[] = {first, TMP_TEXT(name), value};
  if (qout != nullptr) qout(3, argv);
}

bool print_variable(char kind, std::string_view name, Var* cell) {
  print_line(TMP_TEXT(std::string_view(&kind, 1)), name, cell);
  return false;
}

// Lists the variables whose level passes the test, with how many levels up they were made.
template <typename Shows>
Var* list_variables(Shows shows) {
  for (std::int32_t i = 1; i < symbol_count(); ++i) {
    const Symbol& symbol = symbol_at(i);
    if (symbol.name[0] == 0 || is_undefined(symbol.var) || std::string_view(symbol.name) == "NIL")
      continue;
    if (!shows(symbol.var->level)) continue;
    const std::int32_t mark = temp_top();
    Var* level =
        symbol.var->level == 0 ? TMP_TEXT("  P") : TMP_INT(activation_level() - symbol.var->level);
    if (symbol.var->level != 0) level->length = 3;
    print_line(level, symbol.name, symbol.var);
    POP_TEMPS(mark);
  }
  return nil_value();
}

std::int32_t argument_or_zero(std::int32_t argc, Var** argv, std::int32_t i) {
  return arg_is(argc, argv, i, "INFL") ? integer_of(argv[i]) : 0;
}

char kind_letter(std::int32_t argc, Var** argv, std::int32_t i, char missing) {
  if (!arg_is(argc, argv, i, "CM") || text_of(argv[i]).empty()) return missing;
  return upper_letter(text_of(argv[i]).front());
}

}  // namespace

void set_area_hooks(const AreaHooks& hooks) {
  state.areas = hooks;
}
const AreaHooks& area_hooks() {
  return state.areas;
}

std::int32_t DECLARE_PUBLIC(std::int32_t sym) {
  Var* v = symbol_var(sym);
  if (v->sclass == 'U') {
    v->level = 0;
    v->sclass = 'N';
    SET_LOG(v, false);
  }
  return sym;
}

std::int32_t DECLARE_PRIVATE(std::int32_t sym) {
  Var* v = symbol_var(sym);
  if (v->level != activation_level())
    PUSH_VARSTACK(sym, NEW_VAR('N', 'U'));
  else if (v->sclass == 'U')
    v->sclass = 'N';
  return sym;
}

void BIND_MACRO_PARAM(Var* name, std::int32_t argc, std::int32_t position, Var** argv) {
  std::string expanded(cschrarg(name, "when expanding macro"));
  if (macro_hooks().expand != nullptr) {
    const std::string source = expanded;
    macro_hooks().expand(source, expanded, 0);
  }
  const std::int32_t sym = ADD_SYMBOL(expanded);
  if (sym < 0) return;
  Var* argument = position < argc ? argv[position] : nullptr;
  if (argument == nullptr) {
    PUSH_VARSTACK(sym, NEW_VAR('N', 'U'));
    return;
  }
  if (argument->sclass == 'F') RT_ERROR(204, "field not allowed as parameter to function");
  ++argument->refs;
  const bool undefined = argument->sclass == 'U';
  if (undefined) RT_ERROR(901, "function called with undefined variable");
  PUSH_VARSTACK(sym, argument);
  if (undefined) argument->sclass = 'U';
}

Var* GET_FIELD_IN(void* area, std::int32_t sym) {
  if (Var* cell = field_or_null(area, sym); cell != nullptr) return cell;
  RT_ERROR(306, format_text("ogsGetAliasField: cannot find field '%s'", symbol_at(sym).name));
  return nil_value();
}

Var* GET_FIELD(std::int32_t sym) {
  return GET_FIELD_IN(state.areas.current != nullptr ? state.areas.current() : nullptr, sym);
}

Var* GET_ALIAS_FIELD(std::int32_t alias, std::int32_t sym) {
  void* area = alias_area(alias);
  return area != nullptr ? GET_FIELD_IN(area, sym) : alias_not_open(alias_name(alias));
}

void* PUSH_ALIAS(std::int32_t alias) {
  void* area = alias_area(alias);
  if (area == nullptr) alias_not_open(alias_name(alias));
  return push_area(area);
}

void* AREA_BY_NAME(std::string_view name) {
  return state.areas.by_name != nullptr ? state.areas.by_name(name) : nullptr;
}

Var* GET_FIELD_TEXT(std::string_view field) {
  if (field.find_first_of(">[") != std::string_view::npos && macro_hooks().evaluate != nullptr)
    return macro_hooks().evaluate(field);
  return field_in_text(state.areas.current != nullptr ? state.areas.current() : nullptr, field);
}

Var* GET_ALIAS_FIELD_TEXT(std::string_view alias, std::string_view field) {
  void* area = AREA_BY_NAME(alias);
  return area != nullptr ? field_in_text(area, field) : alias_not_open(alias);
}

void* SELECT_AREA_VAR(Var* which) {
  void* area = nullptr;
  if (which->type == 'C') {
    area = AREA_BY_NAME(text_of(which));
  } else if (is_number(which)) {
    if (state.areas.by_number != nullptr) area = state.areas.by_number(integer_of(which));
  } else {
    RT_ERROR(342, "variable has wrong type");
  }
  return push_area(area);
}

Var* FIND_LOCAL(std::string_view name, char kind) {
  const Frame* f = frame_at(0);
  Var* cell = nil_value();
  if (f != nullptr && !any_variable(*f, cell_named(name, kind, cell)))
    any_static(*f, cell_named(name, kind, cell));
  return cell;
}

std::string_view cschrarg(Var* v, const char* label) {
  if (is_text(v)) return text_of(v);
  RT_ERROR(312, format_text("%s, should be character to evaluate", label));
  return "";
}

Var* displvar(std::int32_t argc, Var** argv) {
  const Frame* f = frame_at(argument_or_zero(argc, argv, 0));
  if (f == nullptr) return error_value();
  any_variable(*f, print_variable);
  any_static(*f, print_variable);
  return nil_value();
}

Var* displpriv(std::int32_t argc, Var** argv) {
  const std::int32_t cutoff = std::max(activation_level() - argument_or_zero(argc, argv, 0), 0);
  const char kind = kind_letter(argc, argv, 1, 'B');
  return list_variables([=](std::int32_t level) {
    return kind == 'A' ? level >= cutoff : kind == 'B' ? level <= cutoff : level == cutoff;
  });
}

Var* displpubl(std::int32_t, Var**) {
  return list_variables([](std::int32_t level) { return level <= 1; });
}

Var* procvar(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, "CM")) return error_value();
  const char which = kind_letter(argc, argv, 1, 'L');
  const Frame* f = frame_at(argument_or_zero(argc, argv, 2));
  if (f == nullptr) return error_value();
  Var* cell = nullptr;
  const auto look = cell_named(text_of(argv[0]), which == 'F' ? 'S' : 'L', cell);
  if (!(which == 'F' || which == 'T' ? any_static(*f, look) : any_variable(*f, look)))
    return error_value();
  return argc > 3 ? CPY_VAR(cell, argv[3]) : cell;
}

Var* mclear(std::int32_t, Var**) {
  RELEASE_ALL(true);
  return nil_value();
}

Var* mrelease(std::int32_t argc, Var** argv) {
  if (arg_is(argc, argv, 0, "CM") && arg_is(argc, argv, 1, "L"))
    RELEASE_CHOSEN({text_of(argv[0]), truth_of(argv[1])});
  else if (arg_is(argc, argv, 0, "CM"))
    RELEASE_NAME(text_of(argv[0]), false);
  else
    RELEASE_ALL(false);
  return nil_value();
}

namespace {

Var* declare_all(std::int32_t argc, Var** argv, std::int32_t (*declare)(std::int32_t)) {
  for (std::int32_t i = 0; i < argc; ++i) {
    if (!arg_is(argc, argv, i, "CM")) continue;
    std::int32_t sym = FIND_SYMBOL(text_of(argv[i]));
    if (sym < 0) {
      sym = ADD_SYMBOL(text_of(argv[i]));
      if (sym < 0) continue;
      symbol_var(sym)->sclass = 'U';
    }
    declare(sym);
  }
  return nil_value();
}

}  // namespace

Var* mvpublic(std::int32_t argc, Var** argv) {
  return declare_all(argc, argv, DECLARE_PUBLIC);
}
Var* mvprivate(std::int32_t argc, Var** argv) {
  return declare_all(argc, argv, DECLARE_PRIVATE);
}

namespace {

Var* memvar_access(std::int32_t argc, Var** argv, Var** locals) {
  const std::string_view name = text_of(locals[0]);
  if (argc > 0 && !is_nil(argv[0])) return CPY_VAR(GET_MEMVAR(name), argv[0]);
  const std::int32_t sym = FIND_SYMBOL(name);
  return sym > 0 && !is_undefined(symbol_var(sym)) ? symbol_var(sym) : RT_ERROR(307, name);
}

}  // namespace

Var* memvarblock(std::int32_t argc, Var** argv) {
  const std::int32_t sym = arg_is(argc, argv, 0, "CM") ? FIND_SYMBOL(text_of(argv[0])) : -1;
  if (sym < 1 || is_undefined(symbol_var(sym))) return nil_value();
  return make_block(memvar_access, {argv[0]});
}

Var* readvar(std::int32_t argc, Var** argv) {
  if (arg_is(argc, argv, 0, "CM") && !text_of(argv[0]).empty())
    state.readvar = text_of(argv[0]).substr(0, kReadvarSize);
  return TMP_TEXT(upper_text(state.readvar));
}

}  // namespace tarnel
