#include "core/symbols.h"

#include <fnmatch.h>

#include <algorithm>

#include "core/checks.h"
#include "core/classes.h"
#include "core/frame.h"
#include "core/memory.h"
#include "core/stacks.h"
#include "core/text.h"

namespace tarnel {
namespace {

constexpr std::size_t kSearchLength = 50;

struct SymbolState {
  Symbol* table = nullptr;
  std::int32_t capacity = 0;
  std::int32_t next_free = 1;  // index 0 is never used
  std::int32_t free_list = 0;  // forgotten indices, linked through next
  std::int32_t heads[256]{};   // chain heads, 0 empty
  std::uint64_t stamp = 1;
  FieldOwner* (*current_owner)() = nullptr;
} state;

// A name as the table stores it.
struct Key {
  char text[kNameSize + 1]{};
  std::size_t length = 0;
  bool empty() const { return length == 0; }
};

Key make_key(std::string_view name) {
  Key key;
  name = trim_blanks(name.substr(0, kSearchLength));
  key.length = std::min<std::size_t>(name.size(), kNameSize);
  std::transform(name.begin(), name.begin() + static_cast<std::ptrdiff_t>(key.length), key.text,
                 upper_letter);
  return key;
}

// Bits taken from each byte of a name, by its length; the first byte gives the lowest bits.
constexpr unsigned char kHashBits[9][8] = {{},
                                           {8},
                                           {4, 4},
                                           {2, 3, 3},
                                           {2, 2, 2, 2},
                                           {1, 1, 2, 2, 2},
                                           {1, 1, 1, 1, 2, 2},
                                           {1, 1, 1, 1, 1, 1, 2},
                                           {1, 1, 1, 1, 1, 1, 1, 1}};

unsigned hash_of(const Key& key) {
  const std::size_t n = std::min<std::size_t>(key.length, 8);
  unsigned value = 0, shift = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const unsigned bits = kHashBits[n][i];
    value |= (static_cast<unsigned char>(key.text[i]) & ((1U << bits) - 1)) << shift;
    shift += bits;
  }
  return value & 255U;
}

// Finds a key and moves it to the head of its chain; 0 when unknown.
std::int32_t find_key(const Key& key, bool unlink = false) {
  std::int32_t& head = state.heads[hash_of(key)];
  for (std::int32_t *link = &head, i = head; i != 0; link = &state.table[i].next, i = *link) {
    if (std::strcmp(state.table[i].name, key.text) != 0) continue;
    *link = state.table[i].next;
    if (!unlink) {
      state.table[i].next = head;
      head = i;
    }
    return i;
  }
  return 0;
}

std::int32_t take_index() {
  if (state.free_list != 0) {
    const std::int32_t i = state.free_list;
    state.free_list = state.table[i].next;
    return i;
  }
  if (state.next_free >= state.capacity) {
    const std::int32_t capacity = state.capacity + kSymbolStep;
    state.table = static_cast<Symbol*>(MEM_REALLOC(
        state.table, static_cast<std::size_t>(capacity) * sizeof(Symbol), MemPurpose::kSymbols));
    state.capacity = capacity;
  }
  return state.next_free++;
}

bool is_protected(const Symbol& symbol) {
  return std::strcmp(symbol.name, "ORVELANE") == 0 || std::strcmp(symbol.name, "GETLIST") == 0;
}

Var* undefined_cell(std::int32_t sym) {
  Var* v = NEW_VAR('U', 'U');
  v->name = sym;
  return v;
}

// CLEAR MEMORY for the bindings that the variable stack hides. The two protected names are tested
// against the position of an entry, not against its Symbol.
void clear_shadowed() {
  const std::int32_t orvelane = FIND_SYMBOL("orvelane"), getlist = FIND_SYMBOL("getlist");
  for (std::int32_t i = varstack_top(); i >= 0; --i) {
    VarStackEntry& entry = varstack_entry(i);
    Var* shadowed = entry.shadowed;
    if (i == orvelane || i == getlist || shadowed->sclass == 'C' || is_undefined(shadowed))
      continue;
    Var* fresh = undefined_cell(entry.sym);
    fresh->refs = 2;
    fresh->level = entry.old_level;
    entry.shadowed = fresh;
    DEL_VAR(shadowed);  // last: a destructor may move the stack
    DEL_VAR(shadowed);
  }
}

}  // namespace

void init_symbols() {
  if (state.table != nullptr) return;
  state.capacity = kSymbolStep;
  state.table = static_cast<Symbol*>(MEM_ALLOC(kSymbolStep * sizeof(Symbol), MemPurpose::kSymbols));
}

std::int32_t symbol_count() {
  return state.next_free;
}
Symbol& symbol_at(std::int32_t sym) {
  return state.table[sym];
}

