#include "webpage/page_functions.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

#include "core/arrays.h"
#include "core/errors.h"
#include "core/frame.h"
#include "core/text.h"
#include "frontend/escaped_toolkit.h"
#include "lib/arguments.h"
#include "lib/date_functions.h"
#include "lib/number_text.h"
#include "lib/strings.h"
#include "lib/value_text.h"
#include "lib/web_texts.h"
#include "webpage/page_answer.h"
#include "webpage/page_token.h"

namespace tarnel {
namespace {

constexpr int kSeeOther = 303;
constexpr double kSecondsADay = 24 * 60 * 60;
constexpr std::string_view kTokenField = "tntoken";

std::string_view variable(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

Var* refuse(std::string_view words) {
  RT_ERROR(320, words);
  return false_value();
}

// Of pairs {name, value} those of a name; what isn't one is passed over.
Var* find_field(Var* pairs, std::string_view name, Var* otherwise) {
  Var* found = nullptr;
  for (std::int32_t i = 1; i <= element_count(pairs); ++i) {
    Var* const pair = element(pairs, i);
    if (pair->type != 'A' || element_count(pair) < 2 || !is_text(element(pair, 1)) ||
        !same_letters(text_of(element(pair, 1)), name))
      continue;
    Var* const value = element(pair, 2);
    if (found == nullptr) {
      found = value;
      continue;
    }
    if (found->type != 'A') found = cscrearr(NEW_TEMP(), 1, kCopyValues, {found});
    CALL_SIMPLE(aadd, found, value);
  }
  return found != nullptr ? found : otherwise;
}

Var* default_argument(std::int32_t argc, Var** argv, std::int32_t i) {
  return argc > i && !is_nil(argv[i]) ? argv[i] : empty_text();
}

// The text that stands for a value in a page, null for one that has none.
Var* shown(std::int32_t argc, Var** argv) {
  Var* const value = argc > 0 ? argv[0] : nil_value();
  if (is_nil(value) || is_error(value)) return empty_text();
  if (is_text(value)) return value;
  switch (value->type) {
    case 'N':
    case 'F':
    case 'I':
      return CALL_SIMPLE(alltrim, CALL_SIMPLE(str, value));
    case 'D':
      return CALL_SIMPLE(dtoc, value);
    case 'L':
      return TMP_STR(truth_of(value) ? ".T." : ".F.");
    default:
      RT_ERROR(203, "<%= %> shows texts, numbers, dates and logicals");
      return nullptr;
  }
}

// What tells the header of answers; after the first output nothing can.
bool may_change_header(std::string_view who) {
  if (!header_is_out()) return true;
  refuse(std::string(who) + ": the page has begun, so its header has gone out");
  return false;
}

}  // namespace

bool request_is_secure() {
  const std::string_view https = variable("HTTPS");
  return (!https.empty() && !same_letters(https, "off")) || variable("REQUEST_SCHEME") == "https";
}

std::string request_cookie(std::string_view name) {
  Var* const pairs = CALL_SIMPLE(cookiepairs, TMP_TEXT(variable("HTTP_COOKIE")));
  for (std::int32_t i = 1; i <= element_count(pairs); ++i)
    if (text_of(element(element(pairs, i), 1)) == name)
      return std::string(text_of(element(element(pairs, i), 2)));
  return {};
}

bool set_cookie(std::string_view name, std::string_view value, Var* seconds) {
  Var* const line = CALL_SIMPLE(cookieset, TMP_TEXT(name), TMP_TEXT(value), seconds, TMP_STR("/"),
                                TMP_LOG(request_is_secure()));
  const std::string_view header = text_of(line);
  const std::size_t colon = header.find(": ");
  if (colon == std::string_view::npos) return false;
  set_answer_header(header.substr(0, colon), header.substr(colon + 2));
  return true;
}

// --- The request.

Var* tnform(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, "A") || !arg_is(argc, argv, 1, kText))
    return RT_ERROR(312, "in TNFORM()");
  return find_field(argv[0], text_of(argv[1]), default_argument(argc, argv, 2));
}

Var* tnquery(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kText)) return RT_ERROR(312, "in TNQUERY()");
  return find_field(CALL_SIMPLE(querypairs, TMP_TEXT(variable("QUERY_STRING"))), text_of(argv[0]),
                    default_argument(argc, argv, 1));
}

