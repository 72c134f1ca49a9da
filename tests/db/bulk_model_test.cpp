// Copies, appends, sorts, totals and joins of random tables give what a list gives.
#include <algorithm>
#include <cstdlib>
#include <random>

#include "core/errors.h"
#include "core/operators.h"
#include "core/settings.h"
#include "core/text.h"
#include "tests/db/table_files.h"
#include "tests/db/table_test.h"

namespace tarnel::testing {
namespace {

using Records = std::vector<std::string>;

// What the bytes of a record mean: mark, n N 6.1, c C 3, d D 8, l L 1, m M.
double n_of(const std::string& r) {
  return std::atof(r.substr(1, 6).c_str());
}
std::string c_of(const std::string& r) {
  return r.substr(7, 3);
}
bool is_blank(const std::string& field) {
  return field.find_first_not_of(' ') == std::string::npos;
}
bool is_deleted(const std::string& r) {
  return r[0] == '*';
}
constexpr std::size_t kMemoAt = 19;
constexpr int kAll = -1000;  // below every n

class BulkModel : public TableTest {
 protected:
  static constexpr std::initializer_list<FieldRow> kStructure = {
      {"n", "N", 6, 1}, {"c", "C", 3, 0}, {"d", "D", 8, 0}, {"l", "L", 1, 0}, {"m", "M", 10, 0}};

  int draw(int below) { return static_cast<int>(random_() % static_cast<unsigned>(below)); }

  // A closed table of random records with an order by n.
  void make(const char* file, int records) {
    ASSERT_TRUE(create(file, kStructure) && open(file, Use::kExclusive, "FILLED"));
    for (int i = 0; i < records; ++i) {
      const std::int32_t mark = temp_top();
      call("dbappend");
      if (draw(8) > 0) put("n", number((draw(400) - 200) / 10.0, 1));
      put("c",
          text(std::string(1, static_cast<char>("aAbB "[draw(5)])) + (draw(2) == 0 ? "x" : "")));
      if (draw(3) > 0) run("d := ctod('01/" + std::to_string(10 + draw(20)) + "/99')");
      run(draw(2) == 0 ? "l := .T." : "l := .F.");
      if (draw(3) > 0)
        put("m", text(std::string(static_cast<std::size_t>(draw(1500)),
                                  static_cast<char>('a' + draw(26)))));
      if (draw(4) == 0) call("dbdelete");
      POP_TEMPS(mark);
    }
    ASSERT_EQ(run("ordcreate('" + std::string(file) + "', , 'n'), dbclosearea()"), "L T")
        << take_errors();
  }

  // The records that a walk under the present settings comes to.
  Records visited(const char* file, bool ordered, int above) const {
    Records records = records_of(file);
    std::erase_if(records, [&](const std::string& r) {
      return (settings().deleted && is_deleted(r)) || n_of(r) <= above;
    });
    if (ordered)
      std::stable_sort(
          records.begin(), records.end(),
          [](const std::string& a, const std::string& b) { return n_of(a) < n_of(b); });
    return records;
  }

  void expect_copy();
  void expect_sort();
  void expect_total();
  void expect_texts();
  void expect_join();
  void expect_append(int round);

