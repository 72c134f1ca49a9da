// The records of a table: the stored form of each field, and the memos.
//
// Records are read in large pieces without a lock. One that looks wrong is read again under the internal
// lock, where nobody is writing it. A memo's text is written under the lock of its record, before the record:
// while somebody holds that, what looks wrong is waited for.
#include <time.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <utility>

#include "core/errors.h"
#include "core/file_ops.h"
#include "core/signals.h"
#include "core/text.h"
#include "db/dbfidx/check/parts.h"
#include "db/dbfidx/format/format_dbt.h"
#include "db/progress.h"
#include "lib/dates.h"

namespace tarnel {
namespace {

constexpr std::size_t kPiece = 256 * 1024;

std::string_view text_at(const std::uint8_t* record, const dbf::Field& field) {
  return {reinterpret_cast<const char*>(record) + field.offset, field.length};
}

// --- The stored form of each type. Blanks stand for no value.

bool is_number(std::string_view text) {
  text = trim_blanks(text);
  if (text.empty()) return true;
  if (text.front() == '+' && text.size() > 1 && text[1] != '-') text.remove_prefix(1);
  double value = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), value);
  return code != std::errc::invalid_argument && end == text.data() + text.size();
}
bool is_fixed_number(std::string_view text) {
  const bool digits = std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= '0' && c <= '9') || letter_in(c, " .+-");
  });
  return digits && is_number(text);
}
bool is_date(std::string_view text) {
  return trim_blanks(text).empty() ||
         (text.find(' ') == std::string_view::npos && ymdToDate(text) != 0);
}
bool is_logical(std::string_view text) {
  return text.empty() || letter_in(text.front(), "TF ");
}

struct StoredForm {
  char letter;
  bool (*is_good)(std::string_view bytes);
  Fault fault;
};
constexpr StoredForm kForms[] = {{'D', is_date, Fault::kNoDate},
                                 {'F', is_number, Fault::kNoNumber},
                                 {'L', is_logical, Fault::kNoLogical},
                                 {'M', is_memo_number, Fault::kNoBlock},
                                 {'N', is_fixed_number, Fault::kNoNumber}};

struct CheckedField {
  const dbf::Field* field;
  const StoredForm* form;
};

class RecordCheck {
 public:
  explicit RecordCheck(CheckedTable& table) : table_(table), record_(table.record_size()) {
    for (const dbf::Field& field : table.fields)
      for (const StoredForm& form : kForms)
        if (form.letter == field.type) checked_.push_back({&field, &form});
  }

  // Looks at every record, and lets `memo` look at each that names one.
  template <typename Memo>
  void run(Memo memo) {
    const auto most = static_cast<std::int32_t>(std::max<std::size_t>(kPiece / record_.size(), 1));
    std::vector<std::uint8_t> piece(static_cast<std::size_t>(most) * record_.size());
    Progress progress("check", table_.records);
    for (std::int32_t first = 1; first <= table_.records; first += most) {
      const std::int32_t n = std::min(most, table_.records - first + 1);
      look_at_signals();
      progress.to(first);
      if (!read_at(table_.fd, piece.data(), static_cast<std::size_t>(n) * record_.size(),
                   table_.place_of(first)))
        return table_.findings.add(Fault::kUnreadable, "record " + std::to_string(first));
      const std::uint8_t* at = piece.data();
      for (std::int32_t i = 0; i < n; ++i, at += record_.size()) {
        if (!is_good(at)) look_again(first + i);
        memo(first + i, at);
      }
    }
  }

 private:
  bool is_good(const std::uint8_t* record) const {
    return is_mark(*record) && std::all_of(checked_.begin(), checked_.end(), [&](const auto& c) {
             return c.form->is_good(text_at(record, *c.field));
           });
  }
  static bool is_mark(std::uint8_t byte) {
    return byte == dbf::kLiveMark || byte == dbf::kDeletedMark;
  }

  void look_again(std::int32_t n) {
    {
      const ShortLock lock(table_.dbf);
      if (!read_at(table_.fd, record_.data(), record_.size(), table_.place_of(n))) return;
    }
    const std::string place = "record " + std::to_string(n);
    const std::uint8_t* record = record_.data();
    if (!is_mark(*record))
      table_.findings.add(Fault::kDeleteMark, place, format_text("0x%02x", *record));
    for (const CheckedField& c : checked_)
      if (const std::string_view text = text_at(record, *c.field); !c.form->is_good(text))
        table_.findings.add(c.form->fault, place + ", field " + c.field->name, text);
  }

  CheckedTable& table_;
  std::vector<std::uint8_t> record_;
  std::vector<CheckedField> checked_;
};

// --- Memos.

class MemoCheck {
 public:
  explicit MemoCheck(CheckedTable& table) : table_(table) {
    for (const dbf::Field& field : table.fields)
      if (field.type == 'M') fields_.push_back(&field);
    refresh();
  }

  void look(std::int32_t n, const std::uint8_t* record) {
    for (const dbf::Field* field : fields_) {
      const std::uint32_t block = dbf::memo_block(record + field->offset, field->length);
      if (block != 0) look_at_memo(n, *field, block);
    }
  }

  // The word that says where the next memo goes.
  void finish() {
    if (!refresh()) return table_.findings.add(Fault::kNextFree, "memo file, block 0");
    if (next_free_ == 0 || next_free_ < last_used_)
      table_.findings.add(
          Fault::kNextFree, "memo file, block 0",
          std::to_string(next_free_) + ", memos reach to block " + std::to_string(last_used_));
  }

 private:
  struct Text {
    int found = 0;  // as dbt::find_end()
    std::size_t blocks = 0;
  };

