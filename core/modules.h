// The registry of modules and the function table made of it. Each executable has one list that
// names the application's modules first and the runtime's after them; the function of an earlier
// module hides one of the same first ten characters in a later one. The sorted table is made by the
// compiler.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "core/function.h"
#include "core/symbols.h"
#include "core/var.h"

namespace tarnel {

struct FunctionEntry {
  const char* name;  // lower case; ten characters are significant
  Callable function;
  const char* usage;  // "name(parameters) -> result: what it does", or null for internal names
  const char* example = nullptr;  // "expression ==> what the console shows", which a test tries
};

// A list X("name", function, usage, example) gives the declarations and the rows of a module's table.
#define DECLARE_BUILTIN(name, function, ...) Var* function(std::int32_t argc, Var** argv);
#define BUILTIN_ROW(name, function, ...) {name, function, __VA_ARGS__},

struct NameSlot {
  const char* name;
  std::int32_t* slot;  // receives the index of the Symbol or alias at link time
};

constexpr int kRuntimeVersion = 440;  // 4.40; modules of another version are refused

struct ModuleRecord {
  const char* name = "";
  const char* subject = "";  // under which docs/functions.md lists its functions
  std::span<const FunctionEntry> functions{};
  std::span<const NameSlot> names{};    // memory variables that the module mentions
  std::span<const NameSlot> aliases{};  // names it uses with ->
  std::span<const FunctionEntry> init{};
  std::span<const FunctionEntry> exit{};
  int version = kRuntimeVersion;
};

// strncmp over the significant characters of a name.
constexpr int compare_names(const char* a, const char* b) {
  for (int i = 0; i < kNameSize; ++i) {
    const auto ca = static_cast<unsigned char>(a[i]), cb = static_cast<unsigned char>(b[i]);
    if (ca != cb) return ca < cb ? -1 : 1;
    if (ca == 0) return 0;
  }
  return 0;
}

// The functions of all modules, sorted; entry 0 is a dummy, so that position 0 is never a function.
// index[c] is the position of the first entry whose first byte is c or greater; index[0] is 0.
struct FunctionTable {
  const FunctionEntry* entries;
  std::int32_t count;
  const std::int32_t* index;  // 256 of them
};

template <std::size_t N>
struct LinkedFunctions {
  std::array<FunctionEntry, N + 1> entries{};
  std::int32_t count = 1;
  std::array<std::int32_t, 256> index{};

  constexpr FunctionTable table() const { return {entries.data(), count, index.data()}; }
};

using ModuleList = std::span<const ModuleRecord* const>;

constexpr std::size_t count_functions(ModuleList modules) {
  std::size_t n = 0;
  for (const ModuleRecord* module : modules) n += module->functions.size();
  return n;
}

// One list out of several, in their order: the application's, then the runtime's.
template <std::size_t... Ns>
constexpr auto join_modules(const std::array<const ModuleRecord*, Ns>&... lists) {
  std::array<const ModuleRecord*, (Ns + ...)> all{};
  std::size_t n = 0;
  const auto append = [&](const auto& list) {
    for (const ModuleRecord* module : list) all[n++] = module;
  };
  (append(lists), ...);
  return all;
}

// Sorts the functions of the modules, dropping those hidden by an earlier one. N is what
// count_functions gives, so that the compiler can do all of it.
template <std::size_t N>
constexpr LinkedFunctions<N> link_functions(ModuleList modules) {
  struct Ranked {
    FunctionEntry entry;
    std::size_t rank;
  };
  std::array<Ranked, N> all{};
  std::size_t n = 0;
  for (const ModuleRecord* module : modules)
    for (const FunctionEntry& entry : module->functions) {
      all[n] = {entry, n};
      ++n;
    }
  std::sort(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(n),
            [](const Ranked& a, const Ranked& b) {
              const int order = compare_names(a.entry.name, b.entry.name);
              return order != 0 ? order < 0 : a.rank < b.rank;
            });
  LinkedFunctions<N> linked;
  linked.entries[0] = {"", nullptr, nullptr};
  for (std::size_t i = 0; i < n; ++i) {
    const auto count = static_cast<std::size_t>(linked.count);
    if (count > 1 && compare_names(linked.entries[count - 1].name, all[i].entry.name) == 0)
      continue;
    linked.entries[count] = all[i].entry;
    ++linked.count;
  }
  for (std::size_t c = 1; c < 256; ++c) {
    std::int32_t at = 1;
    while (at < linked.count &&
           static_cast<unsigned char>(linked.entries[static_cast<std::size_t>(at)].name[0]) < c)
      ++at;
    linked.index[c] = at;
  }
  return linked;
}

// What an executable is made of.
struct Program {
  FunctionTable functions;
  ModuleList modules;  // in link order
};

// Takes over the function table, gives every module the indices of its names and aliases, and fixes
// the predefined names. Ends the program with status 1 when a module has another version.
void LINK_MODULES(const Program& program);
const FunctionTable& function_table();

// --- Procedures of programs, loaded or translated. They come before the functions that the executable was linked with, as those of
// an application's modules do.
struct LoadedName {
  std::string name;  // lower case; ten characters are significant
  Function procedure;
};
// Adds procedures, or puts them in the place of those of the same names.
void ADD_PROCEDURES(std::span<const LoadedName> procedures);
// Forgets the names under which a procedure is known.
void REMOVE_PROCEDURE(Function procedure);
// Changes whenever a name may mean another function. Never 0.
std::uint32_t functions_stamp();

// Position of a lower-case name among the linked functions, or minus the position where it would belong. Leading blanks and
// tabs are skipped, the name ends at its first blank.
std::int32_t FIND_FUNC(std::string_view name);
// The function of a name in any case; error 308, and a function that gives NIL, when unknown.
Function GET_FUNC(std::string_view name);
// The function of a name in any case, or none. Raises nothing.
Function lookup_function(std::string_view name);
// The same for a name in lower case.
Function find_function(std::string_view name);
// Full name of an abbreviated builtin ("repl" gives "replicate"), else the name in lower case.
std::string FULL_NAME(std::string_view name);

// Aliases: index by name (case-insensitive, 11 characters), -1 when unknown; areas are null when
// closed.
std::int32_t FIND_ALIAS(std::string_view name);
std::int32_t ADD_ALIAS(std::string_view name);
std::int32_t alias_count();
const char* alias_name(std::int32_t alias);
void* alias_area(std::int32_t alias);
void set_alias_area(std::int32_t alias, void* area);

// INIT procedures in link order, each called with a and b; false from one stops the run.
bool RUN_INIT(Var* a, Var* b);
// EXIT procedures, each called with a running number from 1.
bool RUN_EXIT();

#define MODULE_BUILTINS(X)                                                                      \
  X("isfunction", isfunction, "isfunction(cName) -> lLinked: is there a function of that name", \
    "isfunction('strtran') ==> .T.")

MODULE_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kModuleBuiltins[] = {MODULE_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kModulesModule{
    .name = "modules", .subject = "Blocks, names and calls", .functions = kModuleBuiltins};

}  // namespace tarnel
