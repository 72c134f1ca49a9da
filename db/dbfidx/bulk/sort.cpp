// SORT: a new table of the records of a scope, in the order of their fields.
//
// What is sorted is 32 bytes a record: its number, its turn in the walk, and 20 bytes of its key, made so
// that bytes compare as the values do. Records that are equal in them get the next 20 bytes of their keys
// in the same place, and are sorted among themselves. So keys may have any length, and equal ones keep
// their turn.
#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <tuple>

#include "core/arrays.h"
#include "core/operators.h"
#include "core/signals.h"
#include "core/text.h"
#include "db/dbfidx/bulk/bulk.h"
#include "db/dbfidx/bulk/new_table.h"
#include "db/dbfidx/table_errors.h"
#include "lib/dates.h"

namespace tarnel {
namespace {

constexpr const char kOperation[] = "SORT";
constexpr std::size_t kPart = 20;  // bytes of a key that are held

struct Entry {
  std::uint64_t first, second;
  std::uint32_t third;
  std::uint32_t turn;
  std::int32_t record;

  bool same_part(const Entry& other) const {
    return first == other.first && second == other.second && third == other.third;
  }
  bool operator<(const Entry& other) const {
    return std::tie(first, second, third, turn) <
           std::tie(other.first, other.second, other.third, other.turn);
  }
};
static_assert(sizeof(Entry) <= 32, "what the documents promise");

template <typename Word>
Word big_endian(const std::uint8_t* bytes) {
  Word word = 0;
  for (std::size_t i = 0; i < sizeof word; ++i) word = static_cast<Word>(word << 8 | bytes[i]);
  return word;
}

template <typename Word>
void put_big_endian(std::uint8_t* to, Word word) {
  for (std::size_t i = 0; i < sizeof word; ++i)
    to[i] = static_cast<std::uint8_t>(word >> 8 * (sizeof word - 1 - i));
}

// One field of the key: how its bytes in a record become bytes that compare.
class KeyField {
 public:
  KeyField(const dbf::Field& field, bool descending, bool fold)
      : field_(field), descending_(descending) {
    const unsigned char* weights = collation();
    for (unsigned c = 0; c < order_.size(); ++c) {
      const auto letter = static_cast<unsigned char>(fold ? upper_letter(static_cast<char>(c))
                                                          : static_cast<char>(c));
      order_[c] = weights != nullptr ? weights[letter] : letter;
    }
  }

  std::size_t size() const {
    switch (field_.type) {
      case 'C':
        return field_.length;
      case 'L':
        return 1;
      case 'D':
        return sizeof(std::uint32_t);
      default:
        return sizeof(std::uint64_t);
    }
  }

  void make(const std::uint8_t* record, std::uint8_t* to) const {
    const std::uint8_t* at = record + field_.offset;
    if (field_.type == 'C') {
      for (std::size_t i = 0; i < field_.length; ++i) to[i] = order_[at[i]];
    } else if (field_.type == 'L') {
      *to = dbf::parse_logical(at, field_.length) ? 1 : 0;
    } else if (field_.type == 'D') {
      put_big_endian(to, day(at));
    } else {
      // The bits of a double ascend with it when its sign is turned, and all bits where it is negative.
      const auto bits = std::bit_cast<std::uint64_t>(dbf::parse_number(at, field_.length) + 0.0);
      constexpr std::uint64_t kSign = std::uint64_t{1} << 63;
      put_big_endian(to, (bits & kSign) != 0 ? ~bits : bits | kSign);
    }
    if (descending_)
      for (std::size_t i = 0; i < size(); ++i) to[i] = static_cast<std::uint8_t>(~to[i]);
  }

 private:
  // 0 for none.
  std::uint32_t day(const std::uint8_t* at) const {
    const std::string_view text(reinterpret_cast<const char*>(at),
                                std::min<std::size_t>(field_.length, dbf::kDateLength));
    return *at == ' ' ? 0 : static_cast<std::uint32_t>(ymdToDate(text));
  }

  const dbf::Field& field_;
  const bool descending_;
  std::array<std::uint8_t, 256> order_{};
};

class Sort {
 public:
  explicit Sort(DbfIdx& dbf) : dbf_(dbf), record_(dbf.recordSize) {}

  // False after error 306.
  bool read_keys(Var* keys) {
    const bool several = keys->type == 'A';
    const std::int32_t count = several ? element_count(keys) : 1;
    for (std::int32_t i = 1; i <= count; ++i) {
      const Var* key = several ? element(keys, i) : keys;
      const std::string_view text = is_text(key) ? text_of(key) : std::string_view();
      if (!add_key(text)) return bad_name(text);
    }
    key_.assign((key_size_ + kPart - 1) / kPart * kPart, 0);
    return !fields_.empty() || bad_name("");
  }

