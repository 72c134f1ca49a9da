#include "lang/file_scope.h"

#include "core/text.h"

namespace tarnel {

void FileScope::note_undeclared(std::string_view name) {
  if (!warn_) return;
  if (!undeclared_.insert(lower_text(name.substr(0, kNameSize))).second) return;
  diagnostics_.warn(place_of(name.data()), "nothing declares " + std::string(name));
}

void FileScope::note_call(std::string_view name) {
  note_spelling(name);
  std::string lower = lower_text(name);
  if (!called_.insert(lower).second) return;
  calls_.push_back({std::move(lower), place_of(name.data())});
}

void FileScope::note_no_result(Place place, const std::string& name) {
  if (warn_) diagnostics_.warn(place, "function " + name + " gives no value");
}

void FileScope::note_spelling(std::string_view name) {
  if (name.size() <= kNameSize) return;
  const auto [known, is_new] = spellings_.emplace(lower_text(name.substr(0, kNameSize)), name);
  if (is_new || same_letters(known->second, name)) return;
  if (met_.insert(known->first).second)
    diagnostics_.warn(place_of(name.data()),
                      "the first ten characters count: " + std::string(name) +
                          " is the same name as " + std::string(known->second));
}

ProgramPart* FileScope::new_block(const char* where) {
  const std::int32_t line = place_of(where).line;
  ProgramPart& part = unit_.parts.emplace_back();
  part.unit = &unit_;
  part.file = part_->file;
  part.around = part_;
  part.class_level = part_->class_level;
  part.line = line;
  part.name = "cb_" + std::to_string(++blocks_of_line_[line]) + "_" + std::to_string(line) + "_0";
  return &part;
}

}  // namespace tarnel
