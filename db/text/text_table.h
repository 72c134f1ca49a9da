// A text file as a table that is read once from its first line to its last: one line a record, fields by a given
// structure. The driver ascirdd shows it to the language; appending takes its records as bytes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "db/area.h"
#include "db/text/text_format.h"
#include "db/text/text_source.h"

namespace tarnel {

// Which lines are read. Owns its blocks, held cells or null.
struct TextScope {
  TextScope() = default;
  ~TextScope();
  TextScope(TextScope&& other) noexcept { *this = std::move(other); }
  TextScope& operator=(TextScope&& other) noexcept;

  Var *forBlock = nullptr, *whileBlock = nullptr;
  std::int32_t count = -1;  // lines at most, below 0 without limit
  std::int32_t number = 0;  // of the only line, 0 any
};

// The scope that FOR and WHILE (blocks, texts, NIL), NEXT and RECORD (numbers, NIL) make. False after error 312.
[[nodiscard]] bool read_text_scope(const char* operation, Var* for_condition, Var* while_condition,
                                   const Var* next, const Var* number, TextScope& scope);

class TextTable {
 public:
  // `object` is the driver object, which owns this. What is called here may close the table; the caller keeps
  // the object.
  explicit TextTable(const Var* object);
  ~TextTable();
  TextTable(const TextTable&) = delete;
  TextTable& operator=(const TextTable&) = delete;

  // Opens a file in the current area under an alias of its own. The fields have their
  // places in the record. No line is read yet. False after errors 101, 317, 338, 342.
  // `operation` is named in errors, and must last.
  [[nodiscard]] bool open(const char* operation, const std::string& path,
                          std::vector<dbf::Field> fields, TextFormat format, TextScope scope);
  void close();
  bool is_open() const { return open_; }
  // Does code of the language run for each line?
  bool has_conditions() const { return scope_.forBlock != nullptr || scope_.whileBlock != nullptr; }

  // On to the next line that the scope takes. False at the end, after which it stays there, and after an error, of
  // the conditions or 101, 103, 205, 319: failed() tells. A condition may close the table.
  bool next();
  bool failed() const { return failed_; }

  bool at_end() const { return end_; }
  std::int32_t number() const { return number_; }  // of the line at hand, 0 before the first
  const std::vector<std::uint8_t>& record() const { return record_; }
  const std::vector<dbf::Field>& fields() const { return fields_; }
  std::int32_t field_number(std::string_view name) const;  // from 1, 0 none
  // The cell of field i (from 0), with its value in the line at hand.
  Var* field(std::size_t i);
  Var* object() { return object_; }
  WorkArea* area() { return area_; }

 private:
  enum class Line : std::uint8_t { kTaken, kNone, kFailed };
  enum class Verdict : std::uint8_t { kHolds, kNot, kFailed };
  Line take_line(std::size_t& used);
  Verdict judge(Var* block);
  bool find();
  bool fail(int code, const std::string& text);
  void attach_cells();
  void detach_cells();

  Var* const object_;
  WorkArea* area_ = nullptr;
  const char* operation_ = "";
  std::string path_, alias_;
  TextFormat format_{};
  std::vector<dbf::Field> fields_;
  std::vector<Var*> cells_;
  std::vector<std::int32_t> symbols_;
  std::vector<std::uint8_t> record_, former_;
  TextSource source_;
  TextScope scope_;
  std::int32_t number_ = 0;
  std::uint32_t generation_ = 0;
  bool open_ = false, end_ = true, failed_ = false;
};

}  // namespace tarnel
