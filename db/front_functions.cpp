// The front functions that have rules of their own for their arguments or their result.
#include <algorithm>
#include <string>
#include <vector>

#include "core/arrays.h"
#include "core/blocks.h"
#include "core/errors.h"
#include "core/frame.h"
#include "core/settings.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/area.h"
#include "db/front.h"
#include "db/info_codes.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

constexpr std::int32_t kMostOrderArguments = 7;

bool given(std::int32_t argc, Var** argv, std::int32_t i) {
  return i < argc && argv[i] != nullptr && !is_nil(argv[i]);
}

// The call's success, and the failure flag set to its contrary.
Var* with_neterr(Var* result) {
  const bool done = result->type == 'L' && truth_of(result);
  bbneterr(!done);
  return logical(done);
}

Var* fail_open() {
  bbneterr(true);
  return false_value();
}

// The new table's alias becomes the one asked for, or one like it.
void give_alias(Var* object, const std::string& wanted) {
  Var* result = put_ivar(object, "alias", TMP_TEXT(wanted));
  if (!is_text(result)) {
    RT_ERROR(342, format_text("failed to assign alias '%s'", wanted.c_str()));
    return;
  }
  const std::string alias(text_of(get_ivar(object, "alias")));
  const std::size_t n = std::min<std::size_t>(wanted.size(), kMadeAliasSize);
  if (alias.compare(0, n, wanted, 0, n) != 0)
    RT_WARNING(901,
               format_text("Duplicate alias detected;alias automatically changed;from %s;to %s",
                           wanted.c_str(), alias.c_str()));
}

// The factory's arguments: the file, then shared and read-only as far as given, then, in the full
// form of six, whether a new area is wanted.
std::vector<Var*> factory_arguments(std::int32_t argc, Var** argv) {
  Var* nil = nil_value();
  std::vector<Var*> passed = {argv[2]};
  const bool shared = given(argc, argv, 4), read_only = given(argc, argv, 5);
  if (shared || read_only) passed.push_back(shared ? argv[4] : nil);
  if (read_only) passed.push_back(argv[5]);
  if (arg_is(argc, argv, 0, "L")) {
    passed.resize(5, nil);
    passed.push_back(argv[0]);
  }
  return passed;
}

// Locks the numbers among `records` in turn, up to the first that is none.
bool lock_each(Var* server, std::int32_t count, Var** records, bool several) {
  std::vector<std::int32_t> numbers;  // copies: a handler of errors may change the array
  for (std::int32_t i = 0; i < count && is_number(records[i]); ++i)
    numbers.push_back(integer_of(records[i]));
  if (!several) numbers.resize(std::min<std::size_t>(numbers.size(), 1));
  bool all = true;
  for (const std::int32_t n : numbers) {
    Var* number = TMP_INT(n);
    all &= truth_of(front_call(server, {"rlock", kMethod}, 1, &number));
  }
  return all;
}

// Calls a member for every area; were all results true?
bool in_all_areas(FrontMember member) {
  std::vector<std::int32_t> numbers;  // an area may close meanwhile
  for (const WorkArea* area = area_list(); area != nullptr; area = area->next)
    numbers.push_back(area->number);
  bool all = true;
  for (const std::int32_t number : numbers)
    if (const WorkArea* area = area_by_number(number); area != nullptr && area->server() != nullptr)
      all &= truth_of(front_call(area->server(), member, 0, nullptr));
  return all;
}

// The field that the first local names: stores a value that is given, or gives its value.
Var* field_access(std::int32_t argc, Var** argv, Var** locals) {
  Var* passed[] = {locals[0], argc > 0 ? argv[0] : nil_value()};
  return is_nil(passed[1]) ? fieldget(1, passed) : fieldput(2, passed);
}

// The same in the area of the number in the second local.
Var* area_field_access(std::int32_t argc, Var** argv, Var** locals) {
  WorkArea* area = area_by_number(locals[1]->i);
  if (area == nullptr || area->server() == nullptr)
    return RT_ERROR(322, format_text("in work area %d", locals[1]->i));
  const AreaScope in(area);
  return field_access(argc, argv, locals);
}

bool has_field(Var* server, Var** name) {
  return integer_of(front_call(server, {"fieldpos", kMethod}, 1, name)) > 0;
}

// One column of the structure into an array, as far as that reaches.
void fill_column(Var* target, const Var* rows, std::int32_t column) {
  const std::int32_t n = std::min(element_count(target), element_count(rows));
  for (std::int32_t i = 1; i <= n; ++i)
    CPY_VAR(element(target, i), element(element(rows, i), column));
}

}  // namespace

// --- Selection.

Var* dbselectar(std::int32_t argc, Var** argv) {
  if (argc > 0) ogsSelect(argv[0], SelectMode::kNewIfUnknown);
  return false_value();
}

