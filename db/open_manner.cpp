#include "db/open_manner.h"

#include <utility>

namespace tarnel {
namespace {

ForgivingOpen* innermost = nullptr;

}  // namespace

ForgivingOpen::ForgivingOpen() : former_(std::exchange(innermost, this)) {}
ForgivingOpen::~ForgivingOpen() {
  innermost = former_;
}

ForgivingOpen* forgiving_open() {
  return innermost;
}

}  // namespace tarnel
