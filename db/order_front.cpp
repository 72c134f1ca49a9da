#include "db/order_front.h"

#include "core/text.h"
#include "db/front.h"
#include "db/info_codes.h"

namespace tarnel {

using namespace order_info;

namespace {

constexpr std::int32_t kMostConditions = 11;

Var* argument(std::int32_t argc, Var** argv, std::int32_t i) {
  return i < argc && argv[i] != nullptr ? argv[i] : nil_value();
}

// The first two arguments name the order.
Var* ask(std::int32_t code, std::int32_t argc, Var** argv, Var* without_area) {
  Var* server = front_server(NoArea::kSilent);
  if (server == nullptr) return without_area;
  Var* passed[] = {TMP_INT(code), argument(argc, argv, 0), argument(argc, argv, 1)};
  return front_call(server, {"orderinfo", kMethod}, 3, passed);
}

// The number of the order of a name; 0 when there is none, which must not be taken for the controlling one.
std::int32_t order_number(Var* server, Var* name) {
  const auto base = [](std::string_view file) {
    file = base_name(file);
    return file.substr(0, file.rfind('.'));
  };
  Var* number = ask(kOrderNumber, 1, &name, int_zero());
  Var* passed[] = {TMP_INT(kName), number};
  const Var* found = front_call(server, {"orderinfo", kMethod}, 2, passed);
  return is_text(found) && text_of(found) == base(text_of(name)) ? integer_of(number) : 0;
}

}  // namespace

Var* dborderinfo(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kSilent);
  if (server == nullptr || !arg_is(argc, argv, 0, "NFI")) return nil_value();
  const bool stores = integer_of(argv[0]) == kBagExtension && argc > 3;
  Var* passed[] = {argv[0], argument(argc, argv, stores ? 3 : 2), argument(argc, argv, 1)};
  return front_call(server, {"orderinfo", kMethod}, 3, passed);
}

Var* dbreindex(std::int32_t argc, Var** argv) {
  return front_ordlistreb(argc, argv);
}

Var* dbsetorder(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kError322);
  if (server == nullptr) return empty_text();
  return front_call(server, {"setorder", kMethod}, argc > 0 ? 1 : 0, argv);
}

Var* ordsetfocus(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kSilent);
  if (server == nullptr) return empty_text();
  Var* former = ask(kName, 0, nullptr, empty_text());
  if (!arg_is(argc, argv, 0, "NFIC")) return former;
  Var* number = argv[0];
  if (number->type == 'C') {
    if (text_of(number).empty()) return former;
    number = TMP_INT(order_number(server, argv[0]));
    if (number->i == 0) return former;
  }
  front_call(server, {"setorder", kMethod}, 1, &number);
  return former;
}

Var* ordnumber(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kSilent);
  if (server == nullptr) return int_zero();
  if (arg_is(argc, argv, 0, "CM")) return TMP_INT(order_number(server, argv[0]));
  const std::int32_t number = integer_of(ask(kOrderNumber, argc, argv, int_zero()));
  const bool other = arg_is(argc, argv, 0, "NFI") && integer_of(argv[0]) != number;
  return other || number < 0 ? int_zero() : TMP_INT(number);
}

Var* ordkeygoto(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kSilent);
  if (server == nullptr || !arg_is(argc, argv, 0, "NFI")) return false_value();
  const std::int32_t wanted = integer_of(argv[0]);
  if (wanted < 1 || wanted > integer_of(front_lastrec(0, nullptr))) return false_value();
  const CellHold held(server);  // a filter may close the area
  front_call(server, {"gotop", kMethod}, 0, nullptr);
  Var* further = TMP_INT(wanted - 1);
  if (wanted > 1) front_call(server, {"skip", kMethod}, 1, &further);
  return logical(!truth_of(front_eof(0, nullptr)));
}

Var* ordcondset(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kError322);
  if (server == nullptr) return false_value();
  return front_call(server, {"setordercondition", kMethod},
                    argc < kMostConditions ? argc : kMostConditions, argv);
}

Var* ordkeycount(std::int32_t argc, Var** argv) {
  return ask(kKeyCount, argc, argv, int_zero());
}
Var* ordkeyno(std::int32_t argc, Var** argv) {
  return ask(kPosition, argc, argv, int_zero());
}
Var* ordkeyval(std::int32_t, Var**) {
  return ask(kKeyValue, 0, nullptr, nil_value());
}
Var* orddescend(std::int32_t argc, Var** argv) {
  return ask(kDescending, argc, argv, false_value());
}
Var* ordisunique(std::int32_t argc, Var** argv) {
  return ask(kUnique, argc, argv, false_value());
}
Var* ordfor(std::int32_t argc, Var** argv) {
  return ask(kCondition, argc, argv, empty_text());
}
Var* ordkey(std::int32_t argc, Var** argv) {
  return ask(kExpression, argc, argv, empty_text());
}
Var* ordname(std::int32_t argc, Var** argv) {
  return ask(kName, argc, argv, empty_text());
}
Var* ordbagname(std::int32_t argc, Var** argv) {
  return ask(kName, argc, argv, empty_text());
}

}  // namespace tarnel
