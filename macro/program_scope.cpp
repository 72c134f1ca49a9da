#include "macro/program_scope.h"

#include <algorithm>
#include <cassert>

#include "core/text.h"

namespace tarnel {

NameKey::NameKey(std::string_view name) {
  const std::size_t size = std::min<std::size_t>(name.size(), kNameSize);
  for (std::size_t i = 0; i < size; ++i)
    letters_[i] = static_cast<char>(name[i] >= 'A' && name[i] <= 'Z' ? name[i] | 0x20 : name[i]);
}

bool ProgramScope::add(Level& level, std::string_view name, const NameMeaning& meaning) {
  return level.names.emplace(NameKey(name), meaning).second;
}

bool ProgramScope::declare(std::string_view name, const NameMeaning& meaning) {
  assert(levels_.size() == 2);
  return add(levels_[1], name, meaning);
}

bool ProgramScope::declare_in_file(std::string_view name, const NameMeaning& meaning) {
  return add(levels_[0], name, meaning);
}

void ProgramScope::begin_procedure() {
  assert(levels_.size() == 2);
  levels_[1] = {};
}

NameMeaning ProgramScope::find_at(std::size_t level, std::string_view name) {
  Level& here = levels_[level];
  const auto found = here.names.find(NameKey(name));
  if (found != here.names.end()) {
    mentioned_slot_ |= here.block == nullptr && found->second.kind == NameKind::kSlot;
    return found->second;
  }
  if (level == 0) return {};
  NameMeaning outer = find_at(level - 1, name);
  if (here.block == nullptr || outer.kind != NameKind::kSlot) return outer;
  here.block->captures.push_back(outer.index);
  here.block->name_slot('L', name);
  const auto slot = here.block->parameters.size() + here.block->captures.size() - 1;
  const NameMeaning detached{NameKind::kSlot, static_cast<std::int32_t>(slot)};
  here.names.emplace(NameKey(name), detached);
  return detached;
}

ProgramPart* ProgramScope::begin_block(const char* where) {
  ProgramPart* const block = new_block(where);
  levels_.emplace_back().block = block;
  return block;
}

void ProgramScope::declare_parameter(std::string_view name) {
  Level& level = levels_.back();
  const auto slot = static_cast<std::int32_t>(level.block->parameters.size());
  level.block->add_parameter('U', name);
  static_cast<void>(add(level, name, {NameKind::kSlot, slot}));  // of equal names the first counts
}

void ProgramScope::end_block() {
  assert(levels_.size() > 2);
  levels_.pop_back();
}

}  // namespace tarnel
