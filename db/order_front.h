// The front functions of orders: the questions about one and the choice among them. An order is
// named by its number or its file; without a name the controlling one is meant.
#pragma once

#include <cstdint>

#include "core/modules.h"

namespace tarnel {

#define ORDER_BUILTINS(X)                                                                          \
  X("dborderinf", dborderinfo,                                                                     \
    "dborderinfo(nWhat, [cFile], [xOrder], [xNew]) -> xInfo: what there is to ask about an "       \
    "order",                                                                                       \
    "dborderinfo(2, , 1) ==> name")                                                                \
  X("dbreindex", dbreindex, "dbreindex() -> lDone: builds all orders anew",                        \
    "{dbusearea(.F., , 'towns', , .F.), dbsetindex('towns'), dbreindex()}[3] ==> .T.")             \
  X("dbsetorder", dbsetorder,                                                                      \
    "dbsetorder(nOrder) -> cOld: makes an order the controlling one, 0 none",                      \
    "{dbsetorder(1), indexord()}[2] ==> 1")                                                        \
  X("ordbagname", ordbagname,                                                                      \
    "ordbagname([xOrder]) -> cName: file of an order, without "                                    \
    "directory and extension",                                                                     \
    "ordbagname(1) ==> towns")                                                                     \
  X("ordcondset", ordcondset,                                                                      \
    "ordcondset([cFor], [bFor], [lAll], [bWhile], [bEval], [nEvery], [nStart], [nNext], "          \
    "[nRecord], [lRest], [lDescend]) -> lDone: sets the condition of the next order created",      \
    "{ordcondset('people > 50'), ordcreate('big', , 'name'), ordkeycount()}[3] ==> 2")             \
  X("orddescend", orddescend,                                                                      \
    "orddescend([xOrder], [cFile]) -> lDescending: does an order run "                             \
    "backwards",                                                                                   \
    "orddescend(1) ==> .F.")                                                                       \
  X("ordfor", ordfor, "ordfor([xOrder], [cFile]) -> cFor: condition of an order",                  \
    "empty(ordfor(1)) ==> .T.")                                                                    \
  X("ordisuniqu", ordisunique,                                                                     \
    "ordisunique([xOrder], [cFile]) -> lUnique: does an order keep one key of equal ones",         \
    "ordisunique(1) ==> .F.")                                                                      \
  X("ordkey", ordkey, "ordkey([xOrder], [cFile]) -> cKey: key expression of an order",             \
    "ordkey(1) ==> name")                                                                          \
  X("ordkeycoun", ordkeycount,                                                                     \
    "ordkeycount([xOrder], [cFile]) -> nKeys: number of keys in an order", "ordkeycount(1) ==> 3") \
  X("ordkeygoto", ordkeygoto,                                                                      \
    "ordkeygoto(nKey) -> lDone: goes to a record by its place in the controlling order",           \
    "{ordkeygoto(2), name}[2] ==> Lund")                                                           \
  X("ordkeyno", ordkeyno,                                                                          \
    "ordkeyno([xOrder], [cFile]) -> nRecord: record of the key under the cursor, -1 none",         \
    "{ordsetfocus(1), ordkeyno()}[2] ==> 1")                                                       \
  X("ordkeyval", ordkeyval, "ordkeyval() -> xKey: key under the cursor",                           \
    "{ordsetfocus(1), ordkeyval()}[2] ==> Kiruna")                                                 \
  X("ordname", ordname, "ordname([nOrder], [cFile]) -> cName: name of an order",                   \
    "ordname(1) ==> towns")                                                                        \
  X("ordnumber", ordnumber,                                                                        \
    "ordnumber([xOrder], [cFile]) -> nOrder: number of an order, 0 when there is none",            \
    "ordnumber('towns') ==> 1")                                                                    \
  X("ordsetfocu", ordsetfocus,                                                                     \
    "ordsetfocus([xOrder], [cFile]) -> cOld: makes an order the controlling one; the name of "     \
    "the former",                                                                                  \
    "{ordsetfocus('towns'), indexord()}[2] ==> 1")

ORDER_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kOrderBuiltins[] = {ORDER_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kOrderModule{
    .name = "bborder", .subject = "Orders", .functions = kOrderBuiltins};

}  // namespace tarnel
