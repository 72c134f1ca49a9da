// The name of an account. A static program must not ask the name service itself: it would load modules
// of another C library than its own.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>

namespace tarnel {

struct AccountSources {
  const char* file = "/etc/passwd";
  const char* program[2] = {"/usr/bin/getent", "/bin/getent"};  // the first that is there is asked
  std::chrono::milliseconds patience{1000};
};

// The name in the password file, else the one that the program tells in time, else the number.
std::string account_name(uid_t uid, const AccountSources& sources = {});

}  // namespace tarnel
