#include "db/bulk_front.h"

#include <vector>

#include "core/errors.h"
#include "core/stacks.h"
#include "db/front.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

Var* statement(FrontMember member, std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kError322);
  return server != nullptr ? front_call(server, member, argc, argv) : false_value();
}

bool is_true(std::int32_t argc, Var** argv, std::int32_t i) {
  return arg_is(argc, argv, i, "L") && truth_of(argv[i]);
}
Var* argument(std::int32_t argc, Var** argv, std::int32_t i) {
  return i < argc && argv[i] != nullptr ? argv[i] : nil_value();
}

// A text on one side: in columns without a delimiter. Fields and scope are the arguments from `fields` on.
enum TextWork { kCopy, kAppend };
Var* text_statement(TextWork work, std::int32_t argc, Var** argv, std::int32_t file, Var* delimiter,
                    std::int32_t fields) {
  std::vector<Var*> passed = {argument(argc, argv, file),
                              delimiter != nullptr ? delimiter : empty_text()};
  for (std::int32_t i = fields; i < argc; ++i) passed.push_back(argument(argc, argv, i));
  const auto count = static_cast<std::int32_t>(passed.size());
  return work == kCopy ? statement({"copydelimited", kMethod}, count, passed.data())
                       : statement({"appenddelimited", kMethod}, count, passed.data());
}

}  // namespace

Var* dbappend_from(std::int32_t argc, Var** argv) {
  if (current_server() != nullptr) return statement({"appenddb", kMethod}, argc, argv);
  RT_ERROR(311, "in APPEND FROM");
  return false_value();
}
Var* dbcopy(std::int32_t argc, Var** argv) {
  return statement({"copydb", kMethod}, argc, argv);
}
Var* dbcopy_structure(std::int32_t argc, Var** argv) {
  return statement({"copystructure", kMethod}, argc, argv);
}
Var* dbjoin(std::int32_t argc, Var** argv) {
  return statement({"join", kMethod}, argc, argv);
}
Var* dbsort(std::int32_t argc, Var** argv) {
  return statement({"sort", kMethod}, argc, argv);
}
Var* dbtotal(std::int32_t argc, Var** argv) {
  return statement({"total", kMethod}, argc, argv);
}
Var* dbupdate(std::int32_t argc, Var** argv) {
  return statement({"update", kMethod}, argc, argv);
}
Var* dbcopy_text(std::int32_t argc, Var** argv) {
  return text_statement(kCopy, argc, argv, 0,
                        is_true(argc, argv, 1) ? nullptr : argument(argc, argv, 2), 3);
}
Var* dbcopy_sdf(std::int32_t argc, Var** argv) {
  return text_statement(kCopy, argc, argv, 0, nullptr, 1);
}
Var* dbcopy_delimited(std::int32_t argc, Var** argv) {
  return text_statement(kCopy, argc, argv, 0, argument(argc, argv, 1), 2);
}
Var* dbappend_text(std::int32_t argc, Var** argv) {
  return text_statement(kAppend, argc, argv, 0, argument(argc, argv, 1), 2);
}
Var* dbsdf(std::int32_t argc, Var** argv) {
  return text_statement(is_true(argc, argv, 0) ? kCopy : kAppend, argc, argv, 1, nullptr, 2);
}
Var* dbdelimited(std::int32_t argc, Var** argv) {
  return text_statement(is_true(argc, argv, 0) ? kCopy : kAppend, argc, argv, 1,
                        argument(argc, argv, 2), 3);
}

Var* dbpack(std::int32_t, Var**) {
  return statement({"pack", kMethod}, 0, nullptr);
}
Var* dbzap(std::int32_t, Var**) {
  return statement({"zap", kMethod}, 0, nullptr);
}

Var* dbzappack(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, "O")) {
    RT_ERROR(312, "in __DBZAPPAC()");
    return false_value();
  }
  const bool pack = arg_is(argc, argv, 1, "L") && truth_of(argv[1]);
  return front_call(argv[0], pack ? "pack" : "zap", kMethod, 0, nullptr);
}

}  // namespace tarnel
