// What a name means as a function: a native one, or a procedure of a program that was loaded.
#pragma once

#include <cstdint>

#include "core/var.h"

namespace tarnel {

// A procedure that isn't native. Whoever loads it owns it.
class LoadedProcedure {
 public:
  // The same contract as a Callable's.
  virtual Var* call(std::int32_t argc, Var** argv) = 0;
  // The steps of a procedure of a program; null: it has none.
  virtual Code* code() const { return nullptr; }

 protected:
  ~LoadedProcedure() = default;
};

class Function {
 public:
  constexpr Function() = default;
  constexpr Function(Callable function) : native_(function) {}
  constexpr Function(LoadedProcedure* procedure) : loaded_(procedure) {}
  constexpr Function(std::nullptr_t) {}

  constexpr explicit operator bool() const { return native_ != nullptr || loaded_ != nullptr; }
  constexpr Callable native() const { return native_; }
  constexpr LoadedProcedure* loaded() const { return loaded_; }
  // REQUIRES: there is one.
  Var* operator()(std::int32_t argc, Var** argv) const {
    return native_ != nullptr ? native_(argc, argv) : loaded_->call(argc, argv);
  }
  friend constexpr bool operator==(const Function&, const Function&) = default;

 private:
  Callable native_ = nullptr;
  LoadedProcedure* loaded_ = nullptr;
};

}  // namespace tarnel
