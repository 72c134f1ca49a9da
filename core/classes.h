// Objects and classes. An object is a shared vector: element 1 the class, 2 the method array, 3
// upward the instance variables. A class is declared as tables of names and functions:
//
//   constexpr InstanceEntry kInstances[] = {{"adata", 'A'}, {"state", 'N'}};
//   constexpr MethodEntry kMethods[] = {{"init", init}, {"noivarget", noivarget}};
//   const ClassDescriptor& tnstate_class() { static ClassDescriptor c("tnstate", kInstances,
//   kMethods); return c; }
#pragma once

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdint>
#include <numeric>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/arrays.h"
#include "core/blocks.h"
#include "core/frame.h"
#include "core/var.h"

namespace tarnel {

constexpr int kMethodNameSize = 250;  // significant characters when methods are compared

// Kinds of entries.
enum EntryKind : char {
  kAccess = 'A',
  kAssign = '=',
  kMethod = 'M',
  kHidden = 'P',
  kExported = 'E'
};

struct InstanceEntry {
  const char* name;  // lower case, ten characters significant
  char type = 'U';   // fixed type that a new object's variable has, U free
};

struct MethodEntry {
  const char* name;
  Function function;
  char kind = kMethod;
  std::int32_t level = 0;  // place of the class that gave it in the line of inheritance, 0 the root
};

// A property: the instance `name` is read through the method in slot `access` and written through
// `assign`, its value lying in element `stored` (from 0 of the object's vector); -1 when absent.
struct Property {
  std::int32_t stored;
  std::int32_t access;
  std::int32_t assign;
};
struct PropertyEntry {
  const char* instance;
  Property property;
};

// The places of methods in the order of their names; those of one name by level and place. For classes with many, of
// which each request would sort them.
template <std::size_t N>
consteval std::array<std::int16_t, N> order_by_name(const std::array<MethodEntry, N>& methods) {
  std::array<std::int16_t, N> order;
  std::iota(order.begin(), order.end(), std::int16_t{0});
  std::ranges::sort(order, [&](std::int16_t a, std::int16_t b) {
    const MethodEntry &left = methods[static_cast<std::size_t>(a)],
                      &right = methods[static_cast<std::size_t>(b)];
    const int names = std::string_view(left.name).compare(right.name);
    return names != 0 ? names < 0 : left.level != right.level ? left.level < right.level : a < b;
  });
  return order;
}

// One name entry of a descriptor.
struct ClassEntry {
  std::string_view name;  // of the literal in the class's tables
  std::int32_t index;     // instance: element of the object's vector; method: slot
  std::int32_t level;
  char kind;
};

// A linked class: sorted name entries, and the method array that its objects share. Slots are the
// places in the list of methods given, instances those in the list of instances. The tables given must
// last as long as the class. The order is that of order_by_name(); without it the class sorts.
class ClassDescriptor {
 public:
  ClassDescriptor(const char* name, std::span<const InstanceEntry> instances,
                  std::span<const MethodEntry> methods,
                  std::span<const PropertyEntry> properties = {},
                  std::span<const std::int16_t> order = {});
  ~ClassDescriptor() { DEL_VAR(method_array_); }  // objects that there still are share its body
  ClassDescriptor(const ClassDescriptor&) = delete;
  ClassDescriptor& operator=(const ClassDescriptor&) = delete;

  const std::string& name() const { return name_; }
  const std::vector<ClassEntry>& instances() const { return instances_; }
  const std::vector<ClassEntry>& methods() const { return methods_; }
  std::int32_t method_count() const { return static_cast<std::int32_t>(methods_.size()); }
  // What it was declared with, in the order of elements and slots: a class that inherits begins with that.
  std::span<const InstanceEntry> declared_instances() const { return declared_; }
  std::span<const MethodEntry> declared_methods() const { return declared_methods_; }
  std::span<const PropertyEntry> declared_properties() const { return declared_properties_; }
  // The native functions by slot, null for one that was not linked in.
  std::span<const Callable> functions() const { return functions_; }
  // REQUIRES: the slot exists.
  Callable slot_function(std::int32_t slot) const {
    assert(slot >= 0 && slot < method_count());
    return functions_[static_cast<std::size_t>(slot)];
  }

