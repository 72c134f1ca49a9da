#include "lang/program.h"

#include <string>

#include "core/classes.h"
#include "core/error_object.h"
#include "core/frame.h"

namespace tarnel {
namespace {

constexpr int kMostFrames = 50;  // that a report tells of

std::string place_of(const Frame& frame) {
  const std::string* const path = source_path(frame);
  return (path != nullptr ? *path : std::string(frame.module)) + ":" + std::to_string(frame.line) +
         ": ";
}

}  // namespace

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

}  // namespace tarnel
