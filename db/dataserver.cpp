#include "db/dataserver.h"

#include <utility>

#include "core/arrays.h"
#include "core/errors.h"
#include "core/frame.h"
#include "core/text.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

constexpr std::size_t kDriverNameSize = 10;
constexpr const char kFirstDriver[] = "DBFIDX";

struct RegistryState {
  std::vector<const ClassDescriptor*> classes;
  Var* names = nullptr;  // the array that rddlist gives
  std::string standard = kFirstDriver;
} state;

Var* driver_names() {
  if (state.names == nullptr) {
    state.names = NEW_VAR('N', 'U');
    cscreara(state.names, 0, kAllNil);
  }
  return state.names;
}

bool is_listed(std::string_view name) {
  const Var* names = driver_names();
  for (std::int32_t i = 1; i <= element_count(names); ++i)
    if (text_of(element(names, i)) == name) return true;
  return false;
}

const char* class_name(const Var* object) {
  const ClassDescriptor* descriptor = class_of(object);
  return descriptor != nullptr ? descriptor->name().c_str() : "";
}

// The base versions of the three members that answer for all others.
Var* undefined_member(std::int32_t argc, Var** argv, int code, const char* what) {
  const std::string name(arg_is(argc, argv, 1, kText) ? text_of(argv[1]) : std::string_view());
  RT_ERROR(code, format_text("Class '%s' does not define %s '%s'", class_name(argv[0]), what,
                             name.c_str()));
  return argv[0];
}
Var* base_instance(std::int32_t argc, Var** argv) {
  return undefined_member(argc, argv, 344, "instance");
}
Var* base_method(std::int32_t argc, Var** argv) {
  return undefined_member(argc, argv, 343, "method");
}

const char* answering_member(char kind) {
  return kind == kAccess ? "noivarget" : kind == kAssign ? "noivarput" : "nomethod";
}

constexpr bool is_property(const char* name) {
  return server_slot(name, kAccess) >= 0 || server_slot(name, kAssign) >= 0;
}
constexpr auto kProperties = [] {
  std::array<PropertyEntry, std::ranges::count_if(kServerInstances, is_property)> entries{};
  auto next = entries.begin();
  for (const char* name : kServerInstances)
    if (is_property(name))
      *next++ = {name, {-1, server_slot(name, kAccess), server_slot(name, kAssign)}};
  return entries;
}();

}  // namespace

Var* answer_for_absent(std::size_t slot, std::int32_t argc, Var** argv) {
  const ServerMember& member = kServerMembers[slot];
  const std::string_view name = member.name;
  if (name == "noivarget" || name == "noivarput") return base_instance(argc, argv);
  if (name == "nomethod") return base_method(argc, argv);
  const char* answering = answering_member(member.kind);
  std::vector<Var*> passed = {argv[0], TMP_STR(member.name)};
  passed.insert(passed.end(), argv + 1, argv + argc);
  return csdometh(answering, server_slot(answering), 0, argc + 1, passed.data());
}

std::span<const PropertyEntry> server_properties() {
  return kProperties;
}

bool types_agree(char value, char place) {
  return types_compatible(value, place) || (letter_in(value, "CM") && letter_in(place, "CM"));
}

void register_server_class(const ClassDescriptor& descriptor) {
  state.classes.push_back(&descriptor);
}

bool is_server_class(const ClassDescriptor* descriptor) {
  return std::find(state.classes.begin(), state.classes.end(), descriptor) != state.classes.end();
}

const std::string& default_driver() {
  return state.standard;
}

Function driver_factory(std::string_view driver) {
  const std::string name = upper_text(trim_blanks(driver)) + "NEW";
  const Function factory = lookup_function(name);
  if (factory == nullptr) RT_ERROR(320, format_text("Driver '%s' not found", name.c_str()));
  return factory;
}

Var* oggdefob(std::string_view driver) {
  const std::string_view name = trim_blanks(driver);
  const Function factory = driver_factory(name.empty() ? std::string_view(state.standard) : name);
  if (factory == nullptr) return nullptr;
  Var* nil = nil_value();
  Var* object = CALL_SIMPLE(factory, nil, nil, nil, nil, nil, false_value());
  return object->type == 'O' ? object : nullptr;
}

Var* annnewrdd(std::int32_t argc, Var** argv) {
  const std::string name = upper_text(text_argument(argc, argv, 0)).substr(0, kDriverNameSize);
  if (!name.empty() && !is_listed(name)) CALL_SIMPLE(aadd, driver_names(), TMP_TEXT(name));
  return nil_value();
}

Var* rddlist(std::int32_t, Var**) {
  return driver_names();
}

Var* rddsetdefa(std::int32_t argc, Var** argv) {
  Var* former = TMP_TEXT(state.standard);
  if (arg_is(argc, argv, 0, kText)) {
    const std::string name = upper_text(trim_blanks(text_of(argv[0])));
    state.standard = name.empty() ? kFirstDriver : name;
  }
  return former;
}

Var* rddinit(std::int32_t, Var**) {
  CALL_SIMPLE(annnewrdd, TMP_STR("DbfIdx"));
  state.standard = kFirstDriver;
  return nil_value();
}

}  // namespace tarnel
