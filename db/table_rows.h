// The records of a table as rows of cells: those of .dbf tables straight from their bytes, and by many at once where
// nothing is to be asked of them; others by the members of their driver.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "core/var.h"
#include "db/text_set.h"
#include "lib/written_rows.h"

namespace tarnel {

struct RowRequest {
  std::vector<std::int32_t> fields;  // their numbers
  bool with_record = false;          // number and delete mark come first
  bool from_top = false;             // else from the record under the cursor on
  std::int64_t most = -1;            // rows, below 0 all
  // Conditions in place of the scope that is stored with the table; null for none.
  bool own_scope = false;
  std::int64_t* unread_memos =
      nullptr;  // counts those whose text could not be read and shows as nothing
  Var *for_block = nullptr, *while_block = nullptr;
  CodePage written_in = CodePage::kUtf8;  // texts are
  LostTexts* lost = nullptr;              // gets what of them could not be; null: nobody asks
};

// Gives the cells of a record by its bytes and its number; they last until the next call. The table must outlive it.
using RecordCells =
    std::function<const std::vector<RowCell>&(const std::uint8_t* record, std::int32_t number)>;
RecordCells cells_of_records(DbfIdx& dbf, const RowRequest& request);

std::vector<RowColumn> columns_of(Var* server, const RowRequest& request);
// Takes the cells of a record, which last until the next; false when no more are wanted.
using RowTaker = std::function<bool(std::span<const RowCell> cells)>;
// Gives each record that the request, filter and delete marks let show. The cursor ends where it stood. False when the
// records could not be read to their end or the taker wanted no more. `work` names it where progress is shown.
bool give_records(Var* server, const RowRequest& request, const RowTaker& take, const char* work);

}  // namespace tarnel
