// The class dbfidx: its table of methods, its objects, their private record.
#include "db/dbfidx/dbfidx.h"

#include <utility>

#include "core/errors.h"
#include "core/frame.h"
#include "db/dbfidx/method/methods.h"

namespace tarnel {
namespace {

#define MEMBER_ROW(name, kind, function) {name, kind, function},
#define PLANNED_ROW(name, kind) {name, kind, nullptr, false},
constexpr DriverMember kMembers[] = {DBFIDX_MEMBERS(MEMBER_ROW, PLANNED_ROW)};
#undef MEMBER_ROW
#undef PLANNED_ROW

// Slots that compiled calls name.
static_assert(driver_slots(kMembers) == 303);
static_assert(driver_slot(kMembers, "axit") == 174 && driver_slot(kMembers, "errinfo") == 201 &&
              driver_slot(kMembers, "indexappend", kHidden) == 225 &&
              driver_slot(kMembers, "indexcheck") == 226 &&
              driver_slot(kMembers, "indexsynchronize", kHidden) == 239 &&
              driver_slot(kMembers, "quickfieldget") == 259 &&
              driver_slot(kMembers, "quickfieldput") == 260);

struct CellEntry {
  const char* name;
  char type;
};
constexpr CellEntry kCells[kCursorCells] = {
    {"bofFlag", 'L'},      {"eofFlag", 'L'}, {"orderCount", 'I'}, {"lastRec", 'I'},
    {"currentOrder", 'I'}, {"recNo", 'I'},   {"privateArea", 'U'}};

std::vector<InstanceEntry> all_instances() {
  std::vector<InstanceEntry> entries;
  for (const char* name : kServerInstances) entries.push_back({name, 'U'});
  for (const CellEntry& cell : kCells) entries.push_back({cell.name, cell.type});
  return entries;
}

std::int32_t& word_of(const Var* object, CursorCell cell) {
  return cursor_cell(object, cell)->i;
}

// Frees the record of an object that is gone, with those that had to wait: see CallOut.
void retire(DbfIdx* dbf) {
  static std::vector<DbfIdx*> waiting;
  waiting.push_back(dbf);
  if (CallOut::under_way()) return;
  for (DbfIdx* gone : std::exchange(waiting, {})) delete gone;
}

}  // namespace

const ClassDescriptor& dbfidx_class() {
  static const auto instances = all_instances();
  static constexpr auto kMethods = driver_methods(kMembers);
  static constexpr auto kOrder = order_by_name(kMethods);
  static const ClassDescriptor descriptor("dbfidx", instances, kMethods, server_properties(),
                                          kOrder);
  static const bool registered = (register_server_class(descriptor), true);
  static_cast<void>(registered);
  return descriptor;
}

DbfIdx::DbfIdx(Var* server)
    : object(NEW_VAR('n', 'O')),
      bofFlag(word_of(server, kBofFlag)),
      eofFlag(word_of(server, kEofFlag)),
      orderCount(word_of(server, kOrderCount)),
      lastRec(word_of(server, kLastRec)),
      currentOrder(word_of(server, kCurrentOrder)),
      recNo(word_of(server, kRecNo)) {
  for (std::int32_t i = 0; i < kCursorCells - 1; ++i) {
    cells_[i] = cursor_cell(server, static_cast<CursorCell>(i));
    ++cells_[i]->refs;
  }
  object->shared = server->shared;
  ring = this;
}

DbfIdx::~DbfIdx() {
  UNHOLD_VAR(&errorTemplate);
  object->type = 'U';
  DEL_VAR(object);
  for (Var* cell : cells_) DEL_VAR(cell);
}

void DbfIdx::reset() {
  static_cast<OpenTable&>(*this) = OpenTable();
  ring = this;
  bofFlag = eofFlag = orderCount = lastRec = currentOrder = recNo = 0;
}

KeepObject::KeepObject(Var* object) : cell_(NEW_VAR('N', 'U')) {
  CPY_VAR(cell_, object);
}

KeepObject::~KeepObject() {
  DEL_VAR(cell_);
}

DbfIdx& make_private_area(Var* object) {
  auto* area = new DbfIdx(object);
  SET_PTR(cursor_cell(object, kPrivateArea), area);
  return *area;
}

Var* di_axit(std::int32_t, Var** argv) {
  Var* cell = cursor_cell(argv[0], kPrivateArea);
  if (cell->type != '?' || cell->raw == nullptr) return nil_value();
  auto* dbf = static_cast<DbfIdx*>(cell->raw);
  close_table(*dbf);
  SET_PTR(cell, nullptr);
  dbf->object->type = 'U';  // whoever still has the record sees that its object is gone
  retire(dbf);
  return nil_value();
}

Var* dbfidxnew(std::int32_t argc, Var** argv) {
  Var* object = dbfidx_class().make();
  return csdoinit(object, argc, argv);
}

}  // namespace tarnel
