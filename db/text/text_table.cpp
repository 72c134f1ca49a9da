#include "db/text/text_table.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "core/blocks.h"
#include "core/errors.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "core/symbols.h"
#include "core/text.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/field_cells.h"

namespace tarnel {
namespace {

// A line may be so much longer than a record.
constexpr std::size_t kLineRoom = std::size_t{1} << 20;

// A condition as a held cell, null for NIL; false after an error.
bool read_condition(const char* operation, Var* argument, Var** slot) {
  if (is_nil(argument)) return true;
  Var* block = block_of(argument);
  if (block != nullptr) {
    HOLD_VAR(slot, block);
    return true;
  }
  if (!is_text(argument)) RT_ERROR(312, operation);
  return false;
}

}  // namespace

TextScope::~TextScope() {
  for (Var** slot : {&forBlock, &whileBlock}) UNHOLD_VAR(slot);
}

TextScope& TextScope::operator=(TextScope&& other) noexcept {
  std::swap(forBlock, other.forBlock);
  std::swap(whileBlock, other.whileBlock);
  count = other.count;
  number = other.number;
  return *this;
}

bool read_text_scope(const char* operation, Var* for_condition, Var* while_condition,
                     const Var* next, const Var* number, TextScope& scope) {
  if (is_number(next)) scope.count = integer_of(next);
  if (is_number(number)) scope.number = integer_of(number);
  if (is_number(number) && scope.number < 1) scope.count = 0;
  return read_condition(operation, for_condition, &scope.forBlock) &&
         read_condition(operation, while_condition, &scope.whileBlock);
}

TextTable::TextTable(const Var* object) : object_(NEW_VAR('n', 'O')) {
  object_->shared = object->shared;
}

TextTable::~TextTable() {
  close();
  object_->type = 'U';
  DEL_VAR(object_);
}

bool TextTable::open(const char* operation, const std::string& path, std::vector<dbf::Field> fields,
                     TextFormat format, TextScope scope) {
  close();
  operation_ = operation;
  path_ = path;
  fields_ = std::move(fields);
  format_ = format;
  scope_ = std::move(scope);
  number_ = 0;
  failed_ = false;
  const std::size_t size = fields_.empty() ? 1U : fields_.back().offset + fields_.back().length;
  record_.assign(size + 1, ' ');
  record_.back() = 0;
  former_ = record_;
  open_ = source_.open(path);
  if (!open_) {
    set_dos_error(errno);
    return fail(101, path);
  }
  if (ogannali(object_, path_, &alias_) < 0) {
    close();
    return false;
  }
  area_ = area_by_server(object_);
  attach_cells();
  end_ = false;
  return true;
}

void TextTable::close() {
  source_.close();
  scope_ = TextScope();
  if (!open_) return;
  open_ = false;
  end_ = true;
  ++generation_;
  detach_cells();
  if (std::exchange(area_, nullptr) != nullptr) remove_server(object_);
}

void TextTable::attach_cells() {
  cells_.reserve(fields_.size());
  symbols_.reserve(fields_.size());
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    Var* cell = new_field_cell(fields_[i], static_cast<std::int32_t>(i), &area_->owner);
    if (cell->type == 'C') show_text(cell, record_.data() + fields_[i].offset);
    symbols_.push_back(ADD_SYMBOL(fields_[i].name));
    cells_.push_back(cell);
    if (symbols_.back() > 0) list_field_cell(symbols_.back(), cell);
  }
}

void TextTable::detach_cells() {
  for (std::size_t i = 0; i < cells_.size(); ++i) {
    if (symbols_[i] > 0) unlist_field_cell(symbols_[i], cells_[i]);
    retire_field_cell(cells_[i]);
  }
  cells_.clear();
  symbols_.clear();
}

bool TextTable::fail(int code, const std::string& text) {
  failed_ = true;
  RT_ERROR(code, std::string(operation_) + ":;" + text);
  return false;
}

