// The registry: priority, search, INIT and EXIT lists, classes found by name.
#include "core/classes.h"
#include "core/core_modules.h"
#include "tests/support/test_runtime.h"

namespace tarnel::testing {
namespace {

Var* mine(std::int32_t, Var**) {
  return TMP_TEXT("mine");
}

constexpr FunctionEntry kFunctionsOfMine[] = {{"ascan", mine, nullptr},
                                              {"longername12", mine, nullptr}};
constexpr ModuleRecord kMine{.name = "mine", .functions = kFunctionsOfMine};
constexpr std::array<const ModuleRecord*, 1> kApplication = {&kMine};
constexpr auto kAll = join_modules(kApplication, kCoreModules);
constexpr auto kLinked = link_functions<count_functions(kAll)>(kAll);

constexpr bool ascending() {
  for (std::size_t i = 1; i + 1 < static_cast<std::size_t>(kLinked.count); ++i)
    if (compare_names(kLinked.entries[i].name, kLinked.entries[i + 1].name) >= 0) return false;
  return true;
}
static_assert(ascending(), "sorted, no name twice");

std::string calls;
Var* note_init(std::int32_t, Var**) {
  calls += "i";
  return nil_value();
}
Var* stop(std::int32_t argc, Var** argv) {
  calls += argc == 1 ? std::to_string(argv[0]->i) : "s";
  return false_value();
}

class Modules : public RuntimeTest {
 protected:
  Modules() : table_(function_table()) {}
  ~Modules() override { LINK_MODULES({table_, kCoreModules}); }
  FunctionTable table_;
};

TEST_F(Modules, AnApplicationsFunctionHidesTheBuiltinOfThatName) {
  LINK_MODULES({kLinked.table(), kAll});
  EXPECT_EQ(show(CALL_SIMPLE(lookup_function("ASCAN"))), "C mine");
  EXPECT_EQ(show(CALL_SIMPLE(lookup_function("longername99"))), "C mine");
  EXPECT_EQ(lookup_function("longernam"), nullptr);
}

TEST_F(Modules, SearchGivesThePlaceOfAHitOrOfTheMiss) {
  const std::int32_t hit = FIND_FUNC(" \taeval rest");
  ASSERT_GT(hit, 0);
  EXPECT_STREQ(function_table().entries[hit].name, "aeval");
  EXPECT_EQ(FIND_FUNC("aevam"), -(hit + 1));
  EXPECT_EQ(FIND_FUNC("~"), -function_table().count);
  EXPECT_EQ(FIND_FUNC(""), 0);
  CALL_SIMPLE(GET_FUNC("nosuch"));
  EXPECT_EQ(take_errors(), "308 access of undefined function nosuch");
}

TEST_F(Modules, AbbreviationsOfFourLettersFindTheFirstFullName) {
  const std::pair<const char*, const char*> cases[] = {{"REPL", "replicate"}, {"rep", "rep"},
                                                       {"rec", "rec"},        {"recn", "recno"},
                                                       {"recc", "reccount"},  {"nosuch", "nosuch"}};
  for (const auto& [short_name, full] : cases) EXPECT_EQ(FULL_NAME(short_name), full);
  EXPECT_EQ(CALL_SIMPLE(isfunction, TMP_TEXT("ASCAN(x)")), true_value());
  EXPECT_EQ(CALL_SIMPLE(isfunction, TMP_TEXT("")), true_value());
  EXPECT_EQ(CALL_SIMPLE(isfunction, TMP_TEXT("nosuch")), false_value());
  EXPECT_EQ(CALL_SIMPLE(isfunction, TMP_INT(1)), error_value());
}

TEST_F(Modules, NamesAreLinkedToSlotsAndListsRunUntilOneSaysFalse) {
  static std::int32_t nil_slot, name_slot, alias_slot;
  constexpr NameSlot names[] = {{"nil", &nil_slot}, {"linked", &name_slot}};
  constexpr NameSlot aliases[] = {{"users", &alias_slot}};
  constexpr FunctionEntry list[] = {
      {"a", note_init, nullptr}, {"b", stop, nullptr}, {"c", stop, nullptr}};
  const ModuleRecord record{
      .name = "r", .names = names, .aliases = aliases, .init = list, .exit = list};
  const ModuleRecord* modules[] = {&record};
  LINK_MODULES({table_, modules});
  EXPECT_EQ(symbol_var(nil_slot), nil_value());
  EXPECT_TRUE(is_undefined(symbol_var(name_slot)));
  EXPECT_EQ(FIND_ALIAS("USERS"), alias_slot);
  calls.clear();
  EXPECT_FALSE(RUN_INIT(nil_value(), nil_value()));
  EXPECT_FALSE(RUN_EXIT());
  EXPECT_EQ(calls, "isi2");
}

// --- Classes.

Var* answer(std::int32_t argc, Var** argv) {
  Procedure p("test", "answer", 1, argc);
  p.self(argv, 1);
  return p.result(argc > 1 ? argv[1] : TMP_INT(42));
}
Var* root_answer(std::int32_t argc, Var** argv) {
  Procedure p("test", "answer", 1, argc);
  p.self(argv, 0);
  return p.result(TMP_TEXT("root"));
}
// Asks its own class for the inherited method.
Var* asks_super(std::int32_t argc, Var** argv) {
  Procedure p("test", "asks", 1, argc);
  Var* passed[] = {p.self(argv, 1)};
  return p.result(csdometh("answer", -1, 1, 1, passed));
}
Var* doubled(std::int32_t argc, Var** argv) {
  Procedure p("test", "doubled", 1, argc);
  Var* self = p.self(argv, 1);
  Var* stored = element(self, 3);
  if (argc > 1) SET_INT(stored, integer_of(argv[1]) * 2);
  return p.result(stored);
}

constexpr InstanceEntry kInstances[] = {{"plain", 'I'}, {"property", 'U'}, {"sealed", 'U'}};
constexpr MethodEntry kMethods[] = {{"answer", answer, kMethod, 1},
                                    {"answer", root_answer, kMethod, 0},
                                    {"asks", asks_super, kMethod, 1},
                                    {"property", doubled, kAccess, 1},
                                    {"property", doubled, kAssign, 1}};
constexpr PropertyEntry kProperties[] = {{"property", {2, 3, 4}}, {"sealed", {-1, -1, -1}}};

TEST_F(Modules, MethodsAreFoundBySlotByNameAndByLevel) {
  static const ClassDescriptor descriptor("child", kInstances, kMethods, kProperties);
  Var* object = descriptor.make();
  object->sclass = 'N';
  Var* argv[] = {object, nullptr};
  EXPECT_EQ(show(csdometh("ignored", 0, 0, 1, argv)), "I 42");
  EXPECT_EQ(show(csdometh("answer", -1, 0, 1, argv)), "I 42");
  EXPECT_EQ(show(send(object, "asks")), "C root");
  EXPECT_EQ(send(object, "answ"), error_value());
  EXPECT_EQ(send(TMP_INT(1), "answer"), error_value());
  EXPECT_EQ(take_errors(), "343 Class 'child' has no method 'answ'; 317 object required");
}

TEST_F(Modules, InstancesGoThroughTheirPropertiesFromOutside) {
  static const ClassDescriptor descriptor("child", kInstances, kMethods, kProperties);
  Var* object = descriptor.make();
  object->sclass = 'N';
  put_ivar(object, "plain", TMP_INT(5));
  EXPECT_EQ(show(get_ivar(object, "plain")), "I 5");
  EXPECT_EQ(show(put_ivar(object, "property", TMP_INT(4))), "I 8");
  EXPECT_EQ(show(get_ivar(object, "property")), "I 8");
  EXPECT_EQ(get_ivar(object, "sealed"), error_value());
  EXPECT_EQ(get_ivar(object, "nosuch"), error_value());
  EXPECT_EQ(take_errors(),
            "344 Class 'child' has no instance 'sealed'; "
            "344 Class 'child' has no instance 'nosuch'");
  Var* empty = NEW_TEMP();
  FIX_VAR(empty, 'O');
  EXPECT_EQ(get_ivar(empty, "x"), error_value());
  EXPECT_EQ(take_errors(), "344 Class for instance 'x' has not been instantiated yet");
}

}  // namespace
}  // namespace tarnel::testing