  // Makes an object with every instance at its default; does not call init.
  Var* make() const;

 private:
  std::string name_;
  std::span<const InstanceEntry> declared_;
  std::span<const MethodEntry> declared_methods_;
  std::span<const PropertyEntry> declared_properties_;
  std::vector<ClassEntry> instances_;
  std::vector<ClassEntry> methods_;
  std::vector<Callable> functions_;  // by slot
  std::vector<Property> property_table_;
  std::vector<std::int32_t> property_of_;  // per instance: index of its property, -1 none
  Var* method_array_;
};

const ClassDescriptor* class_of(const Var* object);
// The class of an object that was declared typed O but never instantiated.
const ClassDescriptor& empty_class();

// Element index (from 0) of an instance, or -1.
std::int32_t FIND_INSTANCE(std::string_view name, const ClassDescriptor& descriptor);
// Slot of a method of the given kind whose level is not over the scope (below -1: any), or -1. The
// scope becomes the entry's level, -2 without one.
std::int32_t FIND_METHOD(std::string_view name, const ClassDescriptor& descriptor, char kind,
                         std::int32_t& scope);

// The function at a slot of the object's method array, or none. REQUIRES: an object.
inline Function method_in_slot(const Var* object, std::int32_t slot) {
  assert(object->type == 'O');
  const Var* methods = element(object, 2);
  if (methods->type != 'A' || slot < 0 || slot >= element_count(methods)) return {};
  const Var* block = methods->shared->elements[slot];
  return block->type == 'B' ? method_function(block) : Function();
}

// Calls; argv[0] is the object. Errors 317, 343.
Var* csnodome(std::string_view name, std::int32_t super_depth, std::int32_t argc, Var** argv);
// The same, with a look at the slot before the name is searched for.
inline Var* csdometh(std::string_view name, std::int32_t slot, std::int32_t super_depth,
                     std::int32_t argc, Var** argv) {
  if (super_depth == 0 && argc > 0 && argv[0] != nullptr && argv[0]->type == 'O')
    if (const Function method = method_in_slot(argv[0], slot); method)
      return CALL_VECTOR(method, argc, argv);
  return csnodome(name, super_depth, argc, argv);
}
Var* csnometh(std::string_view name, std::int32_t argc, Var** argv, std::int32_t super_depth);
Var* csnomcme(std::string_view macro, std::int32_t super_depth, std::int32_t argc, Var** argv);
// The result of method init with the given arguments (without the object), or the object.
Var* csdoinit(Var* object, std::int32_t argc, Var** argv);

// Instances: reading (value null) gives the cell, writing the assigned cell. Errors 317, 343, 344.
Var* csdoinst(Var* object, std::string_view name, std::int32_t slot, std::int32_t super_depth,
              Var* value);
Var* csnoivar(Var* object, std::string_view name, std::int32_t super_depth, Var* value);

inline Var* get_ivar(Var* object, std::string_view name) {
  return csnoivar(object, name, 0, nullptr);
}
// An instance that is a number or logical, cut to an integer; 0 for another.
inline std::int32_t get_integer_ivar(Var* object, std::string_view name) {
  const Var* const value = get_ivar(object, name);
  return is_number_or_logical(value) ? integer_of(value) : 0;
}
inline Var* put_ivar(Var* object, std::string_view name, Var* value) {
  return csnoivar(object, name, 0, value);
}
template <typename... Args>
Var* send(Var* object, std::string_view name, Args*... args) {
  Var* argv[] = {object, args...};
  return csnodome(name, 0, static_cast<std::int32_t>(1 + sizeof...(args)), argv);
}

}  // namespace tarnel
