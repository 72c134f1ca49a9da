#include "db/autolock.h"

#include <chrono>

#include "core/classes.h"
#include "core/errors.h"
#include "core/signals.h"
#include "db/dataserver.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

using Clock = std::chrono::steady_clock;

// Other processes hold their automatic locks for the time of one write: a short patience is enough.
constexpr std::int32_t kUsualSeconds = 1;
constexpr double kPause = 0.002;  // seconds between two tries

bool is_server(std::int32_t argc, Var** argv) {
  return arg_is(argc, argv, 0, "O") && is_server_class(class_of(argv[0]));
}

std::string alias_of(Var* server) {
  return std::string(text_of(get_ivar(server, "alias")));
}

// Calls a locking member until it succeeds or the time is over; then the error names what failed.
Var* try_lock(std::int32_t argc, Var** argv, const char* member, Var* record, const char* title,
              const char* failure) {
  if (!is_server(argc, argv)) return false_value();
  const std::int32_t seconds = int_argument(argc, argv, 1, kUsualSeconds);
  const auto deadline = Clock::now() + std::chrono::seconds(seconds > 0 ? seconds : 0);
  Var* passed[] = {argv[0], record};
  const std::int32_t count = record != nullptr ? 2 : 1;
  for (;;) {
    if (truth_of(csdometh(member, server_slot(member), 0, count, passed))) return true_value();
    if (Clock::now() >= deadline) break;
    pause_run(kPause);
  }
  RT_ERROR(325, std::string(title) + ";" + failure + alias_of(argv[0]));
  return false_value();
}

}  // namespace

Var* autorlock(std::int32_t argc, Var** argv) {
  Var* record = is_server(argc, argv) ? get_ivar(argv[0], "recno") : nullptr;
  return try_lock(argc, argv, "rlock", record, "Auto record lock",
                  "Cannot perform autoRLOCK() for ");
}

Var* autoflock(std::int32_t argc, Var** argv) {
  return try_lock(argc, argv, "flock", nullptr, "Auto file lock",
                  "Cannot perform autoFLOCK() for ");
}

// The lock of the record, or the file lock in which no record has one of its own.
Var* autounlock(std::int32_t argc, Var** argv) {
  if (!is_server(argc, argv)) return false_value();
  Var* passed[] = {argv[0], get_ivar(argv[0], "recno")};
  for (const std::int32_t count : {2, 1})
    if (truth_of(csdometh("unlock", server_slot("unlock"), 0, count, passed))) return true_value();
  RT_ERROR(325, "Cannot perform autoUNLOCK for " + alias_of(argv[0]));
  return false_value();
}

}  // namespace tarnel