Var* tnmethod(std::int32_t, Var**) {
  const std::string_view method = variable("REQUEST_METHOD");
  return TMP_TEXT(method.empty() ? "GET" : upper_text(method));
}

// --- The answer.

Var* tnheader(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kText) || !arg_is(argc, argv, 1, kText))
    return RT_ERROR(312, "in TNHEADER()");
  const std::string_view name = text_of(argv[0]), value = text_of(argv[1]);
  if (!may_change_header("TNHEADER")) return false_value();
  if (!is_header_name(name)) return refuse("TNHEADER: this is no name of a header line");
  if (!is_header_value(value)) return refuse("TNHEADER: control characters in a header line");
  constexpr std::string_view kOfTheServer[] = {"status", "content-length", "transfer-encoding"};
  if (std::ranges::any_of(kOfTheServer, [&](auto own) { return same_letters(name, own); }))
    return refuse("TNHEADER: tnstatus() sets the status, the server tells the length");
  set_answer_header(name, value);
  return true_value();
}

Var* tnstatus(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kNumber)) return RT_ERROR(312, "in TNSTATUS()");
  const double status = number_of(argv[0]);
  const std::string_view words = text_argument(argc, argv, 1);
  if (!may_change_header("TNSTATUS")) return false_value();
  if (status != std::floor(status) || status < 200 || status > 599)
    return refuse("TNSTATUS: from 200 to 599");
  if (!is_header_value(words)) return refuse("TNSTATUS: control characters in the words");
  set_answer_status(static_cast<int>(status), words);
  return true_value();
}

Var* tnredirect(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kText)) return RT_ERROR(312, "in TNREDIRECT()");
  const std::string_view address = text_of(argv[0]);
  const std::int32_t status = int_argument(argc, argv, 1, kSeeOther);
  if (!may_change_header("TNREDIRECT")) return false_value();
  constexpr std::int32_t kElsewhere[] = {301, 302, 303, 307, 308};
  if (std::ranges::find(kElsewhere, status) == std::end(kElsewhere))
    return refuse("TNREDIRECT: 301, 302, 303, 307 or 308");
  if (address.empty() || !is_header_value(address)) return refuse("TNREDIRECT: this is no address");
  set_answer_status(status);
  set_answer_header("Location", address);
  return true_value();
}

Var* tncookie(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kText) || text_of(argv[0]).empty())
    return RT_ERROR(312, "in TNCOOKIE()");
  if (argc < 2 || is_nil(argv[1])) return TMP_TEXT(request_cookie(text_of(argv[0])));
  if (!arg_is(argc, argv, 1, kText)) return RT_ERROR(312, "in TNCOOKIE()");
  if (!may_change_header("TNCOOKIE")) return empty_text();
  const bool lasts = arg_is(argc, argv, 2, kNumeric);
  Var* const seconds = lasts ? TMP_NUM(number_of(argv[2]) * kSecondsADay, 0) : nil_value();
  return set_cookie(text_of(argv[0]), text_of(argv[1]), seconds) ? argv[1] : empty_text();
}

// --- Forms of this site.

Var* tntoken(std::int32_t, Var**) {
  if (!has_visitor() && !may_change_header("TNTOKEN")) return empty_text();
  const std::string token = visitor_token();
  if (token.empty()) RT_ERROR(104, "TNTOKEN: the secret in the folder of tables");
  return TMP_TEXT(token);
}

Var* tncheck(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, "A")) return RT_ERROR(312, "in TNCHECK()");
  const Var* const sent = find_field(argv[0], kTokenField, empty_text());
  return logical(is_text(sent) && is_visitor_token(text_of(sent)));
}

// --- Values in a page.

Var* tn_show(std::int32_t argc, Var** argv) {
  Var* const text = shown(argc, argv);
  return text == nullptr ? nil_value() : CALL_SIMPLE(qqout, TMP_TEXT(html_escaped(text_of(text))));
}

Var* tn_raw(std::int32_t argc, Var** argv) {
  Var* const text = shown(argc, argv);
  return text == nullptr ? nil_value() : CALL_SIMPLE(qqout, text);
}

}  // namespace tarnel
