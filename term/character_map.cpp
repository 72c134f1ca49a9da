#include "term/character_map.h"

#include <fcntl.h>

#include <cstdlib>

#include "core/errors.h"
#include "core/open_files.h"
#include "lib/arguments.h"
#include "lib/files.h"

namespace tarnel {
namespace {

constexpr std::size_t kLongestTerminal = 249, kLargestFile = 1 << 20;

struct LoadedMap {
  const char* usual_file;
  ByteMap map = identity_map();
  bool active = false;
  bool looked_for = false;     // the usual file was, or another one was chosen
  std::string file, terminal;  // chosen by the program; an empty file is the usual one
};

struct MapState {
  LoadedMap keys{.usual_file = "OVkeymap.def", .file = {}, .terminal = {}};
  LoadedMap screen{.usual_file = "OVchrmap.def", .file = {}, .terminal = {}};
} state;

void reset(LoadedMap& target) {
  target.map = identity_map();
  target.active = false;
}

std::string terminal_in_force() {
  const char* name = std::getenv("TERM");
  return name != nullptr ? name : "";
}

// Reads the entry of a terminal out of a file. Errors 101, 328 and 902 leave the identity; they aren't told
// unless `report`.
void load(LoadedMap& target, std::string_view file, const std::string& terminal, bool report) {
  reset(target);
  std::string found, text;
  const File opened(fileOpenSearch(file, O_RDONLY, 0,
                                   {.found_name = &found, .map_file = true, .report = report}));
  if (!opened.opened() || !read_handle(opened.fd(), text, kLargestFile)) return;
  int line = 0;
  const MapRead result = parse_map(text, terminal, target.map, line);
  target.active = result == MapRead::kDone;
  if (target.active) return;
  reset(target);
  if (result == MapRead::kWrongLine)
    RT_ERROR(328, format_text("at line %d of file %s", line, found.c_str()));
  else if (report)
    RT_WARNING(902, "Terminal " + terminal + " not found;in the " + found + " file");
}

void load_usual(LoadedMap& target) {
  if (target.looked_for) return;
  target.looked_for = true;
  load(target, target.usual_file, terminal_in_force(), false);
}

void reload(LoadedMap& target) {
  if (!target.looked_for) return load_usual(target);
  if (target.file.empty() && !target.terminal.empty()) return;  // the identity, by choice
  const std::string terminal = target.terminal.empty() ? terminal_in_force() : target.terminal;
  load(target, target.file.empty() ? target.usual_file : target.file, terminal, false);
}

Var* map_function(LoadedMap& target, std::int32_t argc, Var** argv) {
  if (argc > 2)
    RT_ERROR(311, std::string("expected [expC2:'") + target.usual_file + "'], [expC3:'terminal']");
  else if (argc > 0 && !arg_is(argc, argv, 0, kText))
    RT_ERROR(312, "expected character for 1.st argument");
  if (argc > 2 || (argc > 0 && !arg_is(argc, argv, 0, kText))) return false_value();
  if (argc == 0) {
    load_usual(target);
    return logical(target.active);
  }
  const std::string file{text_of(argv[0])}, terminal{text_argument(argc, argv, 1)};
  if (terminal.size() > kLongestTerminal) {
    RT_ERROR(313, "name of the terminal");
    return false_value();
  }
  target.looked_for = true;
  target.file = file;
  target.terminal = file.empty() ? "none" : terminal;
  if (file.empty())
    reset(target);
  else
    load(target, file, terminal.empty() ? terminal_in_force() : terminal, true);
  return logical(target.active);
}

}  // namespace

int through_key_map(int byte) {
  return state.keys.active ? state.keys.map[static_cast<std::size_t>(byte)] : byte;
}

std::string_view through_screen_map(std::string_view text, std::string& mapped) {
  if (!state.screen.active) return text;
  mapped = text;
  for (char& c : mapped) c = static_cast<char>(state.screen.map[static_cast<unsigned char>(c)]);
  return mapped;
}

void load_usual_maps() {
  load_usual(state.keys);
  load_usual(state.screen);
}

void reload_maps() {
  reload(state.keys);
  reload(state.screen);
}

Var* scrinmap(std::int32_t argc, Var** argv) {
  return map_function(state.keys, argc, argv);
}
Var* scroutmap(std::int32_t argc, Var** argv) {
  return map_function(state.screen, argc, argv);
}

}  // namespace tarnel
