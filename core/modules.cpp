#include "core/modules.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "core/arrays.h"
#include "core/blocks.h"
#include "core/errors.h"
#include "core/frame.h"
#include "core/output.h"
#include "core/text.h"

namespace tarnel {
namespace {

constexpr std::size_t kAliasSize = 11;  // significant characters of an alias
constexpr std::size_t kMacroLimit = 4096;

struct Alias {
  std::string name;
  void* area;
};

struct ModuleState {
  FunctionTable functions{nullptr, 0, nullptr};
  ModuleList modules;
  std::vector<Alias> aliases;
  std::vector<LoadedName> loaded;  // sorted, the names cut
  std::uint32_t stamp = 1;
} state;

std::string_view significant(std::string_view name) {
  return name.substr(0, kNameSize);
}

// Where a name stands among the loaded ones, or would.
std::vector<LoadedName>::iterator loaded_place(std::string_view name) {
  return std::ranges::lower_bound(state.loaded, significant(name), {}, &LoadedName::name);
}

Function find_loaded(std::string_view name) {
  if (state.loaded.empty()) return {};
  const auto found = loaded_place(name);
  const bool there = found != state.loaded.end() && found->name == significant(name);
  return there ? found->procedure : Function();
}

void refuse_version() {
  write_fully(STDERR_FILENO,
              "\n\nFATAL ERROR: Code compiled with noncompatible Orvelane versions !!!\n\n");
  _exit(1);
}

void link_names(const ModuleRecord& module) {
  for (const NameSlot& name : module.names) {
    std::int32_t sym = FIND_SYMBOL(name.name);
    if (sym < 0) {
      sym = ADD_SYMBOL(name.name);
      Var* v = symbol_var(sym);
      v->sclass = 'U';
      v->level = 0;
    }
    *name.slot = sym;
  }
  for (const NameSlot& alias : module.aliases) *alias.slot = ADD_ALIAS(alias.name);
}

// Names that mean something in every program, if a module mentions them.
void fix_predefined() {
  if (const std::int32_t sym = FIND_SYMBOL("orvelane"); sym > 0) {
    symbol_var(sym)->sclass = 'N';
    SET_LOG(symbol_var(sym), true);
  }
  if (const std::int32_t sym = FIND_SYMBOL("getlist"); sym > 0) {
    symbol_var(sym)->sclass = 'N';
    cscreara(symbol_var(sym), 0, kAllNil);
  }
  if (const std::int32_t sym = FIND_SYMBOL("nil"); sym > 0) {
    Symbol& symbol = symbol_at(sym);
    DEL_VAR(symbol.var);
    symbol.fields = nullptr;
    symbol.var = nil_value();
  }
}

bool run_list(std::span<const FunctionEntry> ModuleRecord::*list, std::int32_t argc, Var** argv,
              bool numbered) {
  std::int32_t number = 0;
  for (const ModuleRecord* module : state.modules)
    for (const FunctionEntry& entry : module->*list) {
      if (numbered) SET_INT(argv[0], ++number);
      Var* result = CALL_VECTOR(entry.function, argc, argv);
      if (is_number_or_logical(result) && !truth_of(result)) return false;
    }
  return true;
}

bool same_alias(std::string_view a, std::string_view b) {
  return same_letters(a.substr(0, kAliasSize), b.substr(0, kAliasSize));
}

Var* unknown_function(std::int32_t, Var**) {
  return nil_value();
}

// Abbreviations of builtin functions, in the order in which they are tried.
constexpr std::string_view kAbbreviated[] = {
    "cmonth",  "deleted", "empty",  "fcount",   "flock",  "field",     "found", "lastrec", "lower",
    "ltrim",   "month",   "pcount", "reccount", "recno",  "replicate", "rlock", "round",   "rtrim",
    "seconds", "select",  "setprc", "space",    "substr", "transform", "upper"};
constexpr std::size_t kShortestAbbreviation = 4;

}  // namespace

void LINK_MODULES(const Program& program) {
  state.functions = program.functions;
  state.modules = program.modules;
  for (const ModuleRecord* module : program.modules) {
    if (module->version != kRuntimeVersion) refuse_version();
    link_names(*module);
  }
  fix_predefined();
}

const FunctionTable& function_table() {
  return state.functions;
}

std::int32_t FIND_FUNC(std::string_view name) {
  while (!name.empty() && (name.front() == ' ' || name.front() == '\t')) name.remove_prefix(1);
  name = name.substr(0, name.find(' ')).substr(0, kNameSize);
  const FunctionTable& table = state.functions;
  if (name.empty() || name.front() == 0 || table.index == nullptr) return 0;
  char key[kNameSize + 1] = {};
  std::memcpy(key, name.data(), name.size());
  const auto first = static_cast<unsigned char>(key[0]);
  const FunctionEntry* const end =
      table.entries + (first < 255 ? table.index[first + 1] : table.count);
  const FunctionEntry* const at = std::lower_bound(
      table.entries + table.index[first], end, key,
      [](const FunctionEntry& entry, const char* k) { return compare_names(entry.name, k) < 0; });
  const auto position = static_cast<std::int32_t>(at - table.entries);
  return at != end && compare_names(at->name, key) == 0 ? position : -position;
}

void ADD_PROCEDURES(std::span<const LoadedName> procedures) {
  for (const LoadedName& added : procedures) {
    const auto place = loaded_place(added.name);
    if (place != state.loaded.end() && place->name == significant(added.name))
      place->procedure = added.procedure;
    else
      state.loaded.insert(place, {std::string(significant(added.name)), added.procedure});
  }
  ++state.stamp;
}

void REMOVE_PROCEDURE(Function procedure) {
  std::erase_if(state.loaded, [&](const LoadedName& n) { return n.procedure == procedure; });
  ++state.stamp;
}

std::uint32_t functions_stamp() {
  return state.stamp;
}

// Blanks before a name and what stands behind it don't count, as FIND_FUNC has it.
Function find_function(std::string_view name) {
  name.remove_prefix(std::min(name.find_first_not_of(" \t"), name.size()));
  name = name.substr(0, name.find(' '));
  if (const Function loaded = find_loaded(name); loaded) return loaded;
  const std::int32_t at = FIND_FUNC(name);
  return at > 0 ? Function(state.functions.entries[at].function) : Function();
}

Function lookup_function(std::string_view name) {
  return find_function(lower_text(name.substr(0, kMacroLimit)));
}

Function GET_FUNC(std::string_view name) {
  if (const Function found = lookup_function(name); found) return found;
  RT_ERROR(308, format_text("access of undefined function %.*s",
                            static_cast<int>(std::min(name.size(), kMacroLimit)), name.data()));
  return unknown_function;
}

std::string FULL_NAME(std::string_view name) {
  std::string lowered = lower_text(name);
  if (lowered.size() >= kShortestAbbreviation)
    for (std::string_view full : kAbbreviated)
      if (full.front() == lowered.front() && full.starts_with(lowered)) return std::string(full);
  return lowered;
}

// The argument's own text is cut and lower-cased in place, where it owns one.
Var* isfunction(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, "CM")) return error_value();
  std::string name = lower_text(text_of(argv[0]));
  name = std::string(trim_blanks(std::string_view(name).substr(0, name.find('('))));
  if (owns_payload(argv[0]) && !letter_in(argv[0]->sclass, "CF")) SET_STR(argv[0], name);
  return logical(find_loaded(name) != nullptr || FIND_FUNC(FULL_NAME(name)) >= 0);
}

