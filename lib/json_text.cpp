#include "lib/json_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <vector>

#include "core/arrays.h"
#include "core/errors.h"
#include "core/stacks.h"
#include "lib/cell_text.h"
#include "lib/character_reader.h"
#include "lib/dates.h"
#include "lib/utf8.h"

namespace tarnel {
namespace {

constexpr std::size_t kDeepest = 100;
constexpr std::int32_t kMostElements = 65535;

// --- Writing

void append_number(ByteBuffer& out, double value) {
  constexpr std::size_t kLongest = 32;
  if (!std::isfinite(value)) return out.put("null");
  char* digits = out.room(kLongest);
  out.took(static_cast<std::size_t>(std::to_chars(digits, digits + kLongest, value).ptr - digits));
}

// A text that is no UTF-8 is read as one of a table that tells no set.
void put_text(ByteBuffer& out, std::string_view text) {
  put_json_text(out, is_ascii(text) || is_utf8(text) ? text : assumed_utf8(text));
}

bool is_pair(const Var* value) {
  return value->type == 'A' && element_count(value) == 2 && is_text(element(value, 1));
}

bool is_object(const Var* array) {
  for (std::int32_t i = 1; i <= element_count(array); ++i)
    if (!is_pair(element(array, i))) return false;
  return element_count(array) > 0;
}

// False after an error.
bool append_value(ByteBuffer& out, const Var* value, std::size_t depth);

bool append_array(ByteBuffer& out, const Var* array, std::size_t depth) {
  if (depth == kDeepest) {
    RT_ERROR(320, "TOJSON(): more than 100 levels");
    return false;
  }
  const bool object = is_object(array);
  out.put(object ? '{' : '[');
  for (std::int32_t i = 1; i <= element_count(array); ++i) {
    if (i > 1) out.put(',');
    const Var* part = element(array, i);
    if (object) {
      put_text(out, text_of(element(part, 1)));
      out.put(':');
      part = element(part, 2);
    }
    if (!append_value(out, part, depth + 1)) return false;
  }
  out.put(object ? '}' : ']');
  return true;
}

bool append_value(ByteBuffer& out, const Var* value, std::size_t depth) {
  switch (value->type) {
    case 'A':
      return append_array(out, value, depth);
    case 'C':
    case 'M':
      put_text(out, text_of(value));
      return true;
    case 'N':
    case 'F':
    case 'I':
      append_number(out, number_of(value));
      return true;
    case 'L':
      out.put(truth_of(value) ? "true" : "false");
      return true;
    case 'D':
      if (value->i == 0)
        out.put("null");
      else
        put_json(out, {CellKind::kDate, dateToYmd(value->i)});
      return true;
    case 'U':
      out.put("null");
      return true;
    default:
      RT_ERROR(203, format_text("TOJSON(): a value of type '%c' has no JSON", value->type));
      return false;
  }
}

// --- Reading

// Makes the value while the text is read: the arrays that are open lie on the temporary stack, each of which gets
// what is closed above it.
class ValueMaker : public nlohmann::json_sax<nlohmann::json> {
 public:
  ValueMaker() : result_(NEW_TEMP()) {}

  bool null() override { return add(nil_value()); }
  bool boolean(bool value) override { return add(logical(value)); }
  bool number_integer(number_integer_t value) override {
    return add(TMP_NUM(static_cast<double>(value), 0));
  }
  bool number_unsigned(number_unsigned_t value) override {
    return add(TMP_NUM(static_cast<double>(value), 0));
  }
  bool number_float(number_float_t value, const string_t& digits) override {
    const std::size_t point = digits.find('.');
    const std::size_t end = std::min(digits.find_first_of("eE"), digits.size());
    const bool plain = point < digits.size() && end == digits.size();
    return add(
        TMP_NUM(value, plain ? static_cast<int>(std::min<std::size_t>(end - point - 1, 15)) : -1));
  }
  bool string(string_t& value) override { return add(TMP_TEXT(value)); }
  bool binary(binary_t&) override { return false; }
  bool start_object(std::size_t) override { return deeper() && open(true); }
  bool start_array(std::size_t) override { return deeper() && open(false); }
  // The name waits in its pair for the value.
  bool key(string_t& name) override {
    if (!open(false)) return false;
    return append(TMP_TEXT(name));
  }
  bool end_object() override { return --depth_, close(); }
  bool end_array() override { return --depth_, close(); }
  bool parse_error(std::size_t position, const std::string&,
                   const nlohmann::detail::exception&) override {
    fault_ = "no JSON from byte " + std::to_string(position) + " on";
    return false;
  }

  Var* result() const { return result_; }
  const std::string& fault() const { return fault_; }

 private:
  struct Open {
    Var* array;
    bool object;
    std::int32_t mark;  // of the temporaries above it
    std::int32_t count = 0;
  };

  bool deeper() {
    if (depth_ == kDeepest) fault_ = "more than 100 levels";
    return depth_++ < kDeepest;
  }

  bool open(bool object) {
    Var* array = NEW_TEMP();
    cscreara(array, 0, kAllNil);
    open_.push_back({array, object, temp_top()});
    return true;
  }

  bool append(Var* value) {
    Open& top = open_.back();
    if (top.count == kMostElements) {
      fault_ = "an array has at most 65535 elements";
      return false;
    }
    if (is_error(value)) return false;
    cscrearr(top.array, ++top.count, kKeep, {value});
    POP_TEMPS(top.mark);
    return true;
  }

  // A value that completes a pair completes an element of the object around it too.
  bool add(Var* value) {
    if (open_.empty()) {
      CPY_VAR(result_, value);
      return true;
    }
    if (!append(value)) return false;
    const bool pair = open_.size() > 1 && open_[open_.size() - 2].object && open_.back().count == 2;
    return !pair || close();
  }

  bool close() {
    Var* array = open_.back().array;
    open_.pop_back();
    return add(array);
  }

  Var* const result_;
  std::vector<Open> open_;
  std::size_t depth_ = 0;
  std::string fault_;
};

}  // namespace

Var* tojson(std::int32_t argc, Var** argv) {
  ByteBuffer json;
  if (argc < 1) return empty_text();
  return append_value(json, argv[0], 0) ? TMP_TEXT(json.text()) : error_value();
}

Var* fromjson(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, "CM")) return RT_ERROR(312, "FROMJSON(): takes a text");
  const std::int32_t mark = temp_top();
  const std::string text(text_of(argv[0]));
  ValueMaker maker;
  // The parser takes a NUL for the end.
  if (text.find('\0') != text.npos)
    return RT_ERROR(320, "FROMJSON(): no JSON from its NUL byte on");
  if (nlohmann::json::sax_parse(text, &maker)) return keep_temp(mark, maker.result());
  POP_TEMPS(mark);
  return maker.fault().empty() ? error_value() : RT_ERROR(320, "FROMJSON(): " + maker.fault());
}

}  // namespace tarnel
