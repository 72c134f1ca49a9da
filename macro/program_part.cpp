#include "macro/program_part.h"

#include <algorithm>

#include "core/errors.h"
#include "core/frame.h"
#include "core/text.h"
#include "macro/evaluation.h"
#include "macro/machine_state.h"

namespace tarnel {
namespace {

Var* run(Code& code, const BlockArguments& arguments, Var* const* captures = nullptr) {
  const Evaluation evaluation;
  if (!evaluation.possible() || !Machine::has_room(Machine::cells_for(code))) return error_value();
  return Machine(code, arguments, captures).run();
}

// The first of a block's detached locals is where its code stands: code of programs lasts to the end of the run.
Code& code_of_block(Var* const* locals) {
  return *static_cast<Code*>(locals[0]->raw);
}

Var* run_closure(std::int32_t argc, Var** argv, Var** locals) {
  return run(code_of_block(locals), {argc, argv}, locals + 1);
}

}  // namespace

void ProgramPart::add_name(std::string& names, char kind, std::string_view variable) {
  names += kind;
  names += lower_text(variable);
  names += ' ';
}

void ProgramUnit::name_frames() {
  const ProgramPart& file = parts.front();
  const auto statics_of = [this](const ProgramPart& part) {
    return CellNames{part.static_names.c_str(), statics.data() + part.first_static};
  };
  for (ProgramPart& part : parts) {
    const ProgramPart& procedure = part.around != nullptr ? *part.around : part;
    part.names = {part.slot_names.c_str(),
                  &procedure != &file ? statics_of(procedure) : CellNames{}, statics_of(file)};
  }
}

ProgramUnit::~ProgramUnit() {
  for (Var* cell : statics) DEL_VAR(cell);
}

Function ProgramUnit::find_own(std::string_view name) const {
  const std::string_view significant = name.substr(0, kNameSize);
  const auto found = std::ranges::lower_bound(own, significant, {}, &LoadedName::name);
  return found != own.end() && found->name == significant ? Function(found->procedure) : Function();
}

Var* run_procedure(Code& code, std::int32_t argc, Var** argv) {
  return run(code, {argc, argv});
}

void run_in_frame(Code& code) {
  const Evaluation evaluation;
  if (!evaluation.possible() || !Machine::has_room(code.depth)) return;
  SmallList<Var*, 16> slots;
  for (const char letter : code.part->locals) {
    slots.add(NEW_VAR('N', 'U'));
    if (letter != 'U') FIX_VAR(slots[slots.size() - 1], letter);
  }
  // A break may leave the run.
  struct Release {
    SmallList<Var*, 16>& slots;
    ~Release() {
      for (std::size_t i = 0; i < slots.size(); ++i) DEL_VAR(slots[i]);
    }
  } const release{slots};
  Machine(code, {}, {0, nullptr}, slots.data()).run();
}

Var* make_closure(Code& code, Var* const* slots) {
  SmallList<Var*, 8> cells;
  Var* const place = NEW_VAR('N', 'U');
  SET_PTR(place, &code);
  cells.add(place);
  for (const std::int32_t slot : code.part->captures) cells.add(slots[slot]);
  Var* const block = TMP_BLOCK(run_closure, cells.data(), static_cast<std::int32_t>(cells.size()));
  DEL_VAR(place);
  return block;
}

}  // namespace tarnel
