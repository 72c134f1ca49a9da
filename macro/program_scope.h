// What the names in the expressions of a program mean: parameters, locals, statics, declared fields and memory
// variables. Texts that are evaluated have no scope; all their names are looked for when they run.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/symbols.h"
#include "macro/program_part.h"

namespace tarnel {

// The significant characters of a name, in lower case.
class NameKey {
 public:
  explicit NameKey(std::string_view name);
  bool operator==(const NameKey&) const = default;
  struct Hash {
    std::size_t operator()(const NameKey& key) const {
      return std::hash<std::string_view>()({key.letters_, sizeof(key.letters_)});
    }
  };

 private:
  char letters_[kNameSize + 6] = {};  // compared as two words
};

enum class NameKind : std::uint8_t { kUndeclared, kSlot, kStatic, kField, kMemvar };

struct NameMeaning {
  NameKind kind = NameKind::kUndeclared;
  std::int32_t index = 0;  // of a slot or static
  std::string alias{};     // of a field, empty: the current area
};

class ProgramScope {
 public:
  ProgramScope() : levels_(2) {}
  virtual ~ProgramScope() = default;
  ProgramScope(const ProgramScope&) = delete;
  ProgramScope& operator=(const ProgramScope&) = delete;

  // --- Declarations. The names of the file are known in all its procedures.
  // False for a name that the procedure, or the file, declares already.
  [[nodiscard]] bool declare(std::string_view name, const NameMeaning& meaning);
  [[nodiscard]] bool declare_in_file(std::string_view name, const NameMeaning& meaning);
  void begin_procedure();

  // --- For expressions. A name that the code around a block declares becomes one of its detached locals.
  NameMeaning find(std::string_view name) { return find_at(levels_.size() - 1, name); }
  // A block begins; its parameters are declared next. `where` lies in the text that is compiled.
  ProgramPart* begin_block(const char* where);
  void declare_parameter(std::string_view name);
  void end_block();
  // Every name that is mentioned.
  virtual void note_name(std::string_view name) = 0;
  // A memory variable or field is mentioned that nothing declares, or a function is called.
  virtual void note_undeclared(std::string_view name) = 0;
  virtual void note_call(std::string_view name) = 0;

  // Was a parameter or local mentioned since it was last forgotten?
  bool mentioned_slot() const { return mentioned_slot_; }
  void forget_slot_mention() { mentioned_slot_ = false; }

 protected:
  virtual ProgramPart* new_block(const char* where) = 0;

 private:
  struct Level {
    std::unordered_map<NameKey, NameMeaning, NameKey::Hash> names;
    ProgramPart* block = nullptr;
  };

  static bool add(Level& level, std::string_view name, const NameMeaning& meaning);
  NameMeaning find_at(std::size_t level, std::string_view name);

  bool mentioned_slot_ = false;
  std::vector<Level> levels_;  // the file, the procedure, blocks
};

}  // namespace tarnel
