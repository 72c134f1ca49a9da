// Values as JSON and back.
//
//     JSON          value
//     object        array of pairs {name, value}
//     array         array
//     text          text in UTF-8
//     number        number, with as many decimals as are written
//     true, false   logical
//     null          NIL
//
// The other way an array whose elements are all pairs that begin with a text is an object, a date the text
// "2024-01-31". A text that is no UTF-8 is read as that of a table that tells no set, with the customary PC page where
// it is none; of other sets toutf8() makes UTF-8. An empty array is [], whatever it came from. At most 100 levels.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define JSON_BUILTINS(X)                                                                      \
  X("fromjson", fromjson,                                                                     \
    "fromjson(cJson) -> xValue: the value of a text in JSON, objects as arrays of pairs",     \
    "fromjson('{\"a\": [1, 2]}')[1][2][2] ==> 2")                                             \
  X("tojson", tojson, "tojson(xValue) -> cJson: a value in JSON, arrays of pairs as objects", \
    "tojson({{'a', 1}, {'b', {.T., NIL}}}) ==> {\"a\":1,\"b\":[true,null]}")

JSON_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kJsonBuiltins[] = {JSON_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kJsonModule{
    .name = "json", .subject = "Pages", .functions = kJsonBuiltins};

}  // namespace tarnel
