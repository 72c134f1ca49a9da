#include "pages/table_access.h"

#include "core/frame.h"
#include "core/operators.h"
#include "db/front.h"

namespace tarnel {

void open_table(Area area, const char* file, Var* shared, bool read_only) {
  CALL_SIMPLE(dbusearea, logical(area == Area::kNew), nil_value(), TMP_STR(file), nil_value(),
              shared, logical(read_only));
}

void create_order(const char* file, const char* key, BlockFunction key_block) {
  CALL_SIMPLE(dbcreatein, TMP_STR(file), TMP_STR(key), TMP_BLOCK(key_block), nil_value());
}

void set_order(const char* file) {
  CALL_SIMPLE(dbsetindex, TMP_STR(file));
}

bool at_end() {
  return csifu(CALL_SIMPLE(front_eof));
}
void skip_record() {
  CALL_SIMPLE(front_dbskip, TMP_INT(1));
}

}  // namespace tarnel
