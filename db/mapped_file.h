// A file that is read through a mapping, without a system call for each read. What another process
// writes shows at once, as it does to reads. Where the file has been cut short under the mapping a
// read fails; the process goes on.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarnel {

class MappedFile {
 public:
  MappedFile() = default;
  explicit MappedFile(int fd) : fd_(fd) {}
  ~MappedFile();
  MappedFile(MappedFile&& other) noexcept { *this = static_cast<MappedFile&&>(other); }
  MappedFile& operator=(MappedFile&& other) noexcept;

  // Copies n bytes from there. False when the file does not have them, or can't be mapped: only a
  // positioned read tells which.
  bool read(void* to, std::size_t n, std::int64_t at);

 private:
  bool grow(std::int64_t end);

  int fd_ = -1;
  std::uint8_t* base_ = nullptr;
  std::size_t length_ = 0;  // mapped; reaches past the end of the file, where nothing is touched
  std::int64_t size_ = 0;   // of the file when it was last mapped, at most length_
};

}  // namespace tarnel
