#include "console/browse_table.h"

#include <algorithm>
#include <cctype>

#include "core/arrays.h"
#include "core/blocks.h"
#include "core/classes.h"
#include "core/settings.h"
#include "core/signals.h"
#include "core/text.h"
#include "db/area.h"
#include "db/info_codes.h"
#include "lib/dates.h"
#include "lib/value_text.h"
#include "term/glyphs.h"

namespace tarnel {
namespace {

constexpr int kWidestColumn = 40;

int shown_length(char type, int length) {
  switch (type) {
    case 'D':
      return static_cast<int>(dateToText(1).length);
    case 'L':
      return 1;
    case 'M':
      return 4;
    default:
      return length;
  }
}

bool is_child(const Var* server) {
  for (const WorkArea* area = area_list(); area != nullptr; area = area->next)
    for (std::int32_t i = 1;; ++i) {
      const Var* child = send(area->server(), "relationobject", TMP_INT(i));
      if (child->type != 'O') break;
      if (child->shared == server->shared) return true;
    }
  return false;
}

}  // namespace

std::string one_line(std::string_view text) {
  std::string line(text);
  for (char& c : line)
    if (std::iscntrl(static_cast<unsigned char>(c)) != 0) c = ' ';
  return line;
}

BrowseTable::BrowseTable(Var* server) : kept_(server), server_(server) {
  const TempsMark mark;
  const std::int32_t fields = integer_of(get_ivar(server, "fcount"));
  for (std::int32_t i = 1; i <= fields; ++i) {
    const auto ask = [&](std::int32_t what) {
      return call("fieldinfo", TMP_INT(what), TMP_INT(i));
    };
    const Var* decimals = ask(field_info::kDecimals);
    BrowseColumn column{i,
                        lower_text(text_of(call("fieldname", TMP_INT(i)))),
                        text_of(ask(field_info::kType))[0],
                        integer_of(ask(field_info::kLength)),
                        is_number(decimals) ? integer_of(decimals) : 0,
                        0};
    const int name = static_cast<int>(column.name.size());
    column.width =
        std::min(kWidestColumn, std::max(shown_length(column.type, column.length), name));
    columns_.push_back(std::move(column));
  }
}

Var* BrowseTable::send_to(const char* member, std::initializer_list<Var*> arguments) const {
  std::vector<Var*> argv = {server_};
  argv.insert(argv.end(), arguments);
  return csnodome(member, 0, static_cast<std::int32_t>(argv.size()), argv.data());
}

std::string BrowseTable::choose_columns(const std::vector<std::string>& names) {
  std::vector<BrowseColumn> chosen;
  for (const std::string& name : names) {
    const auto found = std::ranges::find(columns_, lower_text(name), &BrowseColumn::name);
    if (found == columns_.end()) return name;
    chosen.push_back(*found);
  }
  if (!chosen.empty()) columns_ = std::move(chosen);
  return {};
}

bool BrowseTable::is_open() const {
  return truth_of(get_ivar(server_, "used"));
}
bool BrowseTable::is_exclusive() const {
  return !truth_of(get_ivar(server_, "shared"));
}
bool BrowseTable::is_read_only() const {
  return truth_of(get_ivar(server_, "readonly")) || is_child(server_);
}
std::int32_t BrowseTable::record() const {
  return integer_of(get_ivar(server_, "recno"));
}
std::int32_t BrowseTable::record_count() const {
  return integer_of(get_ivar(server_, "lastrec"));
}
bool BrowseTable::at_end() const {
  return truth_of(get_ivar(server_, "eof"));
}
bool BrowseTable::is_locked(std::int32_t record) const {
  return truth_of(call("recordinfo", TMP_INT(record_info::kLocked), TMP_INT(record)));
}
std::int32_t BrowseTable::order() const {
  return integer_of(call("indexord"));
}
std::int32_t BrowseTable::order_count() const {
  return integer_of(get_ivar(server_, "indexcount"));
}
std::string BrowseTable::order_name() const {
  const std::int32_t n = order();
  return n == 0 ? std::string()
                : std::string(base_name(
                      text_of(call("orderinfo", TMP_INT(order_info::kName), TMP_INT(n)))));
}
std::string BrowseTable::text_of_filter() const {
  const std::string text = shown(text_of(get_ivar(server_, "filter")));
  return text.empty() && is_block(call("info", TMP_INT(info::kFilterBlock))) ? "a block" : text;
}

// Moves pass over what is hidden, a jump to a number doesn't.
bool BrowseTable::is_hidden() const {
  if (settings().deleted && truth_of(get_ivar(server_, "deleted"))) return true;
  Var* filter = call("info", TMP_INT(info::kFilterBlock));
  if (!is_block(filter)) return false;
  const AreaScope in(area_by_server(server_));
  const Var* shown = run_block_with(filter);
  return !is_number_or_logical(shown) || !truth_of(shown);
}

bool BrowseTable::go(std::int32_t record) {
  const RunWatch watch(watcher_);
  const TempsMark mark;
  call("goto", TMP_INT(record));
  if (!at_end() && is_hidden()) call("skip", TMP_INT(1));
  return is_open() && !at_end();
}

void BrowseTable::step() {
  call("skip", TMP_INT(1));
  look_at_signals();
}

BrowseRow BrowseTable::read_row() const {
  BrowseRow row{record(), truth_of(get_ivar(server_, "deleted")), false, {}};
  row.locked = is_locked(row.record);
  for (const BrowseColumn& column : columns_) row.cells.push_back(cell_text(column));
  return row;
}

void BrowseTable::fill(int height) {
  const RunWatch watch(watcher_);
  const TempsMark mark;
  rows_.clear();
  if (!is_open()) return;
  if (first_ == 0)
    call("gotop");
  else if (!go(first_))
    return bottom(height);
  while (is_open() && !at_end() && static_cast<int>(rows_.size()) < height) {
    const TempsMark of_row;
    rows_.push_back(read_row());
    call("skip", TMP_INT(1));
  }
  if (!is_open()) return rows_.clear();
  if (rows_.empty()) return;
  const int missing = height - static_cast<int>(rows_.size());
  const std::int32_t was = rows_.front().record;
  if (missing > 0 && go(was)) {
    call("skip", TMP_INT(-missing));
    if (record() != was && !at_end()) {
      first_ = record();
      return fill(height);
    }
  }
  first_ = was;
}

void BrowseTable::fill_around(std::int32_t record_number, int n, int height) {
  const RunWatch watch(watcher_);
  const TempsMark mark;
  if (!go(record_number)) return bottom(height);
  if (n > 0) call("skip", TMP_INT(-n));
  first_ = record();
  fill(height);
}

bool BrowseTable::scroll(int rows, int height) {
  const RunWatch watch(watcher_);
  const TempsMark mark;
  if (rows_.empty() || !go(rows_.front().record)) return false;
  const std::int32_t before = rows > 0 ? rows_.back().record : rows_.front().record;
  if (rows > 0) {
    if (!go(before)) return false;
    call("skip", TMP_INT(1));
    if (at_end()) return false;
    go(rows_[static_cast<std::size_t>(std::min<int>(rows, static_cast<int>(rows_.size()) - 1))]
           .record);
  } else {
    call("skip", TMP_INT(rows));
    if (record() == before) return false;
  }
  first_ = record();
  fill(height);
  return true;
}

void BrowseTable::top(int height) {
  const RunWatch watch(watcher_);
  first_ = 0;
  fill(height);
}

void BrowseTable::bottom(int height) {
  const RunWatch watch(watcher_);
  const TempsMark mark;
  rows_.clear();
  call("gobottom");
  if (!is_open() || at_end()) return;
  if (height > 1) call("skip", TMP_INT(1 - height));
  first_ = record();
  // From here on there is no way back up: what is shown begins here.
  while (is_open() && !at_end() && static_cast<int>(rows_.size()) < height) {
    const TempsMark of_row;
    rows_.push_back(read_row());
    call("skip", TMP_INT(1));
  }
}

int BrowseTable::row_of(std::int32_t record_number) const {
  const auto found = std::ranges::find(rows_, record_number, &BrowseRow::record);
  return found == rows_.end() ? -1 : static_cast<int>(found - rows_.begin());
}

std::string BrowseTable::shown(std::string_view bytes) const {
  const TextSet set = text_set_of(server_);
  return set.assumed ? std::string(bytes) : decoded(bytes, set);
}

bool BrowseTable::to_bytes(std::string& text, std::string& message) const {
  const TextSet set = text_set_of(server_);
  const Unconverted lost = encode(text, set, Carried::kNone);
  if (lost) message = words_of(lost, lost.is_byte ? CodePage::kUtf8 : set.page);
  return !lost;
}

Var* BrowseTable::value(const BrowseColumn& column) const {
  return call("fieldget", TMP_INT(column.field));
}

std::string BrowseTable::cell_text(const BrowseColumn& column) const {
  const Var* field = value(column);
  if (column.type == 'M') return text_of(field).empty() ? "." : "memo";
  std::string mask, text;
  varDefaultText(field, mask, text);
  return one_line(column.type == 'C' ? shown(trim_right(text)) : std::string(trim_blanks(text)));
}

}  // namespace tarnel
