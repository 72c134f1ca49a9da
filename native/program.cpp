#include "native/program.h"

#include <string>

#include "core/errors.h"

namespace tarnel {

AreaEntered::AreaEntered(void* area) {
  const AreaHooks& areas = area_hooks();
  if (area == nullptr && areas.current != nullptr) area = areas.current();
  if (area == nullptr) {
    RT_ERROR(342, "during evaluation");
    return;
  }
  entered_ = areas.push != nullptr;
  if (entered_) former_ = areas.push(area);
}

AreaEntered::~AreaEntered() {
  if (entered_) area_hooks().pop(former_);
}

bool Call::find(Called& named) {
  named.function = find_function(named.name);
  if (!named.function) named.function = find_function(FULL_NAME(named.name));
  named.stamp = named.function ? functions_stamp() : 0;
  if (named.stamp == 0) RT_ERROR(308, "access of undefined function " + std::string(named.name));
  return named.stamp != 0;
}

Var* Call::no_result(const Called& named) {
  return RT_ERROR(320, "function returned zero pointer " + std::string(named.name));
}

Var* MacroCall::call(std::int32_t argc, Var** argv) {
  return CALL_VECTOR(GET_FUNC(is_text(name_) ? text_of(name_) : std::string_view()), argc, argv);
}

Var* MethodCall::call(std::int32_t argc, Var** argv) {
  if (macro_ == nullptr) return csnodome(name_, up_, argc, argv);
  const std::string name(is_text(macro_) ? text_of(macro_) : std::string_view());
  return csnomcme(name, 0, argc, argv);
}

}  // namespace tarnel
