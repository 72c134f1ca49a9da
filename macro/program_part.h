// The procedures and blocks of program files: what belongs to their code.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "core/frame.h"
#include "core/function.h"
#include "core/modules.h"
#include "core/var.h"
#include "macro/code.h"
#include "macro/program_files.h"

namespace tarnel {

struct ProgramUnit;

constexpr std::int32_t kNoMethod = -2;  // as a frame has it

struct ProgramPart {
  ProgramUnit* unit = nullptr;
  const ProgramFile* file = nullptr;  // where it stands
  std::string name;                   // of the procedure as written, or cb_NUMBER_LINE_0
  std::int32_t line = 0;              // of the declaration, or of the block's brace
  std::vector<char> parameters;       // type letters; the first slots
  std::vector<char> locals;           // of a procedure; the slots behind them
  std::vector<std::int32_t>
      captures;            // of a block: slots of the code around it, which come behind them
  char result = 'U';       // declared type of the value
  bool is_method = false;  // Self is its first slot
  const ProgramPart* around = nullptr;  // of a block: the procedure in which it stands
  // Of a method and the blocks in it: its class's place in the line of inheritance, known when classes are linked.
  const std::int32_t* class_level = nullptr;

  std::string slot_names;    // as CellNames has them, of all slots
  std::string static_names;  // and of its own statics, which are in a row in its unit
  std::size_t first_static = 0;
  FrameNames names{};  // these, when the whole unit was compiled

  // The next slot gets its name.
  void name_slot(char kind, std::string_view variable) { add_name(slot_names, kind, variable); }
  void add_parameter(char type, std::string_view variable) {
    parameters.push_back(type);
    name_slot('P', variable);
  }
  // The slot. One for the code's own use has no name.
  std::int32_t add_local(char type, std::string_view variable = {}) {
    locals.push_back(type);
    name_slot(variable.empty() ? '-' : 'L', variable);
    return slot_count() - 1;
  }
  // The unit's static of that number, which comes behind those of this part that were added before.
  void add_static(std::size_t number, std::string_view variable) {
    if (static_names.empty()) first_static = number;
    add_name(static_names, 'S', variable);
  }

  std::int32_t method_scope() const { return class_level != nullptr ? *class_level : kNoMethod; }

  // Parameters and locals, with Self.
  std::int32_t slot_count() const {
    return static_cast<std::int32_t>(parameters.size() + locals.size()) + (is_method ? 1 : 0);
  }

 private:
  static void add_name(std::string& names, char kind, std::string_view variable);
};

// What the code of one file and what it includes shares. Its address stays, since frames and blocks know it.
struct ProgramUnit {
  std::deque<ProgramFile> files;
  std::vector<Var*> statics;    // one reference each
  std::vector<LoadedName> own;  // STATIC procedures, known in this file only
  std::deque<ProgramPart> parts;

  ProgramUnit() = default;
  ~ProgramUnit();
  ProgramUnit(const ProgramUnit&) = delete;
  ProgramUnit& operator=(const ProgramUnit&) = delete;

  // The STATIC procedure of a name in lower case, or none.
  Function find_own(std::string_view name) const;
  // All parts were compiled: from now on their frames know the names. The first part is that of the file.
  void name_frames();
};

// Runs the code of a procedure or method in a frame of its own: binds its parameters, makes its locals, runs it, and gives
// back its result. [back to the height at entry, then 1; 201 204 309 901]
Var* run_procedure(Code& code, std::int32_t argc, Var** argv);

// Runs the code of statements that have no procedure of their own, in the current frame.
void run_in_frame(Code& code);

// A compiled block of the code, in a temporary. `slots` are those of the code around it.
Var* make_closure(Code& code, Var* const* slots);

}  // namespace tarnel
