#include "frontend/state_object.h"

#include "core/arrays.h"
#include "core/frame.h"
#include "core/operators.h"
#include "lib/strings.h"

namespace tarnel {
namespace {

constexpr const char* kModule = "tnstate";

Var* normal_name(Var* name) {
  return CALL_SIMPLE(alltrim, CALL_SIMPLE(lower, name));
}

Var* init(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "init", 20, argc);
  Var* self = p.self(argv);
  LINE_HOOK(22);
  put_ivar(self, "adata", cscreara(NEW_TEMP(), 0, kAllNil));
  LINE_HOOK(23);
  put_ivar(self, "state", TMP_INT(0));
  return p.end();
}

// {|x| x[1] == cName}
Var* name_equals(std::int32_t argc, Var** argv, Var** locals) {
  Procedure p(kModule, "cb_1_34_1", 34, argc);
  Var* entry = p.param(argv);
  return p.result(csueequu(csgetarr(entry, 1), locals[0]));
}

// Reading a name that was assigned gives the name itself, in lower case; pages know it so.
Var* noivarget(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "noivarget", 30, argc);
  Var* self = p.self(argv);
  Var* name = p.param(argv);
  LINE_HOOK(33);
  CPY_VAR(name, normal_name(name));
  LINE_HOOK(34);
  Var* data = get_ivar(self, "adata");
  const std::int32_t position =
      integer_of(CALL_SIMPLE(ascan, data, TMP_BLOCK(name_equals, &name, 1)));
  LINE_HOOK(35);
  if (position > 0) return p.result(csgetarr(csgetarr(data, position), 1));
  return p.result(nil_value());
}

// Every assignment appends: the first entry of a name is the one that reading finds.
Var* noivarput(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "noivarput", 40, argc);
  Var* self = p.self(argv);
  Var* name = p.param(argv);
  Var* value = p.param(argv);
  LINE_HOOK(42);
  Var* entry = cscrearr(NEW_TEMP(), 2, kCopyValues, {normal_name(name), value});
  CALL_SIMPLE(aadd, get_ivar(self, "adata"), entry);
  return p.result(value);
}

constexpr InstanceEntry kInstances[] = {{"adata", 'A'}, {"state", 'N'}};
constexpr MethodEntry kMethods[] = {
    {"init", init}, {"noivarget", noivarget}, {"noivarput", noivarput}};

}  // namespace

Var* tnstate(std::int32_t argc, Var** argv) {
  static const ClassDescriptor descriptor("tnstate", kInstances, kMethods);
  Procedure p(kModule, "tnstatenew", -1, argc);
  return p.result(csdoinit(descriptor.make(), argc, argv), 'O');
}

}  // namespace tarnel