Var* select_area(std::int32_t argc, Var** argv) {
  if (arg_is(argc, argv, 0, kText)) {
    std::string_view text = trim_blanks(text_of(argv[0]));
    text = text.substr(0, text.find("->"));
    if (!text.empty()) {
      const WorkArea* area = resolve_alias(text);
      return TMP_INT(area != nullptr ? area->number : 0);
    }
  }
  return TMP_INT(current_area() != nullptr ? current_area()->number : 1);
}

Var* alias(std::int32_t argc, Var** argv) {
  const WorkArea* area =
      arg_is(argc, argv, 0, kNumber) ? area_by_number(integer_of(argv[0])) : current_area();
  if (area == nullptr || area->server() == nullptr) return empty_text();
  return get_ivar(area->server(), "alias");
}

// --- Opening, creating and closing.

Var* dbusearea(std::int32_t argc, Var** argv) {
  if (argc < 3 || !arg_is(argc, argv, 2, "C")) {
    RT_ERROR(312, "in DBUSEAREA()");
    return fail_open();
  }
  const std::string wanted =
      arg_is(argc, argv, 3, "C") ? upper_text(trim_blanks(text_of(argv[3]))) : std::string();
  const std::string driver = upper_text(trim_blanks(text_argument(argc, argv, 1)));
  const Function factory = driver_factory(driver.empty() ? default_driver() : driver);
  if (factory == nullptr) return fail_open();
  const bool as_new = arg_is(argc, argv, 0, "L") && truth_of(argv[0]);
  if (!as_new && current_server() != nullptr)
    front_call(current_server(), {"close", kMethod}, 0, nullptr);
  std::vector<Var*> passed = factory_arguments(argc, argv);
  const WantedAlias alias(wanted);
  bbneterr(false);
  Var* object = CALL_VECTOR(factory, static_cast<std::int32_t>(passed.size()), passed.data());
  if (object->type != 'O') return fail_open();
  if (!truth_of(get_ivar(object, "used"))) {
    remove_server(object);
    return fail_open();
  }
  if (!wanted.empty()) give_alias(object, wanted);
  return true_value();
}

Var* dbcreate(std::int32_t argc, Var** argv) {
  Var* object = oggdefob(text_argument(argc, argv, 2));
  if (object == nullptr) return fail_open();
  Var* passed[] = {argc > 0 ? argv[0] : nil_value(), argc > 1 ? argv[1] : nil_value(),
                   argc > 3 ? argv[3] : nil_value()};
  return with_neterr(front_call(object, {"createdb", kMethod}, argc < 2 ? argc : 3, passed));
}

Var* dbtable(std::int32_t, Var**) {
  return logical(front_server(NoArea::kError322) != nullptr);
}

Var* dbcloseall(std::int32_t, Var**) {
  close_all_areas();
  return true_value();
}

Var* dbf_name(std::int32_t, Var**) {
  Var* server = front_server(NoArea::kSilent);
  return server != nullptr ? get_ivar(server, "filespec") : empty_text();
}

Var* neterr(std::int32_t argc, Var** argv) {
  const bool former = bbneterr();
  if (arg_is(argc, argv, 0, "L")) bbneterr(truth_of(argv[0]));
  return logical(former);
}

// --- Records and fields.

Var* dbappend(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kSilent);
  if (server == nullptr) return false_value();
  Var* passed[] = {argc > 0 ? argv[0] : true_value()};
  return with_neterr(front_call(server, {"append", kMethod}, 1, passed));
}

Var* reccount(std::int32_t argc, Var** argv) {
  return front_lastrec(argc, argv);
}
Var* fieldname_function(std::int32_t argc, Var** argv) {
  return front_fieldname(argc, argv);
}

Var* fieldget(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kError322);
  if (server == nullptr || !arg_is(argc, argv, 0, "INFC")) return nil_value();
  return front_call(server, {"fieldget", kMethod}, 1, argv);
}

Var* fieldput(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kError322);
  if (server == nullptr || !arg_is(argc, argv, 0, "INFC") || !arg_is(argc, argv, 1, "INFCLDM"))
    return nil_value();
  return front_call(server, {"fieldput", kMethod}, 2, argv);
}

Var* afields(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kSilent);
  if (server == nullptr) return int_zero();
  const Var* rows = front_call(server, {"dbstruct", kMethod}, 0, nullptr);
  if (rows->type != 'A') return int_zero();
  for (std::int32_t column = 1; column <= 4; ++column)
    if (arg_is(argc, argv, column - 1, "A")) fill_column(argv[column - 1], rows, column);
  const std::int32_t room =
      arg_is(argc, argv, 0, "A") ? element_count(argv[0]) : element_count(rows);
  return TMP_INT(std::min(room, element_count(rows)));
}

Var* fieldblock(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kSilent);
  if (server == nullptr || !arg_is(argc, argv, 0, kText) || !has_field(server, argv))
    return nil_value();
  return make_block(field_access, {argv[0]});
}

