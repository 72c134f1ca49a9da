// A text file that is read from its beginning to its end, as much of it at a time as a record needs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "db/text/text_coding.h"

namespace tarnel {

class TextSource {
 public:
  TextSource() = default;
  ~TextSource() { close(); }
  TextSource(const TextSource&) = delete;
  TextSource& operator=(const TextSource&) = delete;

  // False with errno set, here and below. The coding in force then must outlive the reading; a character that has no
  // place in it is EILSEQ, behind all that comes before.
  [[nodiscard]] bool open(const std::string& path);
  void close();

  // What was read and not yet passed over, and whether the file ends with it. An end mark is left out.
  std::string_view rest() const { return {bytes_.data() + begin_, end_ - begin_}; }
  bool is_last() const { return last_; }
  [[nodiscard]] bool read_more();
  void pass(std::size_t n) { begin_ += n; }

 private:
  bool read_converted();
  void leave_end_mark();

  TextCoding* coding_ = nullptr;
  std::string raw_;  // of the file, not yet converted
  bool broken_ = false;
  int fd_ = -1;
  std::vector<char> bytes_;
  std::size_t begin_ = 0, end_ = 0;
  std::int64_t place_ = 0;  // in the file, of what comes next
  bool last_ = false;
};

}  // namespace tarnel
