#include "db/area.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "core/blocks.h"
#include "core/errors.h"
#include "core/memvars.h"
#include "core/modules.h"
#include "core/runtime.h"
#include "core/symbols.h"
#include "core/text.h"
#include "db/dataserver.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

constexpr std::size_t kAliasTextLimit = 63;  // characters of a text that may name an area
constexpr std::size_t kSelectTextLimit = 64;
constexpr char kFirstLetter = 'A', kLastLetter = 'L', kCurrentLetter = 'M';

struct AreaState {
  WorkArea* current = nullptr;
  WorkArea* list = nullptr;
  bool neterr = false;
  std::string_view wanted;  // see WantedAlias
} state;

std::string_view significant(std::string_view alias) {
  return alias.substr(0, kAliasSize);
}

Var* skip_nothing(Var* server) {
  Var* argv[] = {server, int_zero()};
  return csdometh("skip", server_slot("skip"), 0, 2, argv);
}

bool is_shared(Var* server) {
  return truth_of(get_ivar(server, "shared"));
}

// --- The slots of the aliases that compiled code names.

std::int32_t slot_of(const WorkArea* area) {
  for (std::int32_t i = 0; i < alias_count(); ++i)
    if (alias_area(i) == area) return i;
  return -1;
}

void clear_slot(WorkArea* area) {
  const std::int32_t slot = slot_of(area);
  if (slot >= 0)
    set_alias_area(slot, nullptr);
  else
    RT_ERROR(342, "could not find registered alias");
  area->registered = false;
}

void fill_slot(WorkArea* area) {
  const std::int32_t slot = area->alias[0] != 0 ? FIND_ALIAS(area->alias) : -1;
  if (slot < 0) return;
  set_alias_area(slot, area);
  area->registered = true;
}

void set_alias(WorkArea* area, std::string_view alias) {
  alias = significant(alias);
  std::fill(std::begin(area->alias), std::end(area->alias), '\0');
  std::copy(alias.begin(), alias.end(), area->alias);
  area->named = true;
  note_names_changed();
}

// --- Records of areas.

void free_if_unused(WorkArea* area) {
  if (area->refs == 0 && area != state.current && area->server() == nullptr) delete area;
}

void make_current(WorkArea* area) {
  WorkArea* former = state.current;
  state.current = area;
  if (former != nullptr && former != area && former->server() == nullptr) free_if_unused(former);
}

void enter_list(WorkArea* area) {
  WorkArea** link = &state.list;
  while (*link != nullptr && (*link)->number < area->number) link = &(*link)->next;
  area->next = *link;
  *link = area;
}

// A hidden or plain method of the object's class, for field access without dispatch.
Callable quick_method(const Var* object, std::string_view name) {
  const ClassDescriptor* descriptor = class_of(object);
  std::int32_t scope = -2;
  for (const char kind : {kMethod, kHidden}) {
    const std::int32_t slot = FIND_METHOD(name, *descriptor, kind, scope);
    if (slot >= 0) return descriptor->slot_function(slot);
  }
  return nullptr;
}

void attach(WorkArea* area, Var* object, std::string_view alias) {
  set_alias(area, alias);
  // A cell of its own: the caller's may be a variable that is given another value.
  area->owner.object = NEW_VAR('N', 'U');
  CPY_VAR(area->owner.object, object);
  ++area->refs;
  area->methods = class_of(object)->functions().data();
  area->owner.get = quick_method(object, "quickfieldget");
  area->owner.put = quick_method(object, "quickfieldput");
  enter_list(area);
}

std::int32_t lowest_free_number() {
  std::int32_t last = 0;
  for (const WorkArea* area = state.list; area != nullptr; area = area->next) {
    if (area->number - last > 1) break;
    last = area->number;
  }
  return last + 1;
}

WorkArea* create_area(std::int32_t number) {
  WorkArea* area = state.current;
  if (area == nullptr || area->server() != nullptr || area->named) area = ogcrarea();
  area->number = static_cast<std::uint16_t>(number);
  make_current(area);
  return area;
}

// --- Making an alias unique.

// "_" and the counter in hexadecimal behind the base, which gives way to stay within ten
// characters.
std::string with_suffix(std::string_view base, unsigned counter) {
  const std::string suffix = format_text("_%x", counter);
  return std::string(base.substr(0, kMadeAliasSize - suffix.size())) + suffix;
}

std::string unique_alias(const Var* object, std::string_view base, bool& changed) {
  std::string alias(base);
  for (unsigned counter = 1;; ++counter) {
    const WorkArea* other = area_by_alias(alias);
    if (alias.empty() || other == nullptr || other->server()->shared == object->shared)
      return alias;
    changed = true;
    alias = with_suffix(base, counter);
  }
}

std::string base_alias(std::string_view file) {
  file = base_name(file);
  return upper_text(file.substr(0, file.rfind('.'))).substr(0, kMadeAliasSize);
}

