// What pages call: the fields of their request, the header of their answer, and the values that `<%= %>` shows.
#pragma once

#include "core/modules.h"

namespace tarnel {

#define PAGE_BUILTINS(X)                                                                          \
  X("__tnraw", tn_raw, nullptr)                                                                   \
  X("__tnshow", tn_show, nullptr)                                                                 \
  X("tncheck", tncheck,                                                                           \
    "tncheck(aForm) -> lGood: does the form have the token of this visitor in its field tntoken", \
    "tncheck({{'tntoken', 'guessed'}}) ==> .F.")                                                  \
  X("tncookie", tncookie,                                                                         \
    "tncookie(cName, [cValue], [nDays]) -> cValue: the value of a cookie of the request; with a " \
    "value it sets one for so many days, or as long as the browser runs",                         \
    "tncookie('no') ==> ")                                                                        \
  X("tnform", tnform,                                                                             \
    "tnform(aForm, cName, [xDefault]) -> xValue: a field of a form without regard to case; of a " \
    "repeated one all its values in an array",                                                    \
    "tnform({{'NAME', 'Ada'}}, 'name') ==> Ada")                                                  \
  X("tnheader", tnheader,                                                                         \
    "tnheader(cName, cValue): a line of the header, before the first output",                     \
    "tnheader('Content-type', 'text/csv') ==> .T.")                                               \
  X("tnmethod", tnmethod, "tnmethod() -> cMethod: GET, POST ..., in capitals",                    \
    "tnmethod() ==> GET")                                                                         \
  X("tnquery", tnquery,                                                                           \
    "tnquery(cName, [xDefault]) -> xValue: a field of the query string, as tnform() gives it",    \
    "tnquery('no', 'nothing') ==> nothing")                                                       \
  X("tnredirect", tnredirect,                                                                     \
    "tnredirect(cUrl, [nStatus]): sends the browser to another address, 303 or 301, 302, 307, "   \
    "308",                                                                                        \
    "tnredirect('/list.tnp') ==> .T.")                                                            \
  X("tnstatus", tnstatus,                                                                         \
    "tnstatus(nStatus, [cWords]): the status of the answer, from 200 to 599",                     \
    "tnstatus(404) ==> .T.")                                                                      \
  X("tntoken", tntoken,                                                                           \
    "tntoken() -> cToken: for a field tntoken of a form, so that tncheck() knows it as one of "   \
    "this site",                                                                                  \
    "len(tntoken()) ==> 64")

PAGE_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kPageBuiltins[] = {PAGE_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kPageFunctionsModule{
    .name = "tnpagefunc", .subject = "Pages that are files", .functions = kPageBuiltins};

}  // namespace tarnel
