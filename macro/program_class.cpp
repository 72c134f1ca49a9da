#include "macro/program_class.h"

#include <algorithm>

#include "core/errors.h"
#include "core/modules.h"
#include "core/stacks.h"

namespace tarnel {
namespace {

// The class of what a native constructor makes, or null.
const ClassDescriptor* native_class(const std::string& name) {
  const Function constructor = find_function(name + "new");
  if (!constructor || constructor.native() == nullptr) return nullptr;
  const TempsMark mark;
  return class_of(constructor(0, nullptr));
}

}  // namespace

bool ProgramClass::link(const ProgramClass* base_class) {
  const ClassDescriptor* above = nullptr;
  if (base_class != nullptr)
    above = base_class->descriptor_.get();
  else if (!base.empty())
    above = native_class(base);
  const bool found = above != nullptr || base.empty();
  parent_ = base_class;
  if (above != nullptr) {
    instance_entries_.assign(above->declared_instances().begin(),
                             above->declared_instances().end());
    method_entries_.assign(above->declared_methods().begin(), above->declared_methods().end());
    for (const MethodEntry& inherited : method_entries_) level_ = std::max(level_, inherited.level);
    ++level_;
  }
  for (std::size_t i = 0; i < instances.size(); ++i)
    instance_entries_.push_back({instances[i].c_str(), types[i]});
  for (const Method& method : methods)
    method_entries_.push_back({method.name.c_str(), method.procedure, kMethod, level_});
  descriptor_ = std::make_unique<ClassDescriptor>(
      name.c_str(), instance_entries_, method_entries_,
      above != nullptr ? above->declared_properties() : std::span<const PropertyEntry>());
  return found;
}

void ProgramClass::give_first_values(Var* object) const {
  if (parent_ != nullptr) parent_->give_first_values(object);
  if (initial) initial(1, &object);
}

Var* ProgramClass::call(std::int32_t argc, Var** argv) {
  Var* const object = descriptor_->make();
  give_first_values(object);
  return csdoinit(object, argc, argv);
}

}  // namespace tarnel
