#include "db/text/text_source.h"

#include <cstring>
#include <utility>

#include "core/file_ops.h"
#include "core/open_files.h"

namespace tarnel {
namespace {

constexpr std::size_t kPiece = 64 * 1024;
constexpr char kEndMark = 26;

}  // namespace

bool TextSource::open(const std::string& path) {
  close();
  fd_ = open_file(path.c_str(), O_RDONLY | O_NONBLOCK);  // a pipe must not make it wait
  return fd_ >= 0;
}

void TextSource::close() {
  if (fd_ >= 0) close_file(std::exchange(fd_, -1));
  bytes_ = {};
  begin_ = end_ = 0;
  place_ = 0;
  last_ = false;
}

bool TextSource::read_more() {
  if (last_) return true;
  if (begin_ > 0) {
    std::memmove(bytes_.data(), bytes_.data() + begin_, end_ - begin_);
    end_ -= std::exchange(begin_, 0);
  }
  if (bytes_.size() - end_ < kPiece) bytes_.resize(2 * bytes_.size() + kPiece);
  const std::int64_t got = read_some_at(fd_, bytes_.data() + end_, bytes_.size() - end_, place_);
  if (got < 0) return false;
  place_ += got;
  end_ += static_cast<std::size_t>(got);
  last_ = got == 0;
  if (last_ && end_ > begin_ && bytes_[end_ - 1] == kEndMark) --end_;
  return true;
}

}  // namespace tarnel
