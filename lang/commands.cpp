#include "lang/commands.h"

#include <cassert>

#include "lang/directives.h"

namespace tarnel {
namespace {

struct Commands {
  SourceFiles files;
  Diagnostics diagnostics{files};
  Directives directives{files, diagnostics, {}, nullptr};

  Commands() {
    directives.open(files.add("commands.ch", std::string(commands_text())));
    SourceTokens tokens;
    while (directives.next(tokens)) {
    }
    assert(diagnostics.errors() == 0);
  }
};

}  // namespace

const RuleBook& command_rules() {
  static const Commands commands;
  return commands.directives.rules();
}

}  // namespace tarnel
