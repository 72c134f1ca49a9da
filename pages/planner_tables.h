// The tables of the planner's page with the order files that it opens, in the order of opening.
#pragma once

namespace tarnel {

struct PlannerTable {
  const char* name;
  const char* orders[3];
};
// No order builds the file stop3: where it is missing, the page ends at its opening.
inline constexpr PlannerTable kPlannerTables[] = {
    {"stop", {"stop1", "stop2", "stop3"}},        {"route", {"route1", nullptr, nullptr}},
    {"rtstop", {"rtstop1", nullptr, nullptr}},    {"trx", {"trx1", nullptr, nullptr}},
    {"stoptime", {"stoptim1", nullptr, nullptr}},
};

}  // namespace tarnel