  // Takes the records of the scope.
  bool gather(const Scope& scope) {
    entries_.reserve(static_cast<std::size_t>(dbf_.lastRec));
    ScopeWalk walk(dbf_, scope, "sort");
    for (bool on = walk.begin(); on; on = walk.next()) {
      if (!fetch_current(dbf_)) {
        walk.fail();
        break;
      }
      Entry entry{0, 0, 0, static_cast<std::uint32_t>(entries_.size()), dbf_.recNo};
      take_part(dbf_.buffer.data(), 0, entry);
      entries_.push_back(entry);
    }
    return !walk.failed() && walk.same() && flush_records(dbf_);
  }

  bool order() { return order(entries_.data(), entries_.data() + entries_.size(), 0); }

  // Calls for each record in its turn; false when that, or reading the record, fails.
  template <typename Each>
  bool each(Each take) {
    const SameTable same(dbf_);
    Progress progress("sort", static_cast<std::int64_t>(entries_.size()));
    for (const Entry& entry : entries_) {
      if (!same.holds() || !read(entry.record) || !take(record_.data(), entry.record)) return false;
      progress.step();
      look_at_signals();
    }
    return same.holds();
  }

 private:
  bool bad_name(std::string_view name) {
    dxerror(dbf_, TableError::kBulkBadField, {kOperation, name});
    return false;
  }

  // "name/AD C": ascending, descending, without regard to case.
  bool add_key(std::string_view text) {
    const std::size_t slash = text.find('/');
    const std::string flags =
        slash == std::string_view::npos ? std::string() : upper_text(text.substr(slash + 1));
    const std::int32_t number = field_by_name(dbf_, text.substr(0, slash));
    if (number < 0 || flags.find_first_not_of("ACD ") != std::string::npos) return false;
    const dbf::Field& field = dbf_.fields[static_cast<std::size_t>(number)];
    if (std::strchr("CDFLN", field.type) == nullptr) return false;
    const bool descending = flags.find('D') != std::string::npos;
    fields_.emplace_back(field, descending, flags.find('C') != std::string::npos);
    key_size_ += fields_.back().size();
    return true;
  }

  // A part of the key of a record.
  void take_part(const std::uint8_t* record, std::size_t from, Entry& entry) {
    std::uint8_t* to = key_.data();
    for (const KeyField& field : fields_) {
      field.make(record, to);
      to += field.size();
    }
    const std::uint8_t* part = key_.data() + from;
    entry.first = big_endian<std::uint64_t>(part);
    entry.second = big_endian<std::uint64_t>(part + 8);
    entry.third = big_endian<std::uint32_t>(part + 16);
  }

  bool read(std::int32_t n) {
    if (read_shared(dbf_, record_.data(), record_.size(), record_place(dbf_, n))) return true;
    dxerror(dbf_, TableError::kRecordUnreadable, {n, dbf_.fileName});
    return false;
  }

  bool order(Entry* begin, Entry* end, std::size_t from) {
    look_at_signals();
    std::sort(begin, end);
    const std::size_t next = from + kPart;
    if (next >= key_size_) return true;
    for (Entry* run = begin; run < end;) {
      Entry* run_end = run + 1;
      while (run_end < end && run_end->same_part(*run)) ++run_end;
      if (run_end - run > 1) {
        for (Entry* entry = run; entry < run_end; ++entry) {
          if (!read(entry->record)) return false;
          take_part(record_.data(), next, *entry);
        }
        if (!order(run, run_end, next)) return false;
      }
      run = run_end;
    }
    return true;
  }

  DbfIdx& dbf_;
  std::vector<KeyField> fields_;
  std::size_t key_size_ = 0;
  std::vector<std::uint8_t> key_, record_;
  std::vector<Entry> entries_;
};

}  // namespace

bool sort_table(DbfIdx& dbf, std::string_view file, Var* keys,
                const StatementScope& scope_arguments) {
  Sort sort(dbf);
  Scope scope;
  if (!sort.read_keys(keys) || !read_scope(dbf, scope_arguments, scope)) return false;
  NewTable target(dbf, kOperation);
  if (!target.open(file, dbf.fields)) return false;
  FieldPlan plan;
  for (std::int32_t i = 0; i < dbf.fieldCount; ++i)
    if (!plan.add(dbf, i, target.fields()[static_cast<std::size_t>(i)])) return false;
  return sort.gather(scope) && sort.order() &&
         sort.each([&](const std::uint8_t* record, std::int32_t n) {
           return plan.fill_from(dbf, record, n, target.blank_record(), target.memos(),
                                 kOperation) &&
                  target.add();
         }) &&
         target.finish();
}

}  // namespace tarnel
