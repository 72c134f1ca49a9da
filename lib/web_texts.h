// Texts that go into pages and addresses, and come out of them. Nothing that htmlesc() gives ends a text or an
// attribute in quotes; nothing that urlenc() gives ends a part of an address.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define WEB_TEXT_BUILTINS(X)                                                                      \
  X("cookiepairs", cookiepairs,                                                                   \
    "cookiepairs(cHeader) -> aPairs: {name, value} of each cookie of HTTP_COOKIE",                \
    "cookiepairs('a=1; b=x%20y')[2][2] ==> x y")                                                  \
  X("cookieset", cookieset,                                                                       \
    "cookieset(cName, cValue, [nSeconds], [cPath], [lSecure]) -> cHeader: the header line that "  \
    "sets a cookie, for so long or as long as the browser runs",                                  \
    "cookieset('a', '1', 60) ==> Set-Cookie: a=1; Path=/; Max-Age=60; HttpOnly; SameSite=Lax")    \
  X("htmlesc", htmlesc,                                                                           \
    "htmlesc(cText) -> cHtml: a text as it stands in HTML, also in an attribute",                 \
    "htmlesc('<a & b>') ==> &lt;a &amp; b&gt;")                                                   \
  X("htmlunesc", htmlunesc,                                                                       \
    "htmlunesc(cHtml) -> cText: the five characters that htmlesc() writes as names, and numbers " \
    "up to 127",                                                                                  \
    "htmlunesc(htmlesc('<a & b>')) ==> <a & b>")                                                  \
  X("querypairs", querypairs,                                                                     \
    "querypairs(cQuery) -> aPairs: {name, value} of each field of a query, as in aForm",          \
    "querypairs('name=x+y')[1][2] ==> x y")                                                       \
  X("urldec", urldec,                                                                             \
    "urldec(cUrl) -> cText: plus signs and escapes as the characters that they stand for",        \
    "urldec('x+y%21') ==> x y!")                                                                  \
  X("urlenc", urlenc, "urlenc(cText) -> cUrl: a text as a part of an address",                    \
    "urlenc('x y!') ==> x%20y%21")

WEB_TEXT_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kWebTextBuiltins[] = {WEB_TEXT_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kWebTextsModule{
    .name = "webtexts", .subject = "Pages", .functions = kWebTextBuiltins};

}  // namespace tarnel
