// Records of a table on their way into records with other fields. Values of equal fields move as bytes; others move as
// texts, by the rules by which values of an import are put into fields: nothing is rounded.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "console/field_input.h"
#include "db/dbfidx/bulk/field_plan.h"
#include "db/dbfidx/dbfidx.h"
#include "db/text_set.h"

namespace tarnel {

class FieldMoves {
 public:
  // `from`: for each new field the number, from 0, of the one whose values it takes, -1 for none. The table must
  // outlive it.
  FieldMoves(DbfIdx& dbf, std::vector<dbf::Field> fields, std::vector<std::int32_t> from);

  // What becomes of the fields, a line each; none when nothing does.
  std::vector<std::string> changes() const;
  // A type that can't become another one, in words, "" for none.
  std::string impossible() const;

  // Fills a blank record from record n. Of a value that has no place `tell` gets the line, and a text is cut, another
  // value left out. False after an error: those of reading and adding memos.
  using Tell = std::function<void(const std::string& line)>;
  [[nodiscard]] bool fill(std::int32_t n, const std::uint8_t* record, std::uint8_t* target,
                          const MemoSink& memos, const Tell& tell) const;

 private:
  bool move(std::int32_t n, std::size_t field, const std::uint8_t* record, std::uint8_t* target,
            const MemoSink& memos, const Tell& tell) const;
  bool text_of_field(const dbf::Field& from, const std::uint8_t* at, MemoText& memo,
                     std::string_view& text) const;
  void put(std::int32_t n, const dbf::Field& to, std::uint8_t* at, std::string_view text,
           const Tell& tell) const;
  const dbf::Field* source(std::size_t field) const;

  DbfIdx& dbf_;
  const TextSet set_;
  std::vector<dbf::Field> fields_;
  const std::vector<std::int32_t> from_;
  std::vector<const dbf::Field*> dropped_;
};

}  // namespace tarnel
