// The demo pages: the dispatcher, and one procedure a page with the arguments aEnv, aForm and
// oState.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

// The link of a page: "/cgi-bin/example0/example3" for 3.
Var* page_link(std::int32_t page);

#define PAGE_BUILTINS(X)                                                                      \
  X("asstring", asstring, "asstring(xValue) -> cText: a field's value as text")               \
  X("balance", balance, "balance(cAccount): writes the account with that number")             \
  X("closestop", closestop, "closestop(nX, nY) -> cStop: the stop nearest to a point")        \
  X("example0", example0, "example0(aEnv, aForm): the index page")                            \
  X("example1", example1, "example1(aEnv, aForm): environment and form")                      \
  X("example2", example2, "example2(aEnv, aForm): registration")                              \
  X("example3", example3, "example3(aEnv, aForm): looks an account up")                       \
  X("example4", example4, "example4(aEnv, aForm): list of links")                             \
  X("example5", example5, "example5(aEnv, aForm, oState): route planner")                     \
  X("example6", example6, "example6(aEnv, aForm): table browser")                             \
  X("exlink", exlink, "exlink(nPage) -> cLink: address of a page")                            \
  X("istransfer", istransfer,                                                                 \
    "istransfer(cFrom, cTo) -> lFound: is there a transfer between two routes")               \
  X("linesbystop", linesbysto, "linesbystop(cStop) -> aRoutes: the routes of a stop")         \
  X("nameline", nameline, "nameline(cRoute) -> cName: name of a route")                       \
  X("namestop", namestop, "namestop(cStop) -> cName: name of a stop")                         \
  X("ntrim", ntrim, "ntrim(nValue) -> cText: number without blanks")                          \
  X("picklist", picklist, "picklist(): writes the links")                                     \
  X("regform", regform, "regform(aForm): adds an account")                                    \
  X("reindex", reindex_planner, "reindex(): builds the planner's orders anew")                \
  X("showroutes", showroutes,                                                                 \
    "showroutes(aFrom, aTo, cTime): writes the ways between two lists of routes")             \
  X("state0", state0, "state0(aEnv, aForm, oState): the planner's first step")                \
  X("state1", state1, "state1(aEnv, aForm, oState): the planner's answer")                    \
  X("tarnelmain", tarnelmain, "tarnelmain(aEnv, aForm, oState): answers a request by a page") \
  X("thisurl", thisurl, "thisurl(aEnv) -> cUrl: address of the running request")

PAGE_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kPageBuiltins[] = {PAGE_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kPagesModule{.name = "pages", .functions = kPageBuiltins};

}  // namespace tarnel
