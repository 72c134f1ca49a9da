// Classes of programs, over those of the core.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/classes.h"
#include "core/function.h"

namespace tarnel {

// One class: a function that makes objects of it. It lasts to the end of the run, as its objects' tables do.
class ProgramClass final : public LoadedProcedure {
 public:
  // `names` outlive it: those of the methods stay where they are.
  struct Method {
    std::string name;  // lower case
    Function procedure;
  };

  std::string name;                    // lower case
  std::string base;                    // lower case; empty: none
  std::vector<std::string> instances;  // lower case, the significant characters
  std::string types;                   // a letter for each of them
  std::vector<Method> methods;
  Function initial;  // gives the instances of an object their first values; none: none has one

  // Puts the class together with its base, which is linked before it. False when the base is no class.
  [[nodiscard]] bool link(const ProgramClass* base_class);
  // Its place in the line of inheritance, the root's is 0. REQUIRES: linked.
  bool is_linked() const { return descriptor_ != nullptr; }
  const std::int32_t& level() const { return level_; }

  // A new object, behind its method init.
  Var* call(std::int32_t argc, Var** argv) override;

 private:
  void give_first_values(Var* object) const;

  std::int32_t level_ = 0;
  const ProgramClass* parent_ = nullptr;
  std::vector<InstanceEntry> instance_entries_;
  std::vector<MethodEntry> method_entries_;
  std::unique_ptr<ClassDescriptor> descriptor_;
};

}  // namespace tarnel
