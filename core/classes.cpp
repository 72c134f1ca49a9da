#include "core/classes.h"

#include <algorithm>

#include "core/arrays.h"
#include "core/blocks.h"
#include "core/errors.h"
#include "core/frame.h"
#include "core/memory.h"

namespace tarnel {
namespace {

constexpr std::int32_t kFirstInstance = 2;  // element, from 0, of an object's first variable

bool is_object(const Var* v) {
  return v != nullptr && v->type == 'O';
}

Var* object_required() {
  return RT_ERROR(317, "object required");
}

std::int32_t current_scope() {
  return current_frame()->method_scope;
}

// Looks a method up and gives its function, or none.
Function find_method(Var* object, std::string_view name, char kind, std::int32_t scope) {
  const ClassDescriptor* descriptor = class_of(object);
  if (descriptor == nullptr) return {};
  return method_in_slot(object, FIND_METHOD(name, *descriptor, kind, scope));
}

Var* class_failure(int code, const Var* object, const char* what, std::string_view name) {
  const ClassDescriptor* descriptor = class_of(object);
  const std::string shown(name);
  if (descriptor == nullptr || descriptor->name().empty())
    return RT_ERROR(
        code, format_text("Class for %s '%s' has not been instantiated yet", what, shown.c_str()));
  return RT_ERROR(code, format_text("Class '%s' has no %s '%s'", descriptor->name().c_str(), what,
                                    shown.c_str()));
}

// The cell of an instance: an ordinary element, or what a property leads to. Null: not reachable.
Var* access_element(Var* object, Var* e, std::int32_t super_depth, Var* value) {
  if (e->type != '?') return value != nullptr ? CPY_VAR(e, value) : e;
  const Property& property = *static_cast<const Property*>(e->raw);
  const std::int32_t slot = value != nullptr ? property.assign : property.access;
  if (super_depth == 0 && slot >= 0) {
    const Function method = method_in_slot(object, slot);
    Var* argv[] = {object, value};
    if (method != nullptr) return CALL_VECTOR(method, value != nullptr ? 2 : 1, argv);
    RT_ERROR(343, value != nullptr ? "Assign method not linked in" : "Access method not linked in");
    return nullptr;
  }
  if (current_scope() < -1) return nullptr;
  if (property.stored < 0 || property.stored >= element_count(object)) return nullptr;
  Var* cell = object->shared->elements[property.stored];
  return value != nullptr ? CPY_VAR(cell, value) : cell;
}

bool name_less(const ClassEntry& a, const ClassEntry& b) {
  return a.name != b.name ? a.name < b.name : a.level < b.level;
}

}  // namespace

ClassDescriptor::ClassDescriptor(const char* name, std::span<const InstanceEntry> instances,
                                 std::span<const MethodEntry> methods,
                                 std::span<const PropertyEntry> properties,
                                 std::span<const std::int16_t> order)
    : name_(name),
      declared_(instances),
      declared_methods_(methods),
      declared_properties_(properties) {
  instances_.reserve(instances.size());
  methods_.reserve(methods.size());
  functions_.reserve(methods.size());
  for (const InstanceEntry& instance : instances)
    instances_.push_back({std::string_view(instance.name).substr(0, kNameSize),
                          static_cast<std::int32_t>(instances_.size()) + kFirstInstance, 0,
                          kExported});
  for (std::int32_t slot = 0; const MethodEntry& method : methods) {
    functions_.push_back(method.function.native());
    if (order.empty()) methods_.push_back({method.name, slot++, method.level, method.kind});
  }
  for (const std::int16_t slot : order) {
    const MethodEntry& method = methods[static_cast<std::size_t>(slot)];
    methods_.push_back({method.name, slot, method.level, method.kind});
  }
  property_of_.assign(instances.size(), -1);
  auto next = instances_.begin();  // most come in the order of the instances
  for (const PropertyEntry& entry : properties) {
    const auto is_its = [name = std::string_view(entry.instance).substr(0, kNameSize)](
                            const ClassEntry& e) { return e.name == name; };
    auto at = std::find_if(next, instances_.end(), is_its);
    if (at == instances_.end()) {
      at = std::find_if(instances_.begin(), next, is_its);
      if (at == next) continue;
    }
    next = at + 1;
    property_of_[static_cast<std::size_t>(at - instances_.begin())] =
        static_cast<std::int32_t>(property_table_.size());
    property_table_.push_back(entry.property);
  }

  method_array_ = NEW_VAR('N', 'U');
  cscreara(method_array_, method_count(), kAllNil);
  SharedHeader* no_locals = new_shared();  // all method blocks share it
  for (std::int32_t slot = 0; slot < method_count(); ++slot)
    if (const Function method = methods[static_cast<std::size_t>(slot)].function; method)
      make_method_block(method_array_->shared->elements[slot], method, no_locals);
  release_shared(no_locals);
  std::sort(instances_.begin(), instances_.end(), name_less);
  if (order.empty()) std::stable_sort(methods_.begin(), methods_.end(), name_less);
  assert(std::is_sorted(methods_.begin(), methods_.end(), name_less));
}

Var* ClassDescriptor::make() const {
  const auto count = static_cast<std::int32_t>(declared_.size());
  Var* object = NEW_OBJECT(count, this, method_array_);
  for (std::int32_t i = 0; i < count; ++i) {
    const auto at = static_cast<std::size_t>(i);
    Var* cell = DEFAULT_IVAR(object, i + kFirstInstance + 1, declared_[at].type, nullptr);
    if (property_of_[at] < 0) continue;
    if (upper_class(cell->sclass) == 'S') cell->sclass = cell->sclass == 'S' ? 'N' : 'n';
    SET_PTR(cell,
            const_cast<Property*>(&property_table_[static_cast<std::size_t>(property_of_[at])]));
  }
  return object;
}

const ClassDescriptor* class_of(const Var* object) {
  if (!is_object(object) || element_count(object) < kFirstInstance) return nullptr;
  const Var* cell = element(object, 1);
  return cell->type == '?' ? static_cast<const ClassDescriptor*>(cell->raw) : nullptr;
}

const ClassDescriptor& empty_class() {
  static const ClassDescriptor descriptor("", {}, {});
  return descriptor;
}

std::int32_t FIND_INSTANCE(std::string_view name, const ClassDescriptor& descriptor) {
  name = name.substr(0, kNameSize);
  const auto& entries = descriptor.instances();
  const auto at =
      std::lower_bound(entries.begin(), entries.end(), name,
                       [](const ClassEntry& e, std::string_view n) { return e.name < n; });
  return at != entries.end() && at->name == name ? at->index : -1;
}

std::int32_t FIND_METHOD(std::string_view name, const ClassDescriptor& descriptor, char kind,
                         std::int32_t& scope) {
  name = name.substr(0, kMethodNameSize);
  const auto& entries = descriptor.methods();
  auto at = std::upper_bound(entries.begin(), entries.end(), name,
                             [](std::string_view n, const ClassEntry& e) { return n < e.name; });
  // Down through the entries of that name: the nearest class within the scope wins.
  while (at != entries.begin()) {
    --at;
    if (at->name != name) break;
    if (at->kind != kind || (scope >= -1 && at->level > scope)) continue;
    scope = at->level;
    return at->index;
  }
  scope = -2;
  return -1;
}

Var* csnodome(std::string_view name, std::int32_t super_depth, std::int32_t argc, Var** argv) {
  if (argc < 1 || !is_object(argv[0])) return object_required();
  const Function method = find_method(argv[0], name, kMethod, current_scope() - super_depth);
  return method != nullptr ? CALL_VECTOR(method, argc, argv)
                           : csnometh(name, argc, argv, super_depth);
}

Var* csnometh(std::string_view name, std::int32_t argc, Var** argv, std::int32_t super_depth) {
  const Function method = find_method(argv[0], "nomethod", kMethod, current_scope() - super_depth);
  if (method == nullptr) return class_failure(343, argv[0], "method", name);
  std::vector<Var*> passed = {argv[0], TMP_TEXT(name)};
  passed.insert(passed.end(), argv + 1, argv + argc);
  return CALL_VECTOR(method, argc + 1, passed.data());
}

Var* csnomcme(std::string_view macro, std::int32_t super_depth, std::int32_t argc, Var** argv) {
  std::string name(macro);
  if (macro_hooks().expand != nullptr && !macro_hooks().expand(macro, name, 0))
    return error_value();
  return csnodome(name, super_depth, argc, argv);
}

Var* csdoinit(Var* object, std::int32_t argc, Var** argv) {
  if (!is_object(object)) {
    object_required();
    return object;
  }
  const Function method = find_method(object, "init", kMethod, current_scope());
  if (method == nullptr) return object;
  std::vector<Var*> passed = {object};
  passed.insert(passed.end(), argv, argv + argc);
  return CALL_VECTOR(method, argc + 1, passed.data());
}

Var* csdoinst(Var* object, std::string_view name, std::int32_t slot, std::int32_t super_depth,
              Var* value) {
  if (!is_object(object)) return object_required();
  if (slot >= 0 && slot < element_count(object))
    if (Var* cell = access_element(object, object->shared->elements[slot], super_depth, value);
        cell != nullptr)
      return cell;
  return csnoivar(object, name, 0, value);
}

Var* csnoivar(Var* object, std::string_view name, std::int32_t super_depth, Var* value) {
  if (!is_object(object)) return object_required();
  Var* argv[] = {object, value};
  if (super_depth != 0) {
    const char kind = value != nullptr ? kAssign : kAccess;
    if (const Function method = find_method(object, name, kind, current_scope() - 1);
        method != nullptr)
      return CALL_VECTOR(method, value != nullptr ? 2 : 1, argv);
  } else if (const ClassDescriptor* descriptor = class_of(object); descriptor != nullptr) {
    const std::int32_t index = FIND_INSTANCE(name, *descriptor);
    if (index >= 0 && index < element_count(object))
      if (Var* cell = access_element(object, object->shared->elements[index], 0, value);
          cell != nullptr)
        return cell;
  }
  const char* fallback = value != nullptr ? "noivarput" : "noivarget";
  if (const Function method = find_method(object, fallback, kMethod, -2); method != nullptr) {
    Var* passed[] = {object, TMP_TEXT(name), value};
    return CALL_VECTOR(method, value != nullptr ? 3 : 2, passed);
  }
  return class_failure(344, object, "instance", name);
}

}  // namespace tarnel
