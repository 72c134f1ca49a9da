// Work areas: the numbered places in which tables are open, their aliases, and which one is
// current. An area binds a number and an alias to a driver object; everything else is the driver's.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/var.h"

namespace tarnel {

constexpr int kAliasSize = 11;      // significant characters of an alias when aliases are compared
constexpr int kMadeAliasSize = 10;  // longest alias that the engine itself gives
constexpr std::int32_t kMaxArea = 65535;

struct WorkArea {
  bool registered = false;   // the area occupies the slot of an alias that compiled code names
  std::uint32_t refs = 0;    // saved references to this area as the former one, plus one per server
  std::uint16_t number = 0;  // 1 to 65535, 0 in a fresh record
  bool named = false;        // an alias was given, be it the empty one
  char alias[kAliasSize + 1] = "";
  FieldOwner owner{};  // object: the server, held with a reference; get, put: its quick methods
  const Callable* methods = nullptr;  // of the server's class, by slot
  WorkArea* next = nullptr;           // in the list of areas with a server, by ascending number

  Var* server() const { return owner.object; }
};

WorkArea* current_area();
WorkArea* area_list();  // the areas that have a server, by ascending number
// The server of the current area, or null.
Var* current_server();

WorkArea* area_by_number(std::int32_t number);
WorkArea* area_by_alias(std::string_view alias);  // 11 characters, case-blind
WorkArea* area_by_server(const Var* object);      // compares the shared body

// The area a text means: an alias, else a letter A to L (areas 1 to 12) or M (the current one),
// else a number. The empty text is the current area. Null when there is no such area.
WorkArea* resolve_alias(std::string_view text);

// Selects or finds an area by alias or number; null when there is none.
enum class SelectMode : std::uint8_t {
  kNewIfUnknown,  // an unknown number is created; an unknown alias selects a new area
  kNewNumber,     // an unknown number is created, an unknown alias is error 320
  kExisting,      // only what exists is selected
  kLookUp,        // nothing is selected
  kRequire,       // nothing is selected, and what is unknown is error 320
};
WorkArea* ogsSelect(Var* value, SelectMode mode);
// Makes the lowest free area number current, creating its record.
WorkArea* select_free_area();

WorkArea* ogcrarea();
void ogdelare(WorkArea* area);
// Makes `area` current and returns the former one, whose refs go up. Error 342, and an unchanged
// selection, when the area has no server; `pushed` tells which.
WorkArea* ogpushar(WorkArea* area, bool* pushed = nullptr);
void ogpopar(WorkArea* saved);

// Makes an area current for the life of the guard: AreaScope in(area). Whatever is selected meanwhile,
// the former selection comes back, even where the area is the current one. Null changes nothing.
class AreaScope {
 public:
  explicit AreaScope(WorkArea* area) {
    if (area != nullptr) saved_ = ogpushar(area, &pushed_);
  }
  ~AreaScope() {
    if (pushed_) ogpopar(saved_);
  }
  AreaScope(const AreaScope&) = delete;
  AreaScope& operator=(const AreaScope&) = delete;

 private:
  bool pushed_ = false;
  WorkArea* saved_ = nullptr;
};

// For the life of the guard a table whose file's name makes no legal alias is opened under this one.
class WantedAlias {
 public:
  explicit WantedAlias(std::string_view alias);
  ~WantedAlias();
  WantedAlias(const WantedAlias&) = delete;
  WantedAlias& operator=(const WantedAlias&) = delete;

 private:
  std::string_view former_;
};

// Attaches a driver object, newly opened on `file`, to the current area under an alias made of the
// file's base name, or renames the area that holds it. `alias` receives the alias in force.
// 1: the alias had to be changed to be unique, 0: not, -1: errors 317, 338, 342.
int ogannali(Var* object, std::string_view file, std::string* alias);
// Gives the area of a server another alias, made unique; same results.
int rename_alias(Var* object, std::string_view alias, std::string* given);
// Takes the area of a server off the list. False when no area holds it.
bool remove_server(const Var* object);

// A single letter below N, MEMVAR, FIELD, _FIELD, and texts with control characters or blanks.
bool is_illegal_alias(std::string_view alias);

// Closes the table of every area.
void close_all_areas();

// The failure flag of the last open, append or lock; the setter returns the old value.
bool bbneterr();
bool bbneterr(bool set);

// Hands the areas to the language core.
void init_areas();

}  // namespace tarnel