bool check_server(const Var* object) {
  if (object->type != 'O') {
    RT_ERROR(317, "object required");
    return false;
  }
  if (is_server_class(class_of(object))) return true;
  RT_ERROR(338, "Class must inherit from DataServer for hybrid operation");
  return false;
}

int take_alias(Var* object, std::string_view wanted, std::string* given) {
  if (!check_server(object)) return -1;
  bool changed = false;
  const std::string alias = unique_alias(object, wanted, changed);
  if (is_illegal_alias(alias)) {
    RT_ERROR(342, alias);
    return -1;
  }
  WorkArea* area = area_by_server(object);
  if (area != nullptr) {
    if (area->registered) clear_slot(area);
    set_alias(area, alias);
  } else {
    if (state.current == nullptr) create_area(1);
    area = state.current;
    attach(area, object, alias);
  }
  fill_slot(area);
  if (given != nullptr) *given = alias;
  return changed ? 1 : 0;
}

// --- Selection.

WorkArea* cannot_select(std::string_view what) {
  RT_ERROR(320, "Cannot select working area " + std::string(what));
  return nullptr;
}

// The number that a text means when it is no alias; -1 when it means none.
std::int32_t number_in_text(std::string_view text) {
  text = trim_left(text);
  std::int32_t number = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (code == std::errc::result_out_of_range) return kMaxArea + 1;
  if (code == std::errc()) return number;
  const std::string_view letter = trim_right(text);
  if (letter.size() != 1) return -1;
  const char c = upper_letter(letter[0]);
  return c >= kFirstLetter && c <= kLastLetter ? c - kFirstLetter + 1 : -1;
}

void look_at_shared(WorkArea* area, const WorkArea* former) {
  if (area != former && area->server() != nullptr && is_shared(area->server()))
    skip_nothing(area->server());
}

WorkArea* select_found(WorkArea* area, SelectMode mode) {
  if (mode == SelectMode::kLookUp || mode == SelectMode::kRequire) return area;
  const WorkArea* former = state.current;
  make_current(area);
  look_at_shared(area, former);
  return area;
}

WorkArea* select_number(std::int32_t number, SelectMode mode) {
  if (number < 0 || number > kMaxArea) return cannot_select(std::to_string(number));
  if (number == 0) {
    if (mode != SelectMode::kNewIfUnknown && mode != SelectMode::kNewNumber) return nullptr;
    number = lowest_free_number();
    return number > kMaxArea ? cannot_select(std::to_string(number)) : create_area(number);
  }
  if (WorkArea* area = area_by_number(number); area != nullptr) return select_found(area, mode);
  if (state.current != nullptr && state.current->number == number) return state.current;
  if (mode == SelectMode::kRequire) return cannot_select(std::to_string(number));
  return mode == SelectMode::kExisting || mode == SelectMode::kLookUp ? nullptr
                                                                      : create_area(number);
}

WorkArea* select_text(std::string_view source, SelectMode mode) {
  std::string text(source);
  if (macro_hooks().expand != nullptr && text.find('&') != std::string::npos)
    macro_hooks().expand(source, text, 0);
  text.resize(std::min(text.size(), kSelectTextLimit - 1));
  if (WorkArea* area = resolve_alias(trim_blanks(text)); area != nullptr)
    return select_found(area, mode);
  const std::int32_t number = number_in_text(text);
  if (number >= 0) return select_number(number, mode);
  return mode == SelectMode::kNewNumber || mode == SelectMode::kRequire ? cannot_select(text)
                                                                        : select_number(0, mode);
}

// --- What the core sees.

void* hook_current() {
  return state.current;
}
void* hook_by_name(std::string_view alias) {
  return resolve_alias(alias);
}
void* hook_by_number(std::int32_t number) {
  return area_by_number(number);
}
FieldOwner* hook_owner(void* area) {
  auto* a = static_cast<WorkArea*>(area);
  return a->server() != nullptr ? &a->owner : nullptr;
}
void* hook_push(void* area) {
  bool pushed = false;
  WorkArea* former = ogpushar(static_cast<WorkArea*>(area), &pushed);
  return pushed ? former : nullptr;
}
// A push that failed has nothing to restore.
void hook_pop(void* saved) {
  if (saved != nullptr) ogpopar(static_cast<WorkArea*>(saved));
}
std::int32_t hook_current_number() {
  return state.current != nullptr ? state.current->number : 0;
}
// Looks at no record, as a selection by a program does: nothing that this might run is wanted here.
void hook_choose_number(std::int32_t number) {
  if (number == 0 && state.current == nullptr) return;
  if (number == 0) number = lowest_free_number();
  if (WorkArea* area = area_by_number(number); area != nullptr)
    make_current(area);
  else if (hook_current_number() != number)
    create_area(number);
}
FieldOwner* hook_current_owner() {
  return state.current != nullptr && state.current->server() != nullptr ? &state.current->owner
                                                                        : nullptr;
}

}  // namespace

WorkArea* current_area() {
  return state.current;
}
WorkArea* area_list() {
  return state.list;
}
Var* current_server() {
  return state.current != nullptr ? state.current->server() : nullptr;
}

