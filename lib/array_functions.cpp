#include "lib/array_functions.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <numeric>
#include <vector>

#include "core/arrays.h"
#include "core/blocks.h"
#include "core/operators.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

// Order of the types in an array of several: texts, numbers, dates, logicals, the rest as it
// stands.
int type_rank(const Var* v) {
  return is_text(v) ? 0 : is_number(v) ? 1 : v->type == 'D' ? 2 : v->type == 'L' ? 3 : 4;
}

bool text_before(std::string_view a, std::string_view b) {
  const unsigned char* weights = collation();
  if (weights == nullptr) return a < b;
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) {
    return weights[static_cast<unsigned char>(x)] < weights[static_cast<unsigned char>(y)];
  });
}

// A cell beside what it is sorted by: to look that up for each comparison takes longer than to compare.
struct SortedCell {
  explicit SortedCell(Var* c) : cell(c), rank(type_rank(c)) {
    if (rank == 1) number = number_of(c);
    if (rank == 2 || rank == 3) number = c->i;
  }
  operator Var*() const { return cell; }

  Var* cell;
  int rank;
  double number = 0;
};

constexpr auto value_before = [](const SortedCell& a, const SortedCell& b) {
  if (a.rank != b.rank) return a.rank < b.rank;
  return a.rank == 0 ? text_before(text_of(a.cell), text_of(b.cell)) : a.number < b.number;
};

// A stretch of elements, kept alive while a block that may change the array runs.
class Stretch {
 public:
  Stretch(SharedHeader* header, std::size_t start, std::size_t count)
      : header_(header),
        start_(start),
        before_(header->elements + start, header->elements + start + count) {
    ++header_->refs;
    for (Var* cell : before_) ++cell->refs;
  }
  ~Stretch() {
    for (Var* cell : before_) DEL_VAR(cell);
    release_shared(header_);
  }
  Stretch(const Stretch&) = delete;
  Stretch& operator=(const Stretch&) = delete;

  std::vector<Var*> cells() const { return before_; }
  // Puts the sorted cells back, unless the array is no longer what it was. Cells that nobody else knows stay where they
  // are and change their contents: who walks through the array then goes through memory in its order.
  void store(const std::vector<Var*>& order) {
    Var** first = header_->elements + start_;
    if (header_->count < start_ + before_.size() ||
        !std::equal(before_.begin(), before_.end(), first))
      return;
    constexpr std::uint32_t kOurs = 2;  // the array's and this one's
    if (!std::ranges::all_of(order, [](const Var* cell) { return cell->refs == kOurs; })) {
      std::copy(order.begin(), order.end(), first);
      return;
    }
    std::vector<Var> contents;
    contents.reserve(order.size());
    for (const Var* cell : order) contents.push_back(*cell);
    for (std::size_t i = 0; i < contents.size(); ++i) *first[i] = contents[i];
  }

 private:
  SharedHeader* header_;
  std::size_t start_;
  std::vector<Var*> before_;
};

// Merge sort, which any answers of `before` leave within bounds.
template <typename Cell, typename Before>
void merge_sort(std::vector<Cell>& cells, std::vector<Cell>& spare, std::size_t from,
                std::size_t to, const Before& before) {
  if (to - from < 2) return;
  const std::size_t middle = from + (to - from) / 2;
  merge_sort(cells, spare, from, middle, before);
  merge_sort(cells, spare, middle, to, before);
  std::size_t left = from, right = middle, out = from;
  while (left < middle && right < to)
    spare[out++] = before(cells[right], cells[left]) ? cells[right++] : cells[left++];
  while (left < middle) spare[out++] = cells[left++];
  while (right < to) spare[out++] = cells[right++];
  std::copy(spare.begin() + static_cast<std::ptrdiff_t>(from),
            spare.begin() + static_cast<std::ptrdiff_t>(to),
            cells.begin() + static_cast<std::ptrdiff_t>(from));
}

// A number whose bits were changed so that unsigned integers have its order.
struct NumberCell {
  explicit NumberCell(Var* c)
      : bits(std::bit_cast<std::uint64_t>(number_of(c) + 0.0)), cell(c) {  // -0 is 0
    constexpr std::uint64_t kSign = std::uint64_t{1} << 63;
    bits = (bits & kSign) != 0 ? ~bits : bits | kSign;
  }
  std::size_t digit(int shift) const { return bits >> shift & 255; }

