#include "db/dbfidx/bulk/table_writer.h"

#include <algorithm>
#include <cerrno>

#include "core/file_ops.h"
#include "core/runtime.h"
#include "db/codec.h"

namespace tarnel {
namespace {

constexpr std::string_view kRecordExtension = ".ovdb", kMemoExtension = ".dbt";

std::string base_of(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

}  // namespace

TableWriter::TableWriter(const std::string& path, const std::string& memo_path)
    : records_(path, kRecordExtension) {
  if (!memo_path.empty()) memos_.emplace(memo_path, kMemoExtension);
}

const std::string& TableWriter::failed_file() const {
  return memo_failed_ ? memos_->target() : records_.target();
}

bool TableWriter::create(const std::vector<std::uint8_t>& header, mode_t mode) {
  header_ = header;
  record_size_ = dbf::record_size(header.data());
  if (!records_.create(mode) || !records_.append(header.data(), header.size())) return false;
  if (!memos_) return true;
  memo_failed_ = true;
  const std::vector<std::uint8_t> first = dbt::new_first_block();
  memo_failed_ = !memos_->create(mode) || !memos_->append(first.data(), first.size());
  return !memo_failed_;
}

std::int64_t TableWriter::add_memo(std::string_view text) {
  static constexpr char kRest[dbt::kBlockSize] = {static_cast<char>(dbt::kEndMark)};
  const std::uint32_t blocks = dbt::blocks_needed(text.size());
  const std::size_t rest = blocks * dbt::kBlockSize - text.size();
  const std::uint64_t block = next_block_;
  errno = EFBIG;
  memo_failed_ = block + blocks > UINT32_MAX || !memos_->append(text.data(), text.size()) ||
                 !memos_->append(kRest, rest);
  if (memo_failed_) return -1;
  next_block_ += blocks;
  return static_cast<std::int64_t>(block);
}

bool TableWriter::close_memos(const std::uint8_t* prefix, bool durable) {
  std::vector<std::uint8_t> first = dbt::new_first_block();
  put_u32le(first.data(), static_cast<std::uint32_t>(next_block_));
  dbt::PairMark mark{records_.size(), records_.inode(), {}, base_of(records_.path())};
  std::copy_n(prefix, mark.header.size(), mark.header.begin());
  dbt::put_pair_mark(first.data(), mark);
  return memos_->put_front(first.data(), first.size()) && memos_->flush(durable);
}

bool TableWriter::complete(const std::uint8_t* prefix, bool durable) {
  static_assert(sizeof(dbt::PairMark::header) == dbf::kHeaderPrefix);
  memo_failed_ = memos_ && !close_memos(prefix, durable);
  return !memo_failed_ && records_.put_front(prefix, dbf::kHeaderPrefix) && records_.flush(durable);
}

bool TableWriter::complete() {
  dbf::set_record_count(header_.data(), static_cast<std::uint32_t>(count_));
  return complete(header_.data(), records_.replaces());
}

bool TableWriter::take_place() {
  const InterruptHold hold;
  const bool durable = records_.replaces();
  if (memos_) {
    memo_failed_ = !memos_->take_place();
    if (memo_failed_) return false;
    if (durable) flush_directory(memos_->target().c_str());
  }
  // Behind a memo file there is no way back, so it is tried twice.
  if (!records_.take_place() && (!memos_ || !records_.take_place())) {
    if (memos_) stop_halfway();
    return false;
  }
  if (durable) flush_directory(records_.target().c_str());
  // If it stays, who opens the table sees that it means nothing any more.
  if (memos_) static_cast<void>(dbt::clear_pair_mark(memos_->fd()));
  return true;
}

// A table that is new, or had no memos, loses the new ones again; another one has lost its memo file.
void TableWriter::stop_halfway() {
  halfway_ = records_.replaces() && memos_->replaces();
  if (halfway_)
    records_.leave();
  else
    file_ops().unlink(memos_->target().c_str());
}

}  // namespace tarnel
