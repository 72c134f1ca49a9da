#include "lang/program.h"

#include <string>

#include "core/classes.h"
#include "core/errors.h"
#include "core/frame.h"

namespace tarnel {
namespace {

constexpr int kMostFrames = 50;  // that a report tells of

const char* severity_words(std::int32_t severity) {
  switch (severity) {
    case kWarning:
      return "I/O";
    case kRunTime:
      return "Run-time";
    case kFatal:
      return "Fatal";
    default:
      return "Internal";
  }
}

std::int32_t number_of_instance(Var* object, const char* name) {
  const Var* const value = get_ivar(object, name);
  return is_number_or_logical(value) ? integer_of(value) : 0;
}

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
  text.append(severity_words(number_of_instance(error, "severity"))).append(" error ");
  text.append(std::to_string(number_of_instance(error, "gencode"))).append(": ");
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
