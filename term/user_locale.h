// The user's characters. The runtime has the letters of the C locale always, so that orders don't depend on
// who built them; libraries that read or write a terminal need those of the user.
#pragma once

#include <locale.h>

namespace tarnel {

// While one lives the character types are the user's.
class UserLocale {
 public:
  UserLocale() : former_(uselocale(users())) {}
  ~UserLocale() { uselocale(former_); }
  UserLocale(const UserLocale&) = delete;
  UserLocale& operator=(const UserLocale&) = delete;

 private:
  // 0, which changes nothing, where the environment names no locale that is there.
  static locale_t users() {
    static const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
    return locale;
  }
  const locale_t former_;
};

}  // namespace tarnel
