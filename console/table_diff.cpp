#include "console/table_diff.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "console/complaints.h"
#include "console/session.h"
#include "console/words.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/dbfidx/bulk/bulk.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/progress.h"
#include "db/text_set.h"
#include "term/glyphs.h"

namespace tarnel {
namespace {

// A number without zeros that say nothing, so that those of fields with other decimals compare.
std::string plain_number(std::string_view text) {
  if (text.find_first_not_of("0123456789.-+") != text.npos) return std::string(text);
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  text.remove_prefix(std::min(text.find_first_not_of('0'), text.size()));
  if (text.find('.') != text.npos) text = text.substr(0, text.find_last_not_of('0') + 1);
  if (text.ends_with('.')) text.remove_suffix(1);
  if (text.empty()) return "0";
  return (negative ? "-" : "") + std::string(text.starts_with('.') ? "0" : "") + std::string(text);
}

std::string plain_text(const RowCell& cell) {
  return cell.kind == CellKind::kNumber ? plain_number(cell.text) : std::string(cell.text);
}

// A number that the other table has as a text, perhaps with other zeros, is the same.
bool same_value(const RowCell& a, const RowCell& b) {
  const bool numbers = (a.kind == CellKind::kNumber && !b.text.empty()) ||
                       (b.kind == CellKind::kNumber && !a.text.empty());
  return numbers ? plain_number(trim_blanks(a.text)) == plain_number(trim_blanks(b.text))
                 : plain_text(a) == plain_text(b);
}

std::string as_json(const RowCell& cell) {
  ByteBuffer out;
  if (cell.kind == CellKind::kNothing)
    out.put("null");
  else
    put_json(out, cell);
  return std::string(out.text());
}

// The place of a text around the first character in which another one differs: it may be a long memo.
std::string excerpt(const std::u32string& text, std::size_t differs) {
  constexpr std::size_t kBefore = 20, kShown = 60;
  const std::size_t from = text.size() <= kShown || differs <= kBefore ? 0 : differs - kBefore;
  const std::size_t end = std::min(from + kShown, text.size());
  std::string part = from > 0 ? "..." : "";
  for (std::size_t i = std::min(from, end); i < end; ++i) append_utf8(part, text[i]);
  return end < text.size() ? part + "..." : part;
}

std::string change_of(const RowCell& from, const RowCell& to) {
  constexpr std::size_t kLong = 60;
  if (from.text.size() <= kLong && to.text.size() <= kLong)
    return as_json(from) + " -> " + as_json(to);
  const std::u32string a = decode_text(from.text), b = decode_text(to.text);
  const auto at = static_cast<std::size_t>(std::ranges::mismatch(a, b).in1 - a.begin());
  const std::string first = excerpt(a, at), second = excerpt(b, at);
  return as_json({from.kind, first}) + " -> " + as_json({to.kind, second});
}

std::uint64_t hash_of(const std::string& text) {
  return std::hash<std::string>()(text);
}

// The two tables while their records are compared.
class Comparison {
 public:
  Comparison(DiffSide& first, DiffSide& second, const TellDifference& tell, DiffCounts& counts)
      : first_(first), second_(second), tell_(tell), counts_(counts), alike_(same_layout()) {}

  bool tell_only(const std::string& place, const DiffSide& side) {
    ++(&side == &first_ ? counts_.only_first : counts_.only_second);
    return tell_(place + ": only in " + side.name());
  }

  // `place` names the record where something differs.
  template <typename Place>
  bool compare(std::int32_t n, std::int32_t m, const Place& place) {
    const std::uint8_t* a = first_.record(n);
    const std::uint8_t* b = a != nullptr ? second_.record(m) : nullptr;
    if (b == nullptr) return false;
    if (alike_ && std::memcmp(a, b, first_.dbf().recordSize) == 0) {
      ++counts_.same;
      return true;
    }
    bool same = true, goes_on = true;
    const bool was = *a == dbf::kDeletedMark, is = *b == dbf::kDeletedMark;
    if (was != is) {
      same = false;
      goes_on = tell_(place() + (is ? ": marked as deleted" : ": no longer marked as deleted"));
    }
    const std::vector<RowCell>& from = first_.cells(a, n);
    const std::vector<RowCell>& to = second_.cells(b, m);
    for (std::size_t i = 0; goes_on && i < from.size(); ++i) {
      if (same_value(from[i], to[i])) continue;
      same = false;
      goes_on = tell_(place() + ": " + first_.names()[i] + " " + change_of(from[i], to[i]));
    }
    ++(same ? counts_.same : counts_.changed);
    return goes_on;
  }

 private:
  // Are records with equal bytes the same? Equal numbers of memo blocks say nothing.
  bool same_layout() const {
    DbfIdx &a = first_.dbf(), &b = second_.dbf();
    return !a.hasMemo() && !b.hasMemo() &&
           text_set_of(a.object).page == text_set_of(b.object).page &&
           std::ranges::equal(a.fields, b.fields, [](const dbf::Field& x, const dbf::Field& y) {
             return std::string_view(x.name) == y.name && x.type == y.type &&
                    x.length == y.length && x.decimals == y.decimals;
           });
  }

