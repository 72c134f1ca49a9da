#include "lib/strings_search.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "lib/arguments.h"
#include "lib/national.h"

namespace tarnel {
namespace {

constexpr auto kNone = std::string_view::npos;
constexpr std::int32_t kDefaultCount = 65534;

// strtran goes by the terminator: what stands behind a NUL does not count.
std::string_view terminated(std::string_view text) {
  return text.substr(0, text.find('\0'));
}

// Copies of the first two arguments in capital letters, as the language has them.
struct Capitals {
  std::string search, text;
  Capitals(std::int32_t argc, Var** argv)
      : search(text_argument(argc, argv, 0)), text(text_argument(argc, argv, 1)) {
    upper_bytes(search.data(), search.size());
    upper_bytes(text.data(), text.size());
  }
};

std::size_t start_argument(std::int32_t argc, Var** argv) {
  return static_cast<std::size_t>(std::max(int_argument(argc, argv, 2, 1), 1)) - 1;
}

Var* position(std::size_t found) {
  return found == kNone ? int_zero() : TMP_INT(static_cast<std::int32_t>(found) + 1);
}

struct Replacement {
  std::string_view text, search, replace;
  std::size_t first;   // position of the first occurrence to replace
  std::int32_t count;  // occurrences to replace
};

// Finds the first occurrence to replace and counts the others; false when there is none.
bool measure(Replacement& r, std::int32_t start, std::int32_t limit) {
  std::size_t at = find_text(r.text, r.search, 0);
  for (std::int32_t n = 1; n < start && at != kNone; ++n)
    at = find_text(r.text, r.search, at + r.search.size());
  if (at == kNone) return false;
  r.first = at;
  for (r.count = 1; r.count < limit; ++r.count) {
    at = find_text(r.text, r.search, at + r.search.size());
    if (at == kNone) break;
  }
  return true;
}

Var* replace_measured(const Replacement& r) {
  const auto gone = static_cast<std::int64_t>(r.search.size());
  const auto come = static_cast<std::int64_t>(r.replace.size());
  Var* result = TMP_BUFFER(static_cast<std::int64_t>(r.text.size()) + r.count * (come - gone));
  if (is_error(result)) return result;
  char* out = result->text;
  std::size_t done = 0, at = r.first;
  for (std::int32_t n = r.count;;) {
    std::memcpy(out, r.text.data() + done, at - done);
    out += at - done;
    std::memcpy(out, r.replace.data(), r.replace.size());
    out += r.replace.size();
    done = at + r.search.size();
    if (--n == 0) break;
    at = find_text(r.text, r.search, done);
  }
  std::copy_n(r.text.data() + done, r.text.size() - done, out);
  return result;
}

}  // namespace

// Looking for the first byte is the fastest way while few places
// that begin alike turn out wrong; memmem is the one whose time never grows out of proportion.
std::size_t find_text(std::string_view text, std::string_view pattern, std::size_t from) {
  constexpr std::size_t kPatience = 64, kBytesPerMiss = 32;
  if (pattern.empty() || from > text.size() || pattern.size() > text.size() - from) return kNone;
  const char* at = text.data() + from;
  const char* const end = text.data() + text.size() - pattern.size() + 1;
  for (std::size_t misses = 1;; ++misses) {
    at = static_cast<const char*>(std::memchr(at, pattern[0], static_cast<std::size_t>(end - at)));
    if (at == nullptr) return kNone;
    if (std::memcmp(at + 1, pattern.data() + 1, pattern.size() - 1) == 0) break;
    ++at;
    const auto gone = static_cast<std::size_t>(at - text.data()) - from;
    if (misses < kPatience || misses * kBytesPerMiss < gone) continue;
    at = static_cast<const char*>(
        memmem(at, text.size() - from - gone, pattern.data(), pattern.size()));
    if (at == nullptr) return kNone;
    break;
  }
  return static_cast<std::size_t>(at - text.data());
}

Var* at(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kText) || !arg_is(argc, argv, 1, kText)) return int_zero();
  return position(find_text(text_of(argv[1]), text_of(argv[0]), start_argument(argc, argv)));
}

Var* ati(std::int32_t argc, Var** argv) {
  const Capitals in(argc, argv);
  return position(find_text(in.text, in.search, start_argument(argc, argv)));
}

Var* rati(std::int32_t argc, Var** argv) {
  const Capitals in(argc, argv);
  return position(in.search.empty() ? kNone : in.text.rfind(in.search));
}

Var* atnum(std::int32_t argc, Var** argv) {
  const auto search = text_argument(argc, argv, 0), text = text_argument(argc, argv, 1);
  const std::int32_t which = int_argument(argc, argv, 2, 0);
  if (which < 0) return int_zero();
  if (which == 0) return position(search.empty() ? kNone : text.rfind(search));
  std::size_t found = find_text(text, search, 0);
  for (std::int32_t n = 1; n < which && found != kNone; ++n)
    found = find_text(text, search, found + search.size());
  return position(found);
}

Var* startswith(std::int32_t argc, Var** argv) {
  return logical(arg_is(argc, argv, 0, kText) && arg_is(argc, argv, 1, kText) &&
                 text_of(argv[0]).starts_with(text_of(argv[1])));
}

Var* endswith(std::int32_t argc, Var** argv) {
  return logical(arg_is(argc, argv, 0, kText) && arg_is(argc, argv, 1, kText) &&
                 text_of(argv[0]).ends_with(text_of(argv[1])));
}

Var* rat(std::int32_t argc, Var** argv) {
  if (argc != 2 || !arg_is(argc, argv, 0, kText) || !arg_is(argc, argv, 1, kText))
    return num_zero();
  const auto search = text_of(argv[0]);
  return position(search.empty() ? kNone : text_of(argv[1]).rfind(search));
}

Var* strtran(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kText) || !arg_is(argc, argv, 1, kText)) return error_value();
  const std::int32_t start = int_argument(argc, argv, 3, 1);
  const std::int32_t count = std::max(int_argument(argc, argv, 4, kDefaultCount), 1);
  Replacement r{terminated(text_of(argv[0])), terminated(text_of(argv[1])),
                terminated(text_argument(argc, argv, 2)), 0, 0};
  if (start < 1 || !measure(r, start, count)) return TMP_TEXT(text_of(argv[0]));
  return replace_measured(r);
}

}  // namespace tarnel