Var* fieldwblock(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kText) || !arg_is(argc, argv, 1, kNumber)) return nil_value();
  const WorkArea* area = area_by_number(integer_of(argv[1]));
  if (area == nullptr || area->server() == nullptr || !has_field(area->server(), argv))
    return nil_value();
  return make_block(area_field_access, {argv[0], TMP_INT(area->number)});
}

// --- Locks.

// Is argument 0 a number or missing? Error 312 when it is neither: another record than was meant would be locked, or
// all be given up.
bool record_or_none(std::int32_t argc, Var** argv, const char* place) {
  if (!given(argc, argv, 0) || is_number(argv[0])) return true;
  RT_ERROR(312, place);
  return false;
}

Var* dbrlock(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kSilent);
  if (server == nullptr || !record_or_none(argc, argv, "in DBRLOCK()")) return false_value();
  if (!given(argc, argv, 0)) return front_call(server, {"rlock", kMethod}, 0, argv);
  const std::int32_t n = integer_of(argv[0]);
  if (n < 1 || n > integer_of(front_lastrec(0, nullptr))) return false_value();
  return front_call(server, {"rlock", kMethod}, 1, argv);
}

Var* dbrunlock(std::int32_t argc, Var** argv) {
  if (!record_or_none(argc, argv, "in DBRUNLOCK()")) return false_value();
  return front_dbunlock(given(argc, argv, 0) ? 1 : 0, argv);
}

Var* dbcommitall(std::int32_t, Var**) {
  return logical(in_all_areas({"commit", kMethod}));
}
Var* dbunlockall(std::int32_t, Var**) {
  return logical(in_all_areas({"unlock", kMethod}));
}

Var* rlock(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kSilent);
  if (server == nullptr) return false_value();
  const CellHold held(server);  // a handler may close the area
  const bool several = settings().multilocks;
  if (argc == 0) {
    Var* current = several ? get_ivar(server, "recno") : nullptr;
    return front_call(server, {"rlock", kMethod}, several ? 1 : 0, &current);
  }
  if (!several) front_call(server, {"unlock", kMethod}, 0, nullptr);
  if (is_number(argv[0])) return logical(lock_each(server, argc, argv, several));
  if (argv[0]->type == 'A')
    return logical(lock_each(server, element_count(argv[0]), argv[0]->shared->elements, several));
  RT_ERROR(312, "in RLock()");
  return false_value();
}

Var* found(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kSilent);
  if (server == nullptr) return false_value();
  if (argc == 0) return get_ivar(server, "found");
  Var* passed[] = {TMP_INT(info::kFound), argv[0]};
  return front_call(server, {"info", kMethod}, 2, passed);
}

// --- Orders.

Var* dbseek(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kError322);
  if (server == nullptr) return false_value();
  Var* passed[] = {argc > 0 ? argv[0] : nil_value(),
                   argc > 1 && !is_nil(argv[1]) ? argv[1] : logical(settings().softseek)};
  return front_call(server, {"seek", kMethod}, argc == 0 ? 0 : 2, passed);
}

Var* ordcreate(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kError322);
  if (server == nullptr) return false_value();
  return front_call(server, {"createorder", kMethod}, std::min(argc, kMostOrderArguments), argv);
}

// The file stands for the order and for its bag.
Var* dbcreatein(std::int32_t argc, Var** argv) {
  std::vector<Var*> passed;
  if (argc > 0) passed.push_back(argv[0]);
  passed.insert(passed.end(), argv, argv + argc);
  return ordcreate(static_cast<std::int32_t>(passed.size()), passed.data());
}

Var* ordlistadd(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kSilent);
  if (server == nullptr) return false_value();
  return with_neterr(front_call(server, {"setindex", kMethod}, argc, argv));
}

Var* dbsetindex(std::int32_t argc, Var** argv) {
  if (!given(argc, argv, 0)) return true_value();
  return ordlistadd(1, argv);
}

Var* dbtableext(std::int32_t, Var**) {
  Var* server = front_server(NoArea::kSilent);
  if (server == nullptr) server = oggdefob("");
  Var* code = TMP_INT(info::kTableExtension);
  return server != nullptr ? front_call(server, {"info", kMethod}, 1, &code) : empty_text();
}

Var* indexext(std::int32_t, Var**) {
  Var* server = front_server(NoArea::kSilent);
  if (server == nullptr) server = oggdefob("");
  return server != nullptr ? get_ivar(server, "indexext") : empty_text();
}

Var* indexnames(std::int32_t, Var**) {
  Var* names = NEW_TEMP();
  Var* server = front_server(NoArea::kSilent);
  const std::int32_t count = server != nullptr ? integer_of(get_ivar(server, "indexcount")) : 0;
  cscreara(names, count, kAllNil);
  for (std::int32_t i = 1; i <= count; ++i) {
    Var* passed[] = {TMP_INT(order_info::kFullPath), TMP_INT(i)};
    CPY_VAR(element(names, i), front_call(server, {"orderinfo", kMethod}, 2, passed));
  }
  return names;
}

}  // namespace tarnel
