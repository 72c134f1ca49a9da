#include "core/settings.h"

namespace tarnel {
namespace {

Settings current;

}  // namespace

Settings& settings() {
  return current;
}
void reset_settings() {
  current = Settings{};
}

}  // namespace tarnel
