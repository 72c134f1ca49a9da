#include "macro/code_builder.h"

#include <algorithm>
#include <cassert>
#include <new>

#include "core/memory.h"
#include "macro/program_part.h"

namespace tarnel {
namespace {

// How many cells more a step leaves on the machine's stack, arguments apart. A result comes where kMark was.
int cells_added(StepKind kind) {
  switch (kind) {
    case StepKind::kMark:
    case StepKind::kCountedMark:
    case StepKind::kConstant:
    case StepKind::kShared:
    case StepKind::kName:
    case StepKind::kParameter:
    case StepKind::kMemvar:
    case StepKind::kLocal:
    case StepKind::kMacroText:
    case StepKind::kDate:
    case StepKind::kBlock:
    case StepKind::kField:
    case StepKind::kSlot:
    case StepKind::kStatic:
    case StepKind::kClosure:
    case StepKind::kJoinTexts:
      return 1;
    case StepKind::kBinary:
    case StepKind::kAssign:
    case StepKind::kAssignInstance:
    case StepKind::kSubscript:
    case StepKind::kDrop:
    case StepKind::kAnd:
    case StepKind::kOr:
    case StepKind::kChoose:
    case StepKind::kJump:
    case StepKind::kAreaOf:
    case StepKind::kUnless:
    case StepKind::kStore:
    case StepKind::kStoreStatic:
    case StepKind::kUpdateSlot:
    case StepKind::kEachNext:
    case StepKind::kBreak:
    case StepKind::kPrivate:
    case StepKind::kPublic:
    case StepKind::kBindName:
      return -1;
    case StepKind::kForTest:
      return -3;
    default:
      return 0;
  }
}

// A step that gives one value and runs nothing that could end another.
bool is_simple(StepKind kind) {
  return kind == StepKind::kConstant || kind == StepKind::kShared || kind == StepKind::kParameter ||
         kind == StepKind::kSlot || kind == StepKind::kStatic;
}

// A step whose value nothing can end while the code runs.
bool lasts_as_long(StepKind kind) {
  return kind == StepKind::kConstant || kind == StepKind::kShared || kind == StepKind::kSlot ||
         kind == StepKind::kStatic;
}

template <typename T>
T* take(char*& at, std::size_t count) {
  T* const taken = reinterpret_cast<T*>(at);
  at += count * sizeof(T);
  return taken;
}

template <typename T, std::size_t N>
T* copy_to(char*& at, const SmallList<T, N>& list) {
  T* const copy = take<T>(at, list.size());
  if (list.size() > 0) std::memcpy(static_cast<void*>(copy), list.data(), list.size() * sizeof(T));
  return copy;
}

template <typename T, std::size_t N>
std::size_t size_of(const SmallList<T, N>& list) {
  return list.size() * sizeof(T);
}

}  // namespace

CodeBuilder::~CodeBuilder() {
  for (std::size_t i = 0; i < blocks_.size(); ++i) release_code(blocks_[i]);
}

StepPosition CodeBuilder::add(StepKind kind, std::int32_t a, std::uint8_t op) {
  if (fault_) return kNowhere;
  steps_.add({kind, op, 0, a});
  cells_now_ += cells_added(kind);
  most_cells_ = std::max(most_cells_, cells_now_);
  return steps_.size() - 1;
}

void CodeBuilder::add_constant(const Var& number) {
  cells_.add(number);
  add(StepKind::kConstant, static_cast<std::int32_t>(cells_.size()) - 1);
}

void CodeBuilder::add_number(double value) {
  Var cell{};
  cell.type = 'N';
  cell.length = -1;
  cell.num = value;
  add_constant(cell);
}

// The bytes move until the code is finished: until then the payload is where they stand.
void CodeBuilder::add_text(std::string_view text) {
  Var cell{};
  cell.type = 'C';
  cell.length = static_cast<std::int32_t>(text.size()) + 1;
  cell.bits = add_bytes(text);
  bytes_.add('\0');
  add_constant(cell);
}

void CodeBuilder::add_block(Code* block, StepKind kind) {
  blocks_.add(block);
  add(kind, static_cast<std::int32_t>(blocks_.size()) - 1);
}

void CodeBuilder::add_with_word(StepKind kind, std::string_view word, std::uint8_t op) {
  words_.add({add_bytes(word), static_cast<std::uint32_t>(word.size()), {}, {}, 0});
  add(kind, static_cast<std::int32_t>(words_.size()) - 1, op);
}

// An argument by reference may be missing when the code runs.
void CodeBuilder::add_call(StepPosition mark, std::int32_t count, std::string_view function) {
  take_arguments(count);
  add_with_word(StepKind::kCall, function);
  if (fault_ || count >= UINT16_MAX) return;
  for (std::size_t i = mark; i < steps_.size(); ++i)
    if (steps_[i].kind == StepKind::kByReference) return;
  steps_[mark].kind = StepKind::kCountedMark;
  steps_[steps_.size() - 1].b = static_cast<std::uint16_t>(count + 1);
}

void CodeBuilder::land(StepPosition from) {
  landed_ = steps_.size();
  if (from != kNowhere)
    steps_[from].a = static_cast<std::int32_t>(steps_.size()) - (fault_ ? 1 : 0);
}

void CodeBuilder::drop() {
  if (fault_) return;
  const std::size_t size = steps_.size();
  if (size > landed_ + 1 && steps_[size - 1].kind == StepKind::kUnary) {
    Step& last = steps_[size - 1];
    if (last.op == static_cast<std::uint8_t>(UnaryOperator::kIncrement))
      last.op = static_cast<std::uint8_t>(UnaryOperator::kPreIncrement);
    if (last.op == static_cast<std::uint8_t>(UnaryOperator::kDecrement))
      last.op = static_cast<std::uint8_t>(UnaryOperator::kPreDecrement);
    if (steps_[size - 2].kind == StepKind::kSlot) {
      steps_[size - 2] = {StepKind::kStepSlot, last.op, 0, steps_[size - 2].a};
      steps_.cut(size - 1);
      --cells_now_;
      return;
    }
  }
  add(StepKind::kDrop);
}

void CodeBuilder::add_binary(std::uint8_t op) {
  if (fault_) return;
  const std::size_t size = steps_.size();
  const auto kind = [&](std::size_t back) {
    return size >= landed_ + back ? steps_[size - back].kind : StepKind::kStop;
  };
  const bool slot = kind(1) == StepKind::kSlot;
  if (!slot && kind(1) != StepKind::kConstant) {
    add(StepKind::kBinary, 0, op);
    return;
  }
  const std::int32_t right = steps_[size - 1].a;
  --cells_now_;
  if (kind(2) == StepKind::kSlot && steps_[size - 2].a <= UINT16_MAX) {
    steps_[size - 2] = {slot ? StepKind::kSlotSlot : StepKind::kSlotConstant, op,
                        static_cast<std::uint16_t>(steps_[size - 2].a), right};
    steps_.cut(size - 1);
  } else {
    steps_[size - 1] = {slot ? StepKind::kBinarySlot : StepKind::kBinaryConstant, op, 0, right};
  }
}

StepPosition CodeBuilder::add_unless() {
  if (const std::size_t size = steps_.size(); size > landed_) {
    Step& last = steps_[size - 1];
    const bool compares = last.op >= kFirstRelation && last.op <= kLastRelation;
    if (compares && last.kind == StepKind::kSlotConstant) last.kind = StepKind::kUnlessConstant;
    if (compares && last.kind == StepKind::kSlotSlot) last.kind = StepKind::kUnlessSlot;
  }
  return add(StepKind::kUnless);
}

std::int32_t CodeBuilder::take_slot() {
  const std::size_t size = steps_.size();
  if (fault_ || size <= landed_ || steps_[size - 1].kind != StepKind::kSlot) return -1;
  const std::int32_t slot = steps_[size - 1].a;
  steps_.cut(size - 1);
  --cells_now_;
  return slot;
}

void CodeBuilder::shorten_turn(StepPosition end_turn) {
  if (fault_ || end_turn == kNowhere || steps_.size() != end_turn + 7) return;
  const Step* const rest = &steps_[end_turn + 1];
  const bool simple = rest[0].kind == StepKind::kSlot && rest[1].kind == StepKind::kUpdateSlot &&
                      rest[2].kind == StepKind::kSlot &&
                      (rest[3].kind == StepKind::kSlot || rest[3].kind == StepKind::kConstant);
  if (simple) steps_[end_turn].kind = StepKind::kForTurn;
}

StepPosition CodeBuilder::begin_keep() {
  const bool lasts = steps_.size() > 0 && lasts_as_long(steps_[steps_.size() - 1].kind);
  return lasts ? kNowhere : add(StepKind::kKeep);
}

void CodeBuilder::end_keep(StepPosition keep) {
  if (fault_ || keep == kNowhere || steps_.size() != keep + 2 || !is_simple(steps_[keep + 1].kind))
    return;
  steps_[keep] = steps_[keep + 1];
  steps_.cut(keep + 1);
}

void CodeBuilder::fail(const SyntaxFault& fault) {
  if (fault_) return;
  add(StepKind::kFail, 0, static_cast<std::uint8_t>(fault.cause));
  fault_ = fault;
}

std::uint32_t CodeBuilder::add_bytes(std::string_view bytes) {
  const std::size_t at = bytes_.size();
  bytes_.add(bytes.data(), bytes.size());
  return static_cast<std::uint32_t>(at);
}

Code* CodeBuilder::finish(std::string_view text, bool is_block, const ProgramPart* part) {
  assert(steps_.size() == 0 || steps_[steps_.size() - 1].kind != StepKind::kReturn);
  add(StepKind::kReturn);
  const std::size_t size = sizeof(Code) + size_of(cells_) + size_of(blocks_) + size_of(words_) +
                           size_of(steps_) + size_of(bytes_) + text.size();
  char* at = static_cast<char*>(MEM_ALLOC(size, MemPurpose::kMacro));
  Code* code = new (take<Code>(at, 1)) Code{};
  code->refs = 1;
  code->is_block = is_block;
  code->fault = fault_;
  code->part = part;
  code->cell_count = static_cast<std::uint32_t>(cells_.size());
  code->block_count = static_cast<std::uint32_t>(blocks_.size());
  code->depth =
      static_cast<std::uint32_t>(most_cells_) + 1;  // a vector of arguments ends with a null
  if (part != nullptr) {
    code->bound_slots = part->slot_count();
    code->slot_count = static_cast<std::uint32_t>(code->bound_slots) +
                       static_cast<std::uint32_t>(part->captures.size());
    const auto typed =
        std::ranges::find_if(part->parameters, [](char letter) { return letter != 'U'; });
    code->plain_parameters =
        part->is_method ? 0 : static_cast<std::int32_t>(typed - part->parameters.begin());
  }
  code->text_size = static_cast<std::uint32_t>(text.size());
  code->cells = copy_to(at, cells_);
  code->blocks = copy_to(at, blocks_);
  code->words = copy_to(at, words_);
  code->steps = copy_to(at, steps_);
  code->bytes = copy_to(at, bytes_);
  code->text_at = static_cast<std::uint32_t>(bytes_.size());
  if (!text.empty()) std::memcpy(at, text.data(), text.size());
  for (std::uint32_t i = 0; i < code->cell_count; ++i) {
    Var& cell = code->cells[i];
    cell.sclass = 'C';
    cell.refs = 1;
    cell.name = -1;
    if (cell.type == 'C') cell.text = code->bytes + cell.bits;
  }
  blocks_.cut(0);
  return code;
}

Code* unexpanded_block(std::string_view text) {
  Code* code = CodeBuilder().finish(text, true);
  code->expands = true;
  return code;
}

void release_code(Code* code) {
  if (--code->refs > 0) return;
  for (std::uint32_t i = 0; i < code->block_count; ++i) release_code(code->blocks[i]);
  MEM_FREE(code);
}

}  // namespace tarnel
