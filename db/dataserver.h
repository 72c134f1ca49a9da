// The class dataserver: the members every table driver answers, at fixed slots, the fall-backs for
// those that a driver leaves out, and the registry of drivers.
//
// A front function is a call of a member with its slot. A driver lists the members it implements,
// and driver_methods() makes of that list the class's whole table of methods:
//
//   slots 0 to 165   the members of dataserver, each the driver's own or the fall-back
//   slots 166 ...    by name: the base version of each member the driver overrides (for super
//   calls),
//                    and the members that only the driver has
#pragma once

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "core/classes.h"
#include "core/modules.h"

namespace tarnel {

struct ServerMember {
  const char* name;
  char kind;  // kAccess, kAssign, kMethod
};

// Shared by every driver and by compiled calls: the order is frozen.
inline constexpr ServerMember kServerMembers[] = {
    // 0
    {"alias", kAccess},
    {"alias", kAssign},
    {"aliassym", kAccess},
    {"append", kMethod},
    {"appenddb", kMethod},
    {"appenddelimited", kMethod},
    {"appendsdf", kMethod},
    {"asstring", kMethod},
    {"average", kMethod},
    {"blobdirectexport", kMethod},
    // 10
    {"blobdirectget", kMethod},
    {"blobdirectimport", kMethod},
    {"blobdirectput", kMethod},
    {"blobexport", kMethod},
    {"blobget", kMethod},
    {"blobimport", kMethod},
    {"blobrootget", kMethod},
    {"blobrootlock", kMethod},
    {"blobrootput", kMethod},
    {"blobrootunlock", kMethod},
    // 20
    {"bof", kAccess},
    {"clearfilter", kMethod},
    {"clearindex", kMethod},
    {"clearlocate", kMethod},
    {"clearrelation", kMethod},
    {"clearscope", kMethod},
    {"close", kMethod},
    {"commit", kMethod},
    {"concurrenc", kAccess},
    {"concurrenc", kAssign},
    // 30
    {"continue", kMethod},
    {"copydb", kMethod},
    {"copydelimited", kMethod},
    {"copysdf", kMethod},
    {"copystructure", kMethod},
    {"count", kMethod},
    {"createdb", kMethod},
    {"createindex", kMethod},
    {"createorder", kMethod},
    {"datafield", kMethod},
    // 40
    {"dbstruct", kMethod},
    {"delete", kMethod},
    {"deleteall", kMethod},
    {"deleted", kAccess},
    {"deleteorder", kMethod},
    {"driver", kAccess},
    {"eof", kAccess},
    {"errinfo", kAccess},
    {"error", kMethod},
    {"eval", kMethod},
    // 50
    {"fcount", kAccess},
    {"fieldget", kMethod},
    {"fieldgetformatted", kMethod},
    {"fieldhyperlabel", kMethod},
    {"fieldinfo", kMethod},
    {"fieldname", kMethod},
    {"fieldpos", kMethod},
    {"fieldput", kMethod},
    {"fieldspec", kMethod},
    {"fieldstatus", kMethod},
    // 60
    {"fieldsym", kMethod},
    {"fieldvalidate", kMethod},
    {"filespec", kAccess},
    {"filter", kAccess},
    {"filter", kAssign},
    {"flock", kMethod},
    {"forblock", kAccess},
    {"forblock", kAssign},
    {"found", kAccess},
    {"getarray", kMethod},
    // 70
    {"getarrfields", kMethod},
    {"getlocate", kAccess},
    {"getlookuptable", kMethod},
    {"gobottom", kMethod},
    {"goto", kMethod},
    {"gotop", kMethod},
    {"header", kAccess},
    {"indexcheck", kAccess},
    {"indexcount", kAccess},
    {"indexext", kAccess},
    // 80
    {"indexkey", kMethod},
    {"indexkey", kAccess},
    {"indexlock", kAccess},
    {"indexord", kMethod},
    {"info", kMethod},
    {"init", kMethod},
    {"isrelation", kAccess},
    {"isrelation", kAssign},
    {"join", kMethod},
    {"lastrec", kAccess},
    // 90
    {"locate", kMethod},
    {"lockcurrentrecord", kMethod},
    {"lockselection", kMethod},
    {"lupdate", kAccess},
    {"name", kAccess},
    {"noivarget", kMethod},
    {"noivarput", kMethod},
    {"nomethod", kMethod},
    {"notify", kMethod},
    {"orderbotto", kAccess},
    // 100
    {"orderbotto", kAssign},
    {"orderdescend", kMethod},
    {"orderinfo", kMethod},
    {"orderisunique", kMethod},
    {"orderkeyadd", kMethod},
    {"orderkeycount", kMethod},
    {"orderkeydel", kMethod},
    {"orderkeygoto", kMethod},
    {"orderkeyno", kAccess},
    {"orderkeyno", kAssign},
    // 110
    {"orderkeyno", kMethod},
    {"orderkeyva", kAccess},
    {"orderscope", kMethod},
    {"orderskipunique", kMethod},
    {"ordertopsc", kAccess},
    {"ordertopsc", kAssign},
    {"pack", kMethod},
    {"rddinfo", kMethod},
    {"rddname", kAccess},
    {"readonly", kAccess},
    // 120
    {"recall", kMethod},
    {"recallall", kMethod},
    {"reccount", kAccess},
    {"recno", kAccess},
    {"recno", kAssign},
    {"recordinfo", kMethod},
    {"recsize", kAccess},
    {"refresh", kMethod},
    {"registerclient", kMethod},
    {"reindex", kMethod},
    // 130
    {"relation", kMethod},
    {"relationobject", kMethod},
    {"replace", kMethod},
    {"resetnotification", kMethod},
    {"rlock", kMethod},
    {"rlocklist", kAccess},
    {"rlockverify", kMethod},
    {"rollback", kMethod},
    {"scope", kAccess},
    {"scope", kAssign},
    // 140
    {"seek", kMethod},
    {"seekeval", kMethod},
    {"setdatafield", kMethod},
    {"setfilter", kMethod},
    {"setfound", kAssign},
    {"setindex", kMethod},
    {"setlocate", kAssign},
    {"setorder", kMethod},
    {"setordercondition", kMethod},
    {"setrelation", kMethod},
    // 150
    {"setselectiverelat", kMethod},
    {"shared", kAccess},
    {"skip", kMethod},
    {"sort", kMethod},
    {"status", kAccess},
    {"sum", kMethod},
    {"suspendnotification", kMethod},
    {"total", kMethod},
    {"unlock", kMethod},
    {"unregisterclient", kMethod},
    // 160
    {"update", kMethod},
    {"used", kAccess},
    {"usersdbf", kMethod},
    {"whileblock", kAccess},
    {"whileblock", kAssign},
    {"zap", kMethod}};
inline constexpr std::size_t kServerSlots = std::size(kServerMembers);
static_assert(kServerSlots == 166);

constexpr bool same_member(const ServerMember& m, std::string_view name, char kind) {
  return m.kind == kind && name == m.name;
}
// Slot of a member of dataserver, -1 when it has none.
constexpr std::int32_t server_slot(std::string_view name, char kind = kMethod) {
  for (std::size_t i = 0; i < kServerSlots; ++i)
    if (same_member(kServerMembers[i], name, kind)) return static_cast<std::int32_t>(i);
  return -1;
}
static_assert(server_slot("skip") == 152 && server_slot("zap") == 165 &&
              server_slot("eof", kAccess) == 46 && server_slot("indexkey", kAccess) == 81);

// The instances by which members are reached by name; each lies in the object's vector behind the
// class and the method array.
inline constexpr const char* kServerInstances[] = {
    "alias",      "aliassym", "bof",        "cargo",      "concurrenc", "deleted",    "driver",
    "eof",        "errinfo",  "fcount",     "filespec",   "filter",     "forblock",   "found",
    "getlocate",  "header",   "indexcheck", "indexcount", "indexext",   "indexkey",   "indexlock",
    "isrelation", "lastrec",  "lupdate",    "name",       "orderbotto", "orderkeyno", "orderkeyva",
    "ordertopsc", "rddname",  "readonly",   "reccount",   "recno",      "recsize",    "rlocklist",
    "scope",      "setfound", "setlocate",  "shared",     "status",     "used",       "whileblock"};
inline constexpr std::size_t kServerInstanceCount = std::size(kServerInstances);
static_assert(kServerInstanceCount == 42);

// What stands in a slot whose member no driver gives: it answers through the object's noivarget, noivarput or
// nomethod, and those three with errors 344 and 343.
Var* answer_for_absent(std::size_t slot, std::int32_t argc, Var** argv);
template <std::size_t Slot>
Var* absent_member(std::int32_t argc, Var** argv) {
  return answer_for_absent(Slot, argc, argv);
}
inline constexpr auto kFallBacks = []<std::size_t... Slots>(std::index_sequence<Slots...>) {
  return std::array<Callable, kServerSlots>{absent_member<Slots>...};
}
(std::make_index_sequence<kServerSlots>());

// One member that a driver implements. One that isn't given is planned: the fall-back stands meanwhile. (Its null function
// doesn't tell: with sanitizers the compiler compares no function with null.)
struct DriverMember {
  const char* name;
  char kind;
  Callable function;
  bool given = true;
};

// Number of slots of a driver: those of dataserver, and one more for each of its members.
template <std::size_t N>
constexpr std::size_t driver_slots(const DriverMember (&)[N]) {
  return kServerSlots + N;
}

// The driver's slot of a member: its place in dataserver, else among the driver's own by name.
// REQUIRES: `members` is sorted by name.
template <std::size_t N>
constexpr std::int32_t driver_slot(const DriverMember (&members)[N], std::string_view name,
                                   char kind = kMethod) {
  assert(std::ranges::is_sorted(members, {},
                                [](const DriverMember& m) { return std::string_view(m.name); }));
  const std::int32_t base = server_slot(name, kind);
  if (base >= 0) return base;
  for (std::size_t i = 0; i < N; ++i)
    if (members[i].kind == kind && name == members[i].name)
      return static_cast<std::int32_t>(kServerSlots + i);
  return -1;
}

// The table of methods, in slot order, that a driver hands to its ClassDescriptor. For the compiler: a request that opens
// a table would take a tenth of its time for it.
template <std::size_t N>
consteval std::array<MethodEntry, kServerSlots + N> driver_methods(
    const DriverMember (&members)[N]) {
  std::array<MethodEntry, kServerSlots + N> methods{};
  for (std::size_t slot = 0; slot < kServerSlots; ++slot)
    methods[slot] = {kServerMembers[slot].name, kFallBacks[slot], kServerMembers[slot].kind, 0};
  for (std::size_t i = 0; i < N; ++i) {
    const DriverMember& m = members[i];
    const std::int32_t slot = server_slot(m.name, m.kind);
    if (slot >= 0) {
      const auto at = static_cast<std::size_t>(slot);
      methods[kServerSlots + i] = methods[at];
      if (m.given) methods[at] = {m.name, m.function, m.kind, 1};
    } else {
      methods[kServerSlots + i] = {m.name, m.function, m.kind, 1};
    }
  }
  return methods;
}

// Instances and properties of a driver: the 42 above, then `cells` plain ones of its own.
std::span<const PropertyEntry> server_properties();

// May a value of this type be stored in a field, or looked for in an order, of that type? Numbers and
// logicals pass for each other, and so do both kinds of text.
bool types_agree(char value, char place);

// Marks a class as a descendant of dataserver, without which no area takes its objects.
void register_server_class(const ClassDescriptor& descriptor);
bool is_server_class(const ClassDescriptor* descriptor);

// Calls a member of a driver object through its slot.
inline Var* call_member(Var* server, std::string_view name, std::int32_t slot) {
  Var* argv[] = {server};
  return csdometh(name, slot, 0, 1, argv);
}

// --- Registry.
// The default driver's name, upper case.
const std::string& default_driver();
// The factory of a driver by its name in any case, null (after error 320) when there is none.
Function driver_factory(std::string_view driver);
// A driver object without a file, to answer questions about a driver; null when it can't be made.
Var* oggdefob(std::string_view driver);

#define REGISTRY_BUILTINS(X)                                                              \
  X("annnewrdd", annnewrdd, "annnewrdd(cName): adds a name to the list of table drivers", \
    "{annnewrdd('mine'), atail(rddlist())}[2] ==> MINE")                                  \
  X("dbsetdrive", rddsetdefa, "dbsetdriver([cName]) -> cOld: the default table driver",   \
    "dbsetdriver() ==> DBFIDX")                                                           \
  X("rddlist", rddlist, "rddlist() -> aNames: names of the table drivers",                \
    "rddlist()[1] ==> DBFIDX")                                                            \
  X("rddsetdefa", rddsetdefa, "rddsetdefault([cName]) -> cOld: the default table driver", \
    "rddsetdefault() ==> DBFIDX")

REGISTRY_BUILTINS(DECLARE_BUILTIN)
Var* rddinit(std::int32_t argc, Var** argv);  // INIT procedure: registers the driver of .dbf tables
inline constexpr FunctionEntry kRegistryBuiltins[] = {REGISTRY_BUILTINS(BUILTIN_ROW)};
inline constexpr FunctionEntry kRegistryInit[] = {{"rddinit", rddinit, nullptr}};
inline constexpr ModuleRecord kRegistryModule{
    .name = "rddsys", .subject = "Tables", .functions = kRegistryBuiltins, .init = kRegistryInit};

}  // namespace tarnel
