// Tokens that tell forms of this site from those that another one sends in a visitor's name. A visitor has a cookie of
// chance; the token is its signature under a secret of the site, which lies in the folder of the tables.
#pragma once

#include <string>
#include <string_view>

#include "core/var.h"

namespace tarnel {

// Where the secret lies.
void set_secret_folder(std::string folder);

// Gives a visitor without a cookie one. REQUIRES: the header isn't out.
void welcome_visitor();
// Has the visitor a cookie, so that a token needs no header line?
bool has_visitor();
// His token, "" when there is no secret and none can be made. A visitor without a cookie gets one.
// REQUIRES: has_visitor() or the header isn't out.
std::string visitor_token();
bool is_visitor_token(std::string_view token);

// --- What page_functions.cpp knows of the request.
bool request_is_secure();  // over HTTPS
std::string request_cookie(std::string_view name);
// False when the name is none. `seconds` may be NIL. REQUIRES: the header isn't out.
[[nodiscard]] bool set_cookie(std::string_view name, std::string_view value, Var* seconds);

}  // namespace tarnel