  std::uint32_t blocks_of_file() const {
    struct stat status {};
    if (file_ops().fstat(table_.memo_fd, &status) != 0) return 0;
    return static_cast<std::uint32_t>(
        std::min<std::int64_t>((status.st_size + static_cast<std::int64_t>(dbt::kBlockSize) - 1) /
                                   static_cast<std::int64_t>(dbt::kBlockSize),
                               UINT32_MAX));
  }
  bool refresh() {
    blocks_ = blocks_of_file();
    return dbt::read_next_free(table_.memo_fd, next_free_);
  }

  Text find(std::uint32_t block) {
    Text text;
    std::size_t length = 0;
    if (block >= blocks_) refresh();
    text.found = dbt::find_end(table_.memo_fd, block, bytes_, length, text.blocks);
    return text;
  }

  bool is_held(std::int32_t n) const {
    return table_.dbf != nullptr &&
           !range_is_free(table_.fd, table_.place_of(n), table_.record_size());
  }
  // The block that the field names now; 0 when it can't be read.
  std::uint32_t block_now(std::int32_t n, const dbf::Field& field) {
    std::uint8_t bytes[UINT8_MAX];  // no length of a type but C is longer
    const ShortLock lock(table_.dbf);
    return read_at(table_.fd, bytes, field.length, table_.place_of(n) + field.offset)
               ? dbf::memo_block(bytes, field.length)
               : 0;
  }

  // Looks again as long as somebody may be writing it: until nobody has the record locked, and two looks see
  // the same, since who was writing during the first may have given the lock back by now. False: nothing can
  // be said of it.
  bool settle(std::int32_t n, const dbf::Field& field, std::uint32_t& block, Text& text) {
    constexpr int kTries = 50;
    constexpr timespec kPause = {0, 10'000'000};
    for (int i = 0; i < kTries; ++i) {
      const bool held = is_held(n);
      block = block_now(n, field);
      if (block == 0) return false;
      text = find(block);
      const std::vector<std::uint8_t> former = bytes_;
      const bool same = find(block).found == text.found && bytes_ == former;
      if (same && !held && !is_held(n)) return true;
      nanosleep(&kPause, nullptr);
    }
    table_.findings.note("record " + std::to_string(n) + " is locked, its memo was not looked at");
    return false;
  }

  void look_at_memo(std::int32_t n, const dbf::Field& field, std::uint32_t block) {
    Text text = find(block);
    // Without its end, as long as that is on its way, a text would go on into the next one.
    const bool whole = text.found > 0 && text.blocks == 1;
    if (!whole && !settle(n, field, block, text)) return;
    Findings& findings = table_.findings;
    const std::uint64_t end = std::uint64_t{block} + text.blocks;
    if (text.found > 0) {
      if (end > next_free_) refresh();
      last_used_ = std::max(last_used_, end);
      const bool twice = take(n, field, block, text);
      if (!twice && end <= next_free_) return;
      if (twice) findings.add(Fault::kBlockShared, place_of(n, field, block));
      if (end > next_free_) findings.add(Fault::kBlockBehindFree, place_of(n, field, block));
      return;
    }
    const std::string place = place_of(n, field, block);
    if (text.found < 0) return findings.add(Fault::kUnreadable, place);
    if (block >= blocks_) return findings.add(Fault::kBlockOutside, place);
    findings.add(Fault::kMemoEndless, place);
  }

  // The blocks of a text are those of a record now: is one of them another memo's?
  bool take(std::int32_t n, const dbf::Field& field, std::uint32_t block, const Text& text) {
    owners_.resize(std::max<std::size_t>(owners_.size(), std::size_t{block} + text.blocks), 0);
    bool shared = false;
    for (std::size_t b = block; b < block + text.blocks; ++b) {
      const std::int32_t owner = std::exchange(owners_[b], n);
      shared |= owner != 0 && lies_in(n, field, b) && (owner == n || lies_in_any(owner, b));
    }
    return shared;
  }

  // Does the memo of a field reach over a block? Looked at anew where others may write: the record was read with
  // many others, and its memo may have another place by now.
  bool lies_in(std::int32_t n, const dbf::Field& field, std::size_t b) {
    if (table_.dbf == nullptr) return true;
    std::uint32_t block = 0;
    Text text;
    return settle(n, field, block, text) && text.found > 0 && b >= block && b < block + text.blocks;
  }
  bool lies_in_any(std::int32_t n, std::size_t b) {
    return std::ranges::any_of(fields_,
                               [&](const dbf::Field* field) { return lies_in(n, *field, b); });
  }

  static std::string place_of(std::int32_t n, const dbf::Field& field, std::uint32_t block) {
    return "record " + std::to_string(n) + ", field " + field.name + ", block " +
           std::to_string(block);
  }

  CheckedTable& table_;
  std::vector<const dbf::Field*> fields_;
  std::vector<std::int32_t> owners_;  // of the blocks: the records that name them, 0 none
  std::uint32_t blocks_ = 0, next_free_ = 0;
  std::uint64_t last_used_ = 0;
  std::vector<std::uint8_t> bytes_;
};

}  // namespace

bool is_memo_number(std::string_view text) {
  text = trim_blanks(text);
  std::uint32_t block = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), block);
  return text.empty() || (code == std::errc() && end == text.data() + text.size());
}

void check_records(CheckedTable& table) {
  RecordCheck records(table);
  if (table.memo_fd < 0) return records.run([](std::int32_t, const std::uint8_t*) {});
  MemoCheck memos(table);
  records.run([&](std::int32_t n, const std::uint8_t* record) { memos.look(n, record); });
  memos.finish();
}

}  // namespace tarnel