WorkArea* area_by_number(std::int32_t number) {
  for (WorkArea* area = state.list; area != nullptr && area->number <= number; area = area->next)
    if (area->number == number) return area;
  return nullptr;
}

WorkArea* area_by_alias(std::string_view alias) {
  const std::string wanted = upper_text(significant(alias));
  for (WorkArea* area = state.list; area != nullptr; area = area->next)
    if (wanted == area->alias) return area;
  return nullptr;
}

WorkArea* area_by_server(const Var* object) {
  for (WorkArea* area = state.list; area != nullptr; area = area->next)
    if (area->server()->shared == object->shared) return area;
  return nullptr;
}

WorkArea* resolve_alias(std::string_view text) {
  if (text.empty()) return state.current;
  const std::string name =
      upper_text(trim_blanks(text.substr(0, kAliasTextLimit).substr(0, kMadeAliasSize)));
  if (name.empty()) return state.current;
  if (WorkArea* area = area_by_alias(name); area != nullptr) return area;
  if (name == std::string_view(&kCurrentLetter, 1)) return state.current;
  const std::int32_t number = number_in_text(name);
  return number > 0 ? area_by_number(number) : nullptr;
}

WorkArea* ogsSelect(Var* value, SelectMode mode) {
  if (Var* server = current_server(); server != nullptr) skip_nothing(server);
  if (value->type == 'C') return select_text(text_of(value), mode);
  return is_number(value) ? select_number(integer_of(value), mode) : nullptr;
}

WorkArea* select_free_area() {
  return select_number(0, SelectMode::kNewNumber);
}

WorkArea* ogcrarea() {
  return new WorkArea;
}

void ogdelare(WorkArea* area) {
  if (area->registered) clear_slot(area);
  std::fill(std::begin(area->alias), std::end(area->alias), '\0');
  area->named = false;
  note_names_changed();
  area->next = nullptr;
  area->owner.get = area->owner.put = nullptr;
  area->methods = nullptr;
  Var* server = std::exchange(area->owner.object, nullptr);
  if (server != nullptr) --area->refs;
  free_if_unused(area);
  // Last, since the end of the driver object may run code of its own.
  UNHOLD_VAR(&server);
}

WorkArea* ogpushar(WorkArea* area, bool* pushed) {
  const bool usable = area != nullptr && area->server() != nullptr;
  if (pushed != nullptr) *pushed = usable;
  if (!usable) {
    RT_ERROR(342, area != nullptr && area->alias[0] != 0 ? area->alias : "no such area");
    return nullptr;
  }
  WorkArea* former = state.current;
  if (former != nullptr) ++former->refs;
  state.current = area;
  return former;
}

void ogpopar(WorkArea* saved) {
  WorkArea* left = state.current;
  if (saved != nullptr && saved->refs > 0) --saved->refs;
  state.current = saved;
  if (left != nullptr && left != saved) free_if_unused(left);
}

WantedAlias::WantedAlias(std::string_view alias) : former_(std::exchange(state.wanted, alias)) {}
WantedAlias::~WantedAlias() {
  state.wanted = former_;
}

int ogannali(Var* object, std::string_view file, std::string* alias) {
  const std::string base = base_alias(file);
  if (!is_illegal_alias(base) || state.wanted.empty()) return take_alias(object, base, alias);
  return rename_alias(object, state.wanted, alias);
}

int rename_alias(Var* object, std::string_view alias, std::string* given) {
  const std::string wanted = upper_text(trim_blanks(alias)).substr(0, kMadeAliasSize);
  return take_alias(object, wanted, given);
}

bool remove_server(const Var* object) {
  for (WorkArea** link = &state.list; *link != nullptr; link = &(*link)->next) {
    if ((*link)->server()->shared != object->shared) continue;
    WorkArea* area = *link;
    *link = area->next;
    ogdelare(area);
    return true;
  }
  return false;
}

bool is_illegal_alias(std::string_view alias) {
  if (alias == "MEMVAR" || alias == "FIELD" || alias == "_FIELD") return true;
  if (alias.size() == 1 && alias[0] < 'N') return true;
  return std::any_of(alias.begin(), alias.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 33; });
}

void close_all_areas() {
  while (state.list != nullptr) {
    Var* server = state.list->server();
    WorkArea* first = state.list;
    ++server->refs;
    call_member(server, "close", server_slot("close"));
    DEL_VAR(server);
    if (state.list == first) remove_server(first->server());
  }
}

bool bbneterr() {
  return state.neterr;
}
bool bbneterr(bool set) {
  return std::exchange(state.neterr, set);
}

void init_areas() {
  set_area_hooks({hook_current, hook_by_name, hook_by_number, hook_owner, hook_push, hook_pop,
                  hook_current_number, hook_choose_number});
  set_current_owner_hook(hook_current_owner);
  runtime_hooks().close_areas = close_all_areas;
}

}  // namespace tarnel