  std::minstd_rand random_{11};
  // Of the round: whether "t" is in its order, and what of it the scope selects.
  bool ordered_ = false;
  int above_ = 0;
  std::string scope_;
  Records source_;
};

// A field to sort by: how it compares.
struct SortKey {
  const char* name;
  int (*compare)(const std::string& a, const std::string& b);
};
int compare_texts(const std::string& a, const std::string& b) {
  return a.compare(b) < 0 ? -1 : a == b ? 0 : 1;
}
std::string upper(std::string s) {
  for (char& c : s) c = upper_letter(c);
  return s;
}
const SortKey kSortKeys[] = {
    {"n",
     [](const std::string& a, const std::string& b) {
       return n_of(a) < n_of(b) ? -1 : n_of(a) > n_of(b) ? 1 : 0;
     }},
    {"c",
     [](const std::string& a, const std::string& b) { return compare_texts(c_of(a), c_of(b)); }},
    {"c/C", [](const std::string& a,
               const std::string& b) { return compare_texts(upper(c_of(a)), upper(c_of(b))); }},
    {"d", [](const std::string& a,
             const std::string& b) { return compare_texts(a.substr(10, 8), b.substr(10, 8)); }},
    {"l",
     [](const std::string& a, const std::string& b) { return (a[18] == 'T') - (b[18] == 'T'); }},
};

void BulkModel::expect_copy() {
  ASSERT_EQ(run("__dbcopy('copy', " + scope_ + ")"), "L T") << take_errors();
  EXPECT_EQ(records_of("copy"), source_);
}

// Two keys, the first of them descending or not.
void BulkModel::expect_sort() {
  const SortKey &first = kSortKeys[draw(5)], &second = kSortKeys[draw(5)];
  const bool down = draw(2) == 0;
  const std::string name = first.name;
  const std::string key = !down ? name : name.size() > 1 ? name + "D" : name + "/D";
  Records sorted = source_;
  std::stable_sort(sorted.begin(), sorted.end(), [&](const std::string& a, const std::string& b) {
    const int order = first.compare(a, b) * (down ? -1 : 1);
    return order != 0 ? order < 0 : second.compare(a, b) < 0;
  });
  ASSERT_EQ(run("__dbsort('sorted', {'" + key + "', '" + second.name + "'}" + scope_ + ")"), "L T")
      << take_errors();
  EXPECT_EQ(records_of("sorted"), sorted) << key << " " << second.name;
}

void BulkModel::expect_total() {
  Records totals;
  double sum = 0;
  for (std::size_t i = 0; i < source_.size(); ++i) {
    if (i == 0 || source_[i][18] != source_[i - 1][18]) {
      totals.push_back(" " + source_[i].substr(1, kMemoAt - 1));
      sum = 0;
    }
    sum += n_of(source_[i]);
    totals.back().replace(1, 6, format_text("%6.1f", sum));
  }
  ASSERT_EQ(run("__dbtotal('totals', 'l', 'n'" + scope_ + ")"), "L T") << take_errors();
  EXPECT_EQ(records_of("totals"), totals);
}

// Out into a text and back: memos and marks are left out, and a blank number is 0.
void BulkModel::expect_texts() {
  Records back;
  for (const std::string& r : source_)
    back.push_back(" " + (is_blank(r.substr(1, 6)) ? "   0.0" : r.substr(1, 6)) +
                   r.substr(7, kMemoAt - 7));
  for (const std::string form : {"", "'*'", "''"}) {
    SCOPED_TRACE(form);
    ASSERT_EQ(run("__dbcopyde('text', " + form + ", " + scope_ + "), __dbcopyst('text'), " +
                  "dbusearea(.T., , 'text', 'XX', .F.), __dbappgen('text', " + form +
                  "), dbclosearea(), dbselectarea('TT'), used()"),
              "L T")
        << take_errors();
    EXPECT_EQ(records_of("text"), back);
  }
}

void BulkModel::expect_join() {
  Records pairs;
  for (const std::string& a : visited("t", ordered_, kAll))
    for (const std::string& b : visited("u", false, kAll))
      if (c_of(a) == c_of(b)) pairs.push_back(" " + a.substr(1, 6) + c_of(b) + a.substr(10, 8));
  ASSERT_EQ(run("dbusearea(.T., , 'u', 'UU', .F.), dbselectarea('TT'), "
                "__dbjoin('UU', 'pairs', {'n', 'UU->c', 'd'}, 'c == UU->c')"),
            "L T")
      << take_errors();
  EXPECT_EQ(records_of("pairs"), pairs);
}

// The source is walked in natural order; the target may have an order.
void BulkModel::expect_append(int round) {
  const Records added = visited("t", false, above_);
  Records all = records_of("u");
  all.insert(all.end(), added.begin(), added.end());
  run("dbcloseall()");
  ASSERT_TRUE(open("u", round % 4 < 2 ? Use::kShared : Use::kExclusive, "UU"));
  const bool with_order = draw(2) == 0 && yes("dbsetindex", {text("u")});
  ASSERT_EQ(run("__dbapp('t', " + scope_ + ")"), "L T") << take_errors();
  run("dbcloseall()");
  EXPECT_EQ(records_of("u"), all);
  EXPECT_EQ(with_order ? order_fault("u.idx", "u.dbf", all, {1, 6}) : "", "");
}

TEST_F(BulkModel, RandomTablesMoveAsListsDo) {
  for (int round = 0; round < 40; ++round) {
    SCOPED_TRACE(round);
    run("dbcloseall()");
    make("t", draw(60));
    make("u", draw(20));
    ASSERT_TRUE(open("t", round % 2 == 0 ? Use::kShared : Use::kExclusive, "TT"));
    ordered_ = draw(2) == 0 && yes("dbsetindex", {text("t")});
    run(draw(3) == 0 ? "set(11, .T.)" : "set(11, .F.)");
    above_ = draw(3) == 0 ? kAll : draw(30) - 20;
    scope_ = above_ == kAll ? "" : ", 'n > " + std::to_string(above_) + "'";
    source_ = visited("t", ordered_, above_);
    expect_copy();
    expect_sort();
    expect_total();
    expect_texts();
    expect_join();
    expect_append(round);
    EXPECT_EQ(take_errors(), "");
  }
  run("set(11, .F.)");
}

// Keys of more bytes than a sort holds, most of which begin alike, by bytes and by a collation.
TEST_F(BulkModel, LongKeysAreSortedOverTheirWholeLength) {
  ASSERT_TRUE(create("long", {{"k", "C", 90, 0}, {"n", "N", 5, 0}}) &&
              open("long", Use::kExclusive));
  for (int i = 0; i < 400; ++i) {
    std::string key(static_cast<std::size_t>(draw(90)), 'a');
    for (int change = draw(3); change > 0 && !key.empty(); --change)
      key[static_cast<std::size_t>(draw(static_cast<int>(key.size())))] =
          static_cast<char>('a' + draw(3));
    const std::int32_t mark = temp_top();
    call("dbappend");
    put("k", text(key));
    put("n", integer(i));
    POP_TEMPS(mark);
  }
  call("dbcommit");
  unsigned char backwards[256];
  for (int c = 0; c < 256; ++c) backwards[c] = static_cast<unsigned char>(255 - c);
  for (const bool collated : {false, true})
    for (const bool down : {false, true}) {
      Records sorted = records_of("long");
      std::stable_sort(sorted.begin(), sorted.end(),
                       [&](const std::string& a, const std::string& b) {
                         const int order = a.substr(1, 90).compare(b.substr(1, 90));
                         return collated == down ? order < 0 : order > 0;
                       });
      if (collated) set_collation(backwards);
      EXPECT_EQ(run(down ? "__dbsort('sorted', 'k/D')" : "__dbsort('sorted', 'k')"), "L T");
      set_collation(nullptr);
      EXPECT_EQ(records_of("sorted"), sorted) << collated << down;
    }
}

}  // namespace
}  // namespace tarnel::testing
