#include "db/text/text_source.h"

#include <cerrno>
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
  coding_ = text_coding();
  fd_ = open_file(path.c_str(), O_RDONLY | O_NONBLOCK);  // a pipe must not make it wait
  return fd_ >= 0;
}

void TextSource::close() {
  if (fd_ >= 0) close_file(std::exchange(fd_, -1));
  bytes_ = {};
  raw_.clear();
  broken_ = false;
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
  if (coding_ != nullptr) return read_converted();
  if (bytes_.size() - end_ < kPiece) bytes_.resize(2 * bytes_.size() + kPiece);
  const std::int64_t got = read_some_at(fd_, bytes_.data() + end_, bytes_.size() - end_, place_);
  if (got < 0) return false;
  place_ += got;
  end_ += static_cast<std::size_t>(got);
  last_ = got == 0;
  leave_end_mark();
  return true;
}

void TextSource::leave_end_mark() {
  if (last_ && end_ > begin_ && bytes_[end_ - 1] == kEndMark) --end_;
}

bool TextSource::read_converted() {
  errno = EILSEQ;
  if (broken_) return false;
  const std::size_t waiting = raw_.size();
  raw_.resize(waiting + kPiece);
  const std::int64_t got = read_some_at(fd_, raw_.data() + waiting, kPiece, place_);
  if (got < 0) return false;
  raw_.resize(waiting + static_cast<std::size_t>(got));
  place_ += got;
  std::string converted;
  broken_ = !coding_->to_table(converted, raw_, got == 0);
  bytes_.resize(end_);
  bytes_.insert(bytes_.end(), converted.begin(), converted.end());
  end_ = bytes_.size();
  last_ = got == 0 && !broken_;
  leave_end_mark();
  return true;
}

}  // namespace tarnel
