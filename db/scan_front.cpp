#include "db/scan_front.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "core/arrays.h"
#include "core/blocks.h"
#include "core/errors.h"
#include "core/frame.h"
#include "core/stacks.h"
#include "db/area.h"
#include "db/front.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

constexpr std::size_t kListNumber = 7;  // columns of a record's number

// The driver object of an area by number or alias; null when there is none.
Var* server_of(const Var* area) {
  const WorkArea* found = is_text(area)     ? resolve_alias(trim_blanks(text_of(area)))
                          : is_number(area) ? area_by_number(integer_of(area))
                                            : nullptr;
  return found != nullptr ? found->server() : nullptr;
}

// The customary scope of a statement, NEXT, RECORD and REST behind FOR and WHILE, as the one argument that
// the driver takes for the three; RECORD goes to its record first. An argument of a wrong type is handed on
// for the driver to refuse.
Var* extent_of(Var* server, std::int32_t argc, Var** argv, std::int32_t first, bool of_command) {
  Var* given[3];
  for (std::int32_t i = 0; i < 3; ++i)
    given[i] = first + i < argc && argv[first + i] != nullptr ? argv[first + i] : nil_value();
  auto [next, record, rest] = given;
  if (is_number(record)) {
    front_call(server, {"goto", kMethod}, 1, &record);
    return int_one();
  }
  if (!is_nil(record)) return record;
  // Below 0 stands for ALL and REST there, which a command has words for.
  if (of_command && is_number(next) && number_of(next) < 0) return int_zero();
  if (!is_nil(next)) return next;
  return is_number(rest) ? empty_text() : rest;  // a number would be taken for NEXT
}

Var* scan(std::string_view member, std::int32_t argc, Var** argv, std::int32_t before_extent,
          NoArea no_area = NoArea::kSilent) {
  Var* server = front_server(no_area);
  if (server == nullptr) return false_value();
  const CellHold held(server);
  std::vector<Var*> passed(argv, argv + std::min(argc, before_extent));
  passed.resize(static_cast<std::size_t>(before_extent), nil_value());
  passed.push_back(extent_of(server, argc, argv, before_extent, member != "eval"));
  return front_call(server, member, kMethod, before_extent + 1, passed.data());
}

// Puts what a scan found for each expression into the variables behind its scope.
Var* into_variables(std::string_view member, std::int32_t argc, Var** argv) {
  constexpr std::int32_t kFirst = 6;
  const Var* values = scan(member, std::min(argc, kFirst), argv, 3, NoArea::kError322);
  if (values->type != 'A') return false_value();
  for (std::int32_t i = kFirst; i < argc && i - kFirst < element_count(values); ++i)
    if (argv[i]->sclass != 'C') CPY_VAR(argv[i], element(values, i - kFirst + 1));
  return true_value();
}

// Calls a function of the language by its name; with those of the current area.
Var* call_named(const char* name, std::int32_t argc, Var** argv) {
  return CALL_VECTOR(GET_FUNC(name), argc, argv);
}

// Number, mark of deletion and values of the current record, as a line. Without expressions, all fields.
Var* list_record(std::int32_t, Var**, Var** locals) {
  Var* const expressions = locals[0];
  const TempsMark mark;
  if (!truth_of(locals[1])) {
    std::string place = std::to_string(integer_of(call_named("recno", 0, nullptr)));
    place.insert(0, kListNumber - std::min(place.size(), kListNumber), ' ');
    Var* text[] = {TMP_TEXT(place + (truth_of(call_named("deleted", 0, nullptr)) ? " *" : "  "))};
    call_named("qout", 1, text);
  } else {
    call_named("qout", 1, std::array{empty_text()}.data());
  }
  std::vector<Var*> values;
  if (element_count(expressions) == 0) {
    const std::int32_t fields = integer_of(call_named("fcount", 0, nullptr));
    for (std::int32_t i = 1; i <= fields; ++i) {
      Var* number[] = {TMP_INT(i)};
      values.push_back(ARG_VAR(call_named("fieldget", 1, number)));
    }
  }
  for (std::int32_t i = 1; i <= element_count(expressions); ++i)
    values.push_back(ARG_VAR(EVAL_ANY(element(expressions, i))));
  call_named("qqout", static_cast<std::int32_t>(values.size()), values.data());
  return true_value();
}

}  // namespace

