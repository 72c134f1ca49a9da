// What the procedures of one translation share: the cells of the file, the functions they call, and the text of the
// blocks that were found in them.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <unordered_map>

#include "core/symbols.h"
#include "macro/code.h"
#include "macro/program_part.h"
#include "translator/identifiers.h"

namespace tarnel {

class FileText {
 public:
  // --- Functions. `file` counts the program files that are translated together.
  // The identifier of a procedure; STATIC ones are known in their file only.
  std::string add_procedure(std::string_view name, int file, bool is_static);
  // What CALL gets for a function: a procedure, or a function that is looked for by its name.
  std::string function(std::string_view name, int file);

  // --- Cells.
  const std::string& field_or_variable(std::string_view name) { return names_.of(name); }
  const std::string& alias(std::string_view name) { return aliases_.of(name); }
  std::string add_static(std::string_view name, int file);
  // Opens the frame of a procedure or block.
  std::string activation(const ProgramPart& part, int file, const char* argc = "argc");
  // The variable that knows a source file, by its path.
  std::string source(const ProgramFile& file);
  // An identifier that no other cell or procedure has.
  std::string identifier(std::string_view name) { return identifiers_.add(name); }
  // Names for a function of its own.
  Identifiers local_identifiers() const { return identifiers_; }

  // --- What was written. Blocks stand before the procedures that make them.
  std::string blocks;
  std::string cells() const;
  std::string sources_list() const;

 private:
  Identifiers identifiers_;
  NamedCells names_{"Name_", kNameSize};
  NamedCells aliases_{"Alias_", std::string::npos};
  NamedCells called_{"Called_", std::string::npos};  // errors tell them whole
  std::string frame_names(const ProgramPart& part, int file);
  std::string names_of_statics(const ProgramPart& part, int file);
  std::map<std::string, std::string> statics_;  // by their identifiers, their places in Cells_N
  std::map<int, std::size_t> statics_of_files_;
  struct NamedStatics {
    const ProgramPart* part;
    int file;
  };
  std::vector<NamedStatics> named_statics_;
  std::vector<std::pair<std::string, const ProgramFile*>> sources_;
  std::unordered_map<std::string, std::string>
      procedures_;  // by the significant characters, behind the file of STATIC ones
};

// A name of a file for people, in one line.
std::string shown_path(std::string_view path);
// What follows stands in that line of a source file.
std::string line_directive(std::int64_t line, std::string_view path);
// A line of code at a depth, broken where it is long.
std::string code_line(std::string_view text, int depth);

}  // namespace tarnel