std::int32_t FIND_ALIAS(std::string_view name) {
  if (name.empty()) return -1;
  for (std::size_t i = 0; i < state.aliases.size(); ++i)
    if (same_alias(state.aliases[i].name, name)) return static_cast<std::int32_t>(i);
  return -1;
}

std::int32_t ADD_ALIAS(std::string_view name) {
  if (const std::int32_t found = FIND_ALIAS(name); found >= 0) return found;
  state.aliases.push_back({std::string(name), nullptr});
  return alias_count() - 1;
}

std::int32_t alias_count() {
  return static_cast<std::int32_t>(state.aliases.size());
}
const char* alias_name(std::int32_t alias) {
  return state.aliases[static_cast<std::size_t>(alias)].name.c_str();
}
void* alias_area(std::int32_t alias) {
  return state.aliases[static_cast<std::size_t>(alias)].area;
}
void set_alias_area(std::int32_t alias, void* area) {
  state.aliases[static_cast<std::size_t>(alias)].area = area;
}

bool RUN_INIT(Var* a, Var* b) {
  Var* argv[] = {a, b};
  return run_list(&ModuleRecord::init, 2, argv, false);
}

bool RUN_EXIT() {
  Var* argv[] = {NEW_VAR('N', 'U')};
  const bool done = run_list(&ModuleRecord::exit, 1, argv, true);
  DEL_VAR(argv[0]);
  return done;
}

}  // namespace tarnel