Var* dblist_statement(std::int32_t argc, Var** argv) {
  constexpr std::int32_t kScope = 6;  // where the last argument stands
  if (!arg_is(argc, argv, 0, "A")) return RT_ERROR(312, "in __DBLIST()");
  const bool off = arg_is(argc, argv, kScope, "L") && truth_of(argv[kScope]);
  std::vector<Var*> passed(argv, argv + std::min(argc, kScope));
  passed[0] = make_block(list_record, {argv[0], logical(off)});
  return scan("eval", static_cast<std::int32_t>(passed.size()), passed.data(), 3,
              NoArea::kError322);
}

Var* dbeval(std::int32_t argc, Var** argv) {
  return scan("eval", argc, argv, 3);
}
Var* dblocate_statement(std::int32_t argc, Var** argv) {
  return scan("locate", argc, argv, 2, NoArea::kError322);
}
Var* dbcontinue_statement(std::int32_t argc, Var** argv) {
  return front_server(NoArea::kError322) != nullptr ? front_dbcontinue(argc, argv) : false_value();
}
Var* dbreplace_statement(std::int32_t argc, Var** argv) {
  return scan("replace", argc, argv, 4, NoArea::kError322);
}
Var* dbdelete_statement(std::int32_t argc, Var** argv) {
  return scan("delete", argc, argv, 2, NoArea::kError322);
}
Var* dbrecall_statement(std::int32_t argc, Var** argv) {
  return scan("recall", argc, argv, 2, NoArea::kError322);
}
Var* dbcount_statement(std::int32_t argc, Var** argv) {
  return scan("count", argc, argv, 2, NoArea::kError322);
}
Var* dbsum_statement(std::int32_t argc, Var** argv) {
  return into_variables("sum", argc, argv);
}
Var* dbaverage_statement(std::int32_t argc, Var** argv) {
  return into_variables("average", argc, argv);
}

Var* dbserver(std::int32_t argc, Var** argv) {
  const bool current = argc < 1 || is_nil(argv[0]);
  Var* server = current ? current_server() : server_of(argv[0]);
  return server != nullptr ? ARG_VAR(server) : nil_value();
}

// Calls a method with the table of an area, which may be told as such, by its alias or number, as first argument.
static Var* call_with_table(Var* server, FrontMember method, std::int32_t argc, Var** argv) {
  const CellHold held(server);  // the look for the area commits, and a handler may close
  std::vector<Var*> passed(argv, argv + argc);
  if (arg_is(argc, argv, 0, "CMNFI")) {
    WorkArea* area = ogsSelect(argv[0], SelectMode::kRequire);
    if (area == nullptr) return false_value();
    passed[0] = area->server() != nullptr ? area->server() : nil_value();
  }
  return front_call(server, method, argc, passed.data());
}

Var* dbsetrelat(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kError322);
  return server != nullptr ? call_with_table(server, {"setrelation", kMethod}, argc, argv)
                           : false_value();
}
Var* dbclearrel(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kSilent);
  return server != nullptr ? call_with_table(server, {"clearrelation", kMethod}, argc, argv)
                           : false_value();
}

Var* dbrselect(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kSilent);
  if (server == nullptr) return int_zero();
  const Var* child = front_call(server, {"relationobject", kMethod}, argc, argv);
  const WorkArea* area = child->type == 'O' ? area_by_server(child) : nullptr;
  return area != nullptr ? TMP_INT(area->number) : int_zero();
}

}  // namespace tarnel