  std::uint64_t bits;
  Var* cell;
};

// Byte by byte from the lowest, which leaves equal ones as they stand. Comparisons take longer: the processor foresees
// none of them.
std::vector<Var*> sorted_numbers(const std::vector<Var*>& cells) {
  std::vector<NumberCell> order(cells.begin(), cells.end()), other = order;
  for (int shift = 0; shift < 64; shift += 8) {
    std::array<std::size_t, 256> places{};
    for (const NumberCell& one : order) ++places[one.digit(shift)];
    if (places[order.front().digit(shift)] == order.size()) continue;
    std::exclusive_scan(places.begin(), places.end(), places.begin(), std::size_t{0});
    for (const NumberCell& one : order) other[places[one.digit(shift)]++] = one;
    order.swap(other);
  }
  std::vector<Var*> result;
  result.reserve(order.size());
  for (const NumberCell& one : order) result.push_back(one.cell);
  return result;
}

// The cells in the order that `before` gives.
template <typename Cell, typename Before>
std::vector<Var*> sorted(const std::vector<Var*>& cells, const Before& before) {
  std::vector<Cell> order(cells.begin(), cells.end()), spare = order;
  merge_sort(order, spare, 0, order.size(), before);
  return {order.begin(), order.end()};
}

std::vector<Var*> sorted_values(const std::vector<Var*>& cells) {
  constexpr std::size_t kFew = 500;  // for which the 256 places of each byte are too many
  const auto has_place = [](const Var* v) { return is_number(v) && !std::isnan(number_of(v)); };
  if (cells.size() > kFew && std::ranges::all_of(cells, has_place)) return sorted_numbers(cells);
  return sorted<SortedCell>(cells, value_before);
}

}  // namespace

Var* acopy(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, "A") || !arg_is(argc, argv, 1, "A")) return nil_value();
  const BodyHold source(argv[0]->shared), target(argv[1]->shared);
  const std::int64_t from = std::max(int_argument(argc, argv, 2, 1), 1) - 1;
  const std::int64_t to = std::max(int_argument(argc, argv, 4, 1), 1) - 1;
  const std::int64_t count = std::max(int_argument(argc, argv, 3, INT32_MAX), 0);
  // Within one array the end comes first where the target lies behind: nothing is copied twice.
  const bool backwards = source.get() == target.get() && to > from;
  const std::int64_t most = std::min({count, source->count - from, target->count - to});
  for (std::int64_t n = 0; n < most; ++n) {
    const std::int64_t i = backwards ? most - 1 - n : n;
    look_at_signals();
    // What is overwritten may have a destructor that changes either.
    if (from + i >= source->count || to + i >= target->count) continue;
    CPY_VAR(target->elements[to + i], source->elements[from + i]);
  }
  return argv[1];
}

Var* asort(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, "A")) return nil_value();
  Var* array = argv[0];
  const std::int64_t size = element_count(array);
  const std::int64_t start = std::max(int_argument(argc, argv, 1, 1), 1);
  const std::int64_t count =
      std::clamp(std::int64_t{int_argument(argc, argv, 2, INT32_MAX)}, std::int64_t{0},
                 std::max(size - start + 1, std::int64_t{0}));
  if (count < 2) return array;
  Stretch stretch(array->shared, static_cast<std::size_t>(start - 1),
                  static_cast<std::size_t>(count));
  Var* block = arg_is(argc, argv, 3, "Bb") ? argv[3] : nullptr;
  const auto by_block = [block](Var* a, Var* b) {
    const std::int32_t mark = temp_top();
    const Var* answer = run_block_with(block, a, b);
    const bool before = is_number_or_logical(answer) && truth_of(answer);
    POP_TEMPS(mark);
    return before;
  };
  stretch.store(block != nullptr ? sorted<Var*>(stretch.cells(), by_block)
                                 : sorted_values(stretch.cells()));
  return array;
}

Var* atail(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, "A") || element_count(argv[0]) == 0) return nil_value();
  return element(argv[0], element_count(argv[0]));
}

}  // namespace tarnel
