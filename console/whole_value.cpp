#include "console/whole_value.h"

#include <algorithm>
#include <vector>

#include "core/arrays.h"
#include "core/classes.h"
#include "core/text.h"
#include "lib/dates.h"
#include "lib/value_text.h"
#include "macro/code.h"

namespace tarnel {
namespace {

constexpr std::size_t kDeepest = 20;
constexpr std::string_view kMore = "...";

class Writer {
 public:
  explicit Writer(const ValueTexts& texts) : texts_(texts) {}
  std::string take() { return std::move(text_); }

  void write(const Var* value) {
    switch (value->type) {
      case 'C':
      case 'M':
        return write_text(texts_.readable(text_of(value)));
      case 'D':
        return write_plain("{", std::string(std::string_view(dateToText(value->i))), "}");
      case 'b':
        return write_plain("{", std::string(value->code->text()), "}");
      case 'A':
        return write_nested(value, [&] { write_elements(value); });
      case 'O':
        return write_nested(value, [&] { write_instances(value); });
      default: {
        NumberBuffer buffer;
        text_ += trim_blanks(varToText(value, buffer));
      }
    }
  }

 private:
  void write_plain(std::string_view before, const std::string& text, std::string_view behind) {
    text_.append(before).append(text).append(behind);
  }
  // With quotes of a kind that it doesn't hold; where it holds both they stand as they are.
  void write_text(std::string_view text) {
    const char quote = text.find('"') == text.npos ? '"' : '\'';
    text_.append(1, quote).append(text).append(1, quote);
  }
  template <typename Write>
  void write_nested(const Var* value, Write write_inner) {
    const bool holds_itself = std::ranges::find(inside_, value->shared) != inside_.end();
    if (holds_itself || inside_.size() >= kDeepest) {
      text_ += kMore;
      return;
    }
    inside_.push_back(value->shared);
    write_inner();
    inside_.pop_back();
  }
  void write_elements(const Var* array) {
    text_ += '{';
    for (std::int32_t i = 1; i <= element_count(array); ++i) {
      if (i > 1) text_ += ", ";
      write(element(array, i));
    }
    text_ += '}';
  }
  void write_instances(const Var* object) {
    const ClassDescriptor* descriptor = class_of(object);
    const bool has_name = descriptor != nullptr && !descriptor->name().empty();
    text_ += has_name ? upper_text(descriptor->name()) : "OBJECT";
    text_ += " {";
    const char* between = "";
    for (std::size_t i = 0; descriptor != nullptr && i < descriptor->instances().size(); ++i) {
      const ClassEntry& entry = descriptor->instances()[i];
      const Var* cell = element(object, entry.index + 1);
      if (cell->type == '?') continue;  // a driver's own record
      text_.append(between).append(entry.name).append(": ");
      write(cell);
      between = ", ";
    }
    text_ += '}';
  }

  const ValueTexts& texts_;
  std::string text_;
  std::vector<const SharedHeader*> inside_;
};

}  // namespace

std::string whole_value(const Var* value, const ValueTexts& texts) {
  Writer writer(texts);
  writer.write(value);
  return writer.take();
}

}  // namespace tarnel