// Fills record_ with the line that comes next, which is not passed over yet.
TextTable::Line TextTable::take_line(std::size_t& used) {
  const auto failed = [this](int code, const std::string& text) {
    fail(code, text);
    return Line::kFailed;
  };
  for (const std::size_t size = record_.size() - 1;;) {
    const std::string_view rest = source_.rest();
    if (!rest.empty()) {
      const TakenRecord found =
          take_record(rest, source_.is_last(), format_, fields_, {record_.data(), size});
      if (found.taken == Taken::kTooLong ||
          (found.taken == Taken::kMore && rest.size() > size + kLineRoom))
        return failed(319, format_text("record %d;of %s", number_ + 1, path_.c_str()));
      if (found.wide >= 0 && found.taken == Taken::kRecord)
        return failed(205, format_text("record %d;field %s", number_ + 1,
                                       fields_[static_cast<std::size_t>(found.wide)].name));
      used = found.used;
      if (found.taken == Taken::kRecord) return Line::kTaken;
    } else if (source_.is_last()) {
      return Line::kNone;
    }
    if (source_.read_more()) continue;
    set_dos_error(errno);
    return failed(103, path_);
  }
}

// What a condition says of the line, with the table's area selected. Of a table that it closed: not.
TextTable::Verdict TextTable::judge(Var* block) {
  if (block == nullptr) return Verdict::kHolds;
  const std::uint32_t generation = generation_;
  const std::int32_t mark = temp_top();
  Verdict verdict = Verdict::kNot;
  {
    const CellHold kept(block);
    const AreaScope in(area_);
    const Var* result = run_block_with(block);
    if (is_error(result))
      verdict = Verdict::kFailed;
    else if (generation == generation_ && is_number_or_logical(result) && truth_of(result))
      verdict = Verdict::kHolds;
  }
  POP_TEMPS(mark);
  failed_ = failed_ || verdict == Verdict::kFailed;
  return verdict;
}

bool TextTable::find() {
  const std::uint32_t generation = generation_;
  while (scope_.count != 0) {
    look_at_signals();
    std::size_t used = 0;
    record_.swap(former_);
    const Line line = take_line(used);
    if (generation != generation_) return false;
    if (line == Line::kFailed) {
      record_.swap(former_);
      return false;
    }
    ++number_;
    if (line == Line::kNone) {
      std::fill(record_.begin(), record_.end() - 1, std::uint8_t{' '});
      return false;
    }
    const bool goes_on = judge(scope_.whileBlock) == Verdict::kHolds;
    if (generation != generation_) return false;
    if (!goes_on) {  // the line stays the next one
      record_.swap(former_);
      --number_;
      return false;
    }
    source_.pass(used);
    if (scope_.count > 0) --scope_.count;
    if (scope_.number > 0) {
      if (number_ < scope_.number) continue;
      scope_.count = 0;
      return true;
    }
    const Verdict wanted = judge(scope_.forBlock);
    if (wanted == Verdict::kFailed || generation != generation_) return false;
    if (wanted == Verdict::kHolds) return true;
  }
  return false;
}

bool TextTable::next() {
  if (!end_ && find()) return true;
  end_ = true;
  return false;
}

std::int32_t TextTable::field_number(std::string_view name) const {
  const std::string wanted = upper_text(trim_blanks(name));
  for (std::size_t i = 0; i < fields_.size(); ++i)
    if (wanted == fields_[i].name) return static_cast<std::int32_t>(i) + 1;
  return 0;
}

Var* TextTable::field(std::size_t i) {
  if (i >= cells_.size()) return nil_value();
  const dbf::Field& field = fields_[i];
  const std::uint8_t* at = record_.data() + field.offset;
  Var* cell = cells_[i];
  switch (field.type) {
    case 'C':
      show_text(cell, at);
      break;
    case 'D':
      show_date(cell, at, field);
      break;
    case 'L':
      show_logical(cell, at, field);
      break;
    default:
      show_number(cell, at, field);
  }
  return cell;
}

}  // namespace tarnel