std::int32_t FIND_SYMBOL(std::string_view name) {
  const Key key = make_key(name);
  if (key.empty()) return -1;
  const std::int32_t i = find_key(key);
  return i != 0 ? i : -1;
}

std::int32_t ADD_SYMBOL(std::string_view name) {
  const Key key = make_key(name);
  if (key.empty()) return -1;
  if (const std::int32_t found = find_key(key); found != 0) return found;
  const std::int32_t i = take_index();
  Symbol& symbol = state.table[i];
  std::memcpy(symbol.name, key.text, sizeof symbol.name);
  std::int32_t& head = state.heads[hash_of(key)];
  symbol.next = head;
  head = i;
  symbol.fields = nullptr;
  symbol.var = NEW_VAR('N', 'U');
  symbol.var->name = i;
  return i;
}

void FORGET_NAME(std::string_view name) {
  const Key key = make_key(name);
  const std::int32_t i = key.empty() ? 0 : find_key(key, true);
  if (i == 0) return;
  Symbol& symbol = state.table[i];
  Var* bound = symbol.var;
  note_names_changed();
  symbol.name[0] = 0;
  symbol.var = nil_value();
  symbol.next = state.free_list;
  state.free_list = i;
  DEL_VAR(bound);
}

Var* GET_MEMVAR(std::string_view name) {
  const std::int32_t sym = ADD_SYMBOL(name);
  return sym < 0 ? nil_value() : symbol_var(sym);
}

std::uint64_t names_stamp() {
  return state.stamp;
}
void note_names_changed() {
  ++state.stamp;
}

FieldOwner* current_field_owner() {
  return state.current_owner != nullptr ? state.current_owner() : nullptr;
}

Var* find_current_field(std::int32_t sym) {
  const Symbol& symbol = symbol_at(sym);
  if (symbol.fields == nullptr) return nullptr;
  const FieldOwner* owner = current_field_owner();
  for (std::uint32_t i = symbol.fields->count; i > 0 && owner != nullptr; --i)
    if (symbol.fields->elements[i - 1]->owner == owner) return symbol.fields->elements[i - 1];
  return nullptr;
}

Var* RESOLVE_NAME(std::int32_t sym) {
  Var* field = find_current_field(sym);
  return field != nullptr ? FIELD_GET(field) : symbol_var(sym);
}

Var* FIELD_GET(Var* cell) {
  if (cell->sclass == 'F') return cell;
  const FieldOwner* owner = cell->owner;
  if (owner->get == nullptr) return send(owner->object, "fieldget", TMP_INT(cell->name + 1));
  Var* argv[] = {owner->object, cell};
  return owner->get(2, argv);
}

Var* FIELD_PUT(Var* cell, Var* value) {
  const FieldOwner* owner = cell->owner;
  if (owner->put == nullptr) return send(owner->object, "fieldput", TMP_INT(cell->name + 1), value);
  Var* argv[] = {owner->object, cell, value};
  return owner->put(3, argv);
}

void set_current_owner_hook(FieldOwner* (*current_owner)()) {
  state.current_owner = current_owner;
}

void RELEASE_NAME(std::string_view name, bool any) {
  const std::int32_t i = FIND_SYMBOL(name);
  if (i < 0 || is_protected(state.table[i])) return;
  Var* v = symbol_var(i);
  if (v->sclass == 'C' || is_undefined(v)) return;
  if (v->level != activation_level() && !any) return;
  const CellHold kept(v);
  v = CPY_VAR(v, nil_value());
  if (!is_error(v)) v->sclass = 'U';
}

NameChoice::NameChoice(std::string_view pattern, bool like)
    : pattern_(upper_text(pattern)), like_(like) {}

bool NameChoice::takes(const char* name) const {
  return (fnmatch(pattern_.c_str(), name, FNM_NOESCAPE) == 0) == like_;
}

void RELEASE_CHOSEN(const NameChoice& choice) {
  for (std::int32_t i = 1; i < state.next_free; ++i)
    if (state.table[i].name[0] != 0 && choice.takes(state.table[i].name))
      RELEASE_NAME(state.table[i].name, false);
}

void RELEASE_ALL(bool all) {
  for (std::int32_t i = 1; i < state.next_free; ++i) {
    Symbol& symbol = state.table[i];
    if (symbol.name[0] == 0 || symbol.var->sclass == 'C' || is_protected(symbol) ||
        is_undefined(symbol.var))
      continue;
    if (!all) {
      if (symbol.var->level == activation_level() && letter_in(symbol.var->sclass, "SPMVNLspmvnl"))
        CPY_VAR(symbol.var, nil_value());
      continue;
    }
    Var* bound = symbol.var;
    symbol.var = undefined_cell(i);
    DEL_VAR(bound);
  }
  if (all) clear_shadowed();
}

}  // namespace tarnel
