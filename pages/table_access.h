// The tables of the pages: their aliases and fields, linked to slots at start, and the short ways
// to open, index and read them.
#pragma once

#include "core/memvars.h"
#include "core/modules.h"
#include "core/symbols.h"
#include "core/var.h"

namespace tarnel {

#define PAGE_ALIASES(X) X(user) X(urls) X(stop) X(route) X(rtstop) X(trx) X(stoptime)
#define PAGE_FIELDS(X)                                                                             \
  X(userid)                                                                                        \
  X(firstname) X(middlename) X(lastname) X(balance) X(url) X(desc) X(stopid) X(stopname) X(xcoord) \
      X(ycoord) X(routeid) X(routename) X(route1) X(route2) X(tripid) X(seq)
// Memory variables of the planner's page; its procedures leave them undeclared.
#define PAGE_VARIABLES(X) \
  X(x1) X(y1) X(x2) X(y2) X(time1) X(stop1) X(stop2) X(lines1) X(lines2) X(i) X(j) X(tnlookup)

#define DECLARE_SLOT(name) inline constinit std::int32_t name = -1;
namespace page_alias {
PAGE_ALIASES(DECLARE_SLOT)
}
namespace page_field {
PAGE_FIELDS(DECLARE_SLOT)
}
namespace page_variable {
PAGE_VARIABLES(DECLARE_SLOT)
}
#undef DECLARE_SLOT

#define ALIAS_ROW(name) {#name, &page_alias::name},
#define FIELD_ROW(name) {#name, &page_field::name},
#define VARIABLE_ROW(name) {#name, &page_variable::name},
inline constexpr NameSlot kPageAliases[] = {PAGE_ALIASES(ALIAS_ROW)};
inline constexpr NameSlot kPageNames[] = {PAGE_FIELDS(FIELD_ROW) PAGE_VARIABLES(VARIABLE_ROW)};
#undef ALIAS_ROW
#undef FIELD_ROW
#undef VARIABLE_ROW
inline constexpr ModuleRecord kPageTablesModule{
    .name = "tables", .names = kPageNames, .aliases = kPageAliases};

enum class Area : bool { kSame, kNew };

// dbusearea in the current or a new area, without driver and alias; `shared` may be NIL, then SET
// EXCLUSIVE decides.
void open_table(Area area, const char* file, Var* shared, bool read_only = false);
void create_order(const char* file, const char* key, BlockFunction key_block);
void set_order(const char* file);

// alias->field, its assignment, and a field of the current area.
inline Var* field(std::int32_t alias, std::int32_t name) {
  return GET_ALIAS_FIELD(alias, name);
}
inline void put_field(std::int32_t alias, std::int32_t name, Var* value) {
  CPY_VAR(GET_ALIAS_FIELD(alias, name), value);
}

// Runs with another area current: alias->( ... ).
class AliasScope {
 public:
  explicit AliasScope(std::int32_t alias) : saved_(PUSH_ALIAS(alias)) {}
  ~AliasScope() { area_hooks().pop(saved_); }
  AliasScope(const AliasScope&) = delete;
  AliasScope& operator=(const AliasScope&) = delete;

 private:
  void* saved_;
};

bool at_end();       // eof() of the current area
void skip_record();  // dbskip(1)

}  // namespace tarnel
