// The names of one program file while code is made of it.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "lang/generator.h"
#include "macro/program_scope.h"

namespace tarnel {

class FileScope final : public ProgramScope {
 public:
  FileScope(const ProgramTree& tree, ProgramUnit& unit, Diagnostics& diagnostics, bool warn)
      : tree_(tree), unit_(unit), diagnostics_(diagnostics), warn_(warn) {}

  void note_name(std::string_view name) override { note_spelling(name); }
  void note_undeclared(std::string_view name) override;
  void note_call(std::string_view name) override;
  // A function has no RETURN with a value.
  void note_no_result(Place place, const std::string& name);
  // Tells, once for each, of a name that differs from an earlier one only behind its tenth character.
  void note_spelling(std::string_view name);

  // Blocks belong to the procedure, or method, in which they stand.
  void set_part(const ProgramPart& part) { part_ = &part; }
  std::vector<MentionedCall> take_calls() { return std::move(calls_); }

 private:
  ProgramPart* new_block(const char* where) override;
  Place place_of(const char* where) const {
    return tree_.text.place_at(static_cast<std::size_t>(where - tree_.text.text().data()));
  }

  const ProgramTree& tree_;
  ProgramUnit& unit_;
  Diagnostics& diagnostics_;
  const bool warn_;
  const ProgramPart* part_ = nullptr;  // the procedure that is read
  std::map<std::int32_t, int> blocks_of_line_;
  std::unordered_map<std::string, std::string_view> spellings_;  // by the significant characters
  std::unordered_set<std::string> met_, called_, undeclared_;
  std::vector<MentionedCall> calls_;
};

}  // namespace tarnel
