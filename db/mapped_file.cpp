#include "db/mapped_file.h"

#include <setjmp.h>
#include <signal.h>
#include <sys/mman.h>

#include <atomic>
#include <cstring>
#include <utility>

#include "core/file_ops.h"

namespace tarnel {
namespace {

constexpr std::size_t kStep = std::size_t{1} << 20;  // mappings are a multiple of this

// Where a bus error returns to while bytes are copied; null at all other times.
sigjmp_buf* volatile way_out = nullptr;

void on_bus_error(int) {
  if (way_out != nullptr) siglongjmp(*way_out, 1);
  ::signal(SIGBUS, SIG_DFL);
  ::raise(SIGBUS);
}

void catch_bus_errors() {
  static bool caught = false;
  if (std::exchange(caught, true)) return;
  struct sigaction action {};
  action.sa_handler = on_bus_error;
  action.sa_flags = SA_NODEFER;  // the handler is left by a jump
  sigaction(SIGBUS, &action, nullptr);
}

// Has no objects that a jump could pass over.
[[gnu::noinline]] bool copy(void* to, const void* from, std::size_t n) {
  sigjmp_buf here;
  if (sigsetjmp(here, 0) != 0) {
    way_out = nullptr;
    return false;
  }
  way_out = &here;
  std::atomic_signal_fence(std::memory_order_seq_cst);
  std::memcpy(to, from, n);
  std::atomic_signal_fence(std::memory_order_seq_cst);
  way_out = nullptr;
  return true;
}

}  // namespace

MappedFile::~MappedFile() {
  if (base_ != nullptr) ::munmap(base_, length_);
}

MappedFile& MappedFile::operator=(MappedFile&& other) noexcept {
  std::swap(fd_, other.fd_);
  std::swap(base_, other.base_);
  std::swap(length_, other.length_);
  std::swap(size_, other.size_);
  return *this;
}

// Looks at the size again, and maps what the file has grown by.
bool MappedFile::grow(std::int64_t end) {
  struct stat status {};
  if (fd_ < 0 || file_ops().fstat(fd_, &status) != 0 || end > status.st_size) return false;
  const std::size_t wanted = (static_cast<std::size_t>(status.st_size) / kStep + 1) * kStep;
  if (wanted > length_) {
    void* mapped = base_ == nullptr ? file_ops().map(fd_, wanted)
                                    : file_ops().remap(base_, length_, wanted);
    if (mapped == MAP_FAILED) {
      if (base_ == nullptr) fd_ = -1;  // a file system without mappings: not tried again
      return false;
    }
    catch_bus_errors();
    base_ = static_cast<std::uint8_t*>(mapped);
    length_ = wanted;
  }
  size_ = status.st_size;
  return true;
}

bool MappedFile::read(void* to, std::size_t n, std::int64_t at) {
  const std::int64_t end = at + static_cast<std::int64_t>(n);
  if (at < 0 || (end > size_ && !grow(end))) return false;
  return copy(to, base_ + at, n);
}

}  // namespace tarnel
