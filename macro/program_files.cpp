#include "macro/program_files.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "core/classes.h"
#include "core/descriptors.h"
#include "core/error_object.h"
#include "core/output.h"
#include "core/runtime.h"
#include "core/settings.h"
#include "core/text.h"

namespace tarnel {
namespace {

constexpr int kMostFrames = 50;  // that a report tells of
constexpr std::int32_t kDeveloperNotice = 902;

struct KnownFile {
  const char* module;
  std::string path;
};
std::vector<KnownFile> known_files;

std::string place_of(const Frame& frame) {
  const std::string* const path = source_path(frame);
  return (path != nullptr ? *path : std::string(frame.module)) + ":" + std::to_string(frame.line) +
         ": ";
}

}  // namespace

ProgramFile program_file(std::string path) {
  std::string_view base = std::string_view(path).substr(path.find_last_of('/') + 1);
  std::string module = lower_text(base.substr(0, std::min(base.rfind('.'), base.size())));
  return {std::move(module), std::move(path)};
}

void add_program_file(const char* module, std::string_view path) {
  known_files.push_back({module, std::string(path)});
}

void forget_program_file(const char* module) {
  std::erase_if(known_files, [&](const KnownFile& file) { return file.module == module; });
}

const std::string* source_path(const Frame& frame) {
  for (const KnownFile& file : known_files)
    if (frame.module == file.module) return &file.path;
  return nullptr;
}

Var* procpath(std::int32_t argc, Var** argv) {
  const Frame* const frame = frame_at(arg_is(argc, argv, 0, "INFL") ? integer_of(argv[0]) : 0);
  const std::string* const path = frame != nullptr ? source_path(*frame) : nullptr;
  return path != nullptr ? TMP_TEXT(*path) : empty_text();
}

std::string program_report(Var* error) {
  const Frame* const at = frame_at(0);
  std::string text = at != nullptr ? place_of(*at) : std::string();
  Var* const words = get_ivar(error, "descriptio");
  text.append(severity_word(get_integer_ivar(error, "severity"))).append(" error ");
  text.append(std::to_string(get_integer_ivar(error, "gencode"))).append(": ");
  if (is_text(words)) text.append(text_of(words));
  text += '\n';
  int frames = 0;
  for (const Frame* frame = at; frame != nullptr && frame->prev != nullptr; frame = frame->prev)
    if (frame->line >= 0 && ++frames <= kMostFrames)
      text.append(place_of(*frame)).append(frame->proc).append("\n");
  if (frames > kMostFrames) text += std::to_string(frames - kMostFrames) + " more\n";
  return text;
}

Var* end_with_report(std::int32_t argc, Var** argv, Var**) {
  Procedure p("tnsh", "cb_1_1_1", -1, argc);
  Var* const error = argc > 0 ? argv[0] : nil_value();
  if (class_of(error) != &error_class()) return p.end();
  if (get_integer_ivar(error, "gencode") == kDeveloperNotice) {
    if (settings().developer) write_error(program_report(error));
    return p.end();
  }
  const std::string text = program_report(error);
  leave_tables();
  end_last_line();
  static_cast<void>(write_gathered());
  write_error(text);
  QUIT_RUN(1);
}

int status_of(const Var* result) {
  const bool status = is_number(result) && number_of(result) >= 0 && number_of(result) <= 255;
  return status ? integer_of(result) : 0;
}

}  // namespace tarnel
