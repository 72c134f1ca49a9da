// The front functions of orders: the questions about one and the choice among them. An order is
// named by its number or its file; without a name the controlling one is meant.
#pragma once

#include <cstdint>

#include "core/modules.h"

namespace tarnel {

#define ORDER_BUILTINS(X)                                                                      \
  X("dborderinf", dborderinfo,                                                                 \
    "dborderinfo(nWhat, [cFile], [xOrder], [xNew]) -> xInfo: what there is to ask about an "   \
    "order")                                                                                   \
  X("dbreindex", dbreindex, "dbreindex() -> lDone: builds all orders anew")                    \
  X("dbsetorder", dbsetorder,                                                                  \
    "dbsetorder(nOrder) -> cOld: makes an order the controlling one, 0 none")                  \
  X("ordbagname", ordbagname,                                                                  \
    "ordbagname([xOrder]) -> cName: file of an order, without "                                \
    "directory and extension")                                                                 \
  X("ordcondset", ordcondset,                                                                  \
    "ordcondset([cFor], [bFor], [lAll], [bWhile], [bEval], [nEvery], [nStart], [nNext], "      \
    "[nRecord], [lRest], [lDescend]) -> lDone: sets the condition of the next order created")  \
  X("orddescend", orddescend,                                                                  \
    "orddescend([xOrder], [cFile]) -> lDescending: does an order run "                         \
    "backwards")                                                                               \
  X("ordfor", ordfor, "ordfor([xOrder], [cFile]) -> cFor: condition of an order")              \
  X("ordisuniqu", ordisunique,                                                                 \
    "ordisunique([xOrder], [cFile]) -> lUnique: does an order keep one key of equal ones")     \
  X("ordkey", ordkey, "ordkey([xOrder], [cFile]) -> cKey: key expression of an order")         \
  X("ordkeycoun", ordkeycount,                                                                 \
    "ordkeycount([xOrder], [cFile]) -> nKeys: number of keys in an order")                     \
  X("ordkeyno", ordkeyno,                                                                      \
    "ordkeyno([xOrder], [cFile]) -> nRecord: record of the key under the cursor, -1 none")     \
  X("ordkeyval", ordkeyval, "ordkeyval() -> xKey: key under the cursor")                       \
  X("ordname", ordname, "ordname([nOrder], [cFile]) -> cName: name of an order")               \
  X("ordsetfocu", ordsetfocus,                                                                 \
    "ordsetfocus([xOrder], [cFile]) -> cOld: makes an order the controlling one; the name of " \
    "the former")

ORDER_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kOrderBuiltins[] = {ORDER_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kOrderModule{.name = "bborder", .functions = kOrderBuiltins};

}  // namespace tarnel
