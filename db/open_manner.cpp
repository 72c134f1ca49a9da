#include "db/open_manner.h"

#include <utility>

namespace tarnel {
namespace {

ForgivingOpen* innermost = nullptr;
bool only_read = false;

}  // namespace

ForgivingOpen::ForgivingOpen() : former_(std::exchange(innermost, this)) {}
ForgivingOpen::~ForgivingOpen() {
  innermost = former_;
}

ForgivingOpen* forgiving_open() {
  return innermost;
}

bool& tables_only_read() {
  return only_read;
}

}  // namespace tarnel