  DiffSide &first_, &second_;
  const TellDifference& tell_;
  DiffCounts& counts_;
  const bool alike_;
};

}  // namespace

DiffSide::DiffSide(DbfIdx& dbf, std::string name, const std::vector<std::int32_t>& fields)
    : dbf_(dbf),
      name_(std::move(name)),
      records_(dbf.lastRec),
      cells_(cells_of_records(dbf, request(fields))) {
  for (const std::int32_t n : fields)
    names_.emplace_back(dbf.fields[static_cast<std::size_t>(n) - 1].name);
}

RowRequest DiffSide::request(std::vector<std::int32_t> fields) {
  RowRequest request;
  request.fields = std::move(fields);
  request.unread_memos = &unread_memos_;
  return request;
}

const std::uint8_t* DiffSide::record(std::int32_t n) {
  goRecord(dbf_, n);
  return fetch_current(dbf_) && dbf_.recNo == n ? dbf_.buffer.data() : nullptr;
}

bool DiffSide::set_key(std::string_view key) {
  if (const std::int32_t field = field_position(dbf_, key); field > 0) {
    key_cells_ = cells_of_records(dbf_, request({field}));
    return true;
  }
  std::string text(key);
  if (!is_expression(key) || !encode_expression(text, text_set_of(dbf_.object))) return false;
  key_block_ = block_of(TMP_TEXT(text));
  return key_block_ != nullptr;
}

std::optional<DiffKey> DiffSide::key(std::int32_t n) {
  const std::uint8_t* bytes = record(n);
  if (bytes == nullptr) return {};
  if (key_block_ == nullptr) {
    const RowCell& cell = key_cells_(bytes, n).front();
    return DiffKey{cell.kind, plain_text(cell)};
  }
  const TempsMark mark;
  const SameTable same(dbf_);
  const Var* value = value_of_record(dbf_, key_block_);
  if (!same.holds() || is_error(value)) return {};
  std::string text, shown;
  RowCell cell = cell_of_value(value, text);
  if (cell.kind == CellKind::kText) {
    shown = decoded(trim_right(cell.text), text_set_of(dbf_.object));
    cell.text = shown;
  }
  return DiffKey{cell.kind, plain_text(cell)};
}

bool DiffSide::read_keys() {
  Progress progress("diff", records_);
  entries_.reserve(static_cast<std::size_t>(records_));
  for (std::int32_t n = 1; n <= records_; ++n) {
    look_at_signals();
    progress.step();
    const std::optional<DiffKey> found = key(n);
    if (!found) return false;
    entries_.push_back({hash_of(found->text), n});
  }
  std::ranges::sort(entries_);
  return keys_are_unique();
}

bool DiffSide::keys_are_unique() {
  for (std::size_t i = 0; i < entries_.size(); ++i)
    for (std::size_t j = i + 1; j < entries_.size() && entries_[j].hash == entries_[i].hash; ++j) {
      const std::optional<DiffKey> a = key(entries_[i].record), b = key(entries_[j].record);
      if (!a || !b) return false;
      if (a->text != b->text) continue;
      complain(name_ + ": records " + std::to_string(entries_[i].record) + " and " +
               std::to_string(entries_[j].record) + " have the same key " +
               as_json({a->kind, a->text}));
      return false;
    }
  return true;
}

std::optional<std::int32_t> DiffSide::find(const DiffKey& wanted) {
  const std::uint64_t hash = hash_of(wanted.text);
  for (auto at = std::ranges::lower_bound(entries_, Entry{hash, 0});
       at != entries_.end() && at->hash == hash; ++at) {
    const std::optional<DiffKey> found = key(at->record);
    if (!found) return {};
    if (found->text == wanted.text) return at->record;
  }
  return 0;
}

bool compare_by_number(DiffSide& first, DiffSide& second, const TellDifference& tell,
                       DiffCounts& counts) {
  Comparison comparison(first, second, tell, counts);
  const std::int32_t both = std::min(first.records(), second.records());
  const std::int32_t all = std::max(first.records(), second.records());
  const DiffSide& longer = first.records() > second.records() ? first : second;
  Progress progress("diff", all);
  for (std::int32_t n = 1; n <= all; ++n) {
    look_at_signals();
    progress.step();
    const auto place = [n] { return "record " + std::to_string(n); };
    if (!(n <= both ? comparison.compare(n, n, place) : comparison.tell_only(place(), longer)))
      return false;
  }
  return true;
}

bool compare_by_key(DiffSide& first, DiffSide& second, const TellDifference& tell,
                    DiffCounts& counts) {
  if (!first.read_keys() || !second.read_keys()) return false;
  Comparison comparison(first, second, tell, counts);
  Progress progress("diff", std::int64_t{first.records()} + second.records());
  std::vector<bool> met(static_cast<std::size_t>(second.records()) + 1);
  const auto shown = [](const DiffKey& key) { return as_json({key.kind, key.text}); };
  for (std::int32_t n = 1; n <= first.records(); ++n) {
    look_at_signals();
    progress.step();
    const std::optional<DiffKey> key = first.key(n);
    const std::optional<std::int32_t> other = key ? second.find(*key) : std::nullopt;
    if (!other) return false;
    met[static_cast<std::size_t>(*other)] = true;
    if (!(*other > 0 ? comparison.compare(n, *other, [&] { return shown(*key); })
                     : comparison.tell_only(shown(*key), first)))
      return false;
  }
  for (std::int32_t n = 1; n <= second.records(); ++n) {
    look_at_signals();
    progress.step();
    if (met[static_cast<std::size_t>(n)]) continue;
    const std::optional<DiffKey> key = second.key(n);
    if (!key || !comparison.tell_only(shown(*key), second)) return false;
  }
  return true;
}

}  // namespace tarnel
