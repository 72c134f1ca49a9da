#include "webpage/page_answer.h"

#include <algorithm>
#include <cassert>
#include <vector>

#include "core/output.h"
#include "core/text.h"

namespace tarnel {
namespace {

struct HeaderLine {
  std::string name, value;
};

struct AnswerState {
  int status = 200;
  std::string words;
  bool has_status = false;
  std::vector<HeaderLine> lines = {{"Content-type", "text/html"}};
  bool out = false;
} state;

struct StatusWords {
  int status;
  const char* words;
};
constexpr StatusWords kStatusWords[] = {
    {200, "OK"},
    {201, "Created"},
    {204, "No Content"},
    {301, "Moved Permanently"},
    {302, "Found"},
    {303, "See Other"},
    {304, "Not Modified"},
    {307, "Temporary Redirect"},
    {308, "Permanent Redirect"},
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {409, "Conflict"},
    {410, "Gone"},
    {413, "Content Too Large"},
    {415, "Unsupported Media Type"},
    {422, "Unprocessable Content"},
    {429, "Too Many Requests"},
    {500, "Internal Server Error"},
    {503, "Service Unavailable"},
};

std::string_view usual_words(int status) {
  const auto found = std::ranges::find(kStatusWords, status, &StatusWords::status);
  return found != std::end(kStatusWords) ? found->words : "Status";
}

std::string status_text() {
  return std::to_string(state.status) + " " + state.words;
}

void write_header() {
  state.out = true;
  std::string header;
  if (state.has_status) header.append("Status: ").append(status_text()).append("\n");
  for (const HeaderLine& line : state.lines)
    header.append(line.name).append(": ").append(line.value).append("\n");
  write_standard(header.append("\n"));
}

}  // namespace

void begin_answer() {
  set_output_beginning(write_header);
}
void end_answer() {
  begin_output();
}
bool header_is_out() {
  return state.out;
}

bool answer_is_html() {
  return std::ranges::any_of(state.lines, [](const HeaderLine& line) {
    return same_letters(line.name, "content-type") &&
           lower_text(line.value).starts_with("text/html");
  });
}

void set_answer_status(int status, std::string_view words) {
  assert(!state.out && status >= 200 && status <= 599);
  state.status = status;
  state.words = words.empty() ? usual_words(status) : words;
  state.has_status = true;
}
int answer_status() {
  return state.status;
}

void set_answer_header(std::string_view name, std::string_view value) {
  assert(!state.out && is_header_name(name) && is_header_value(value));
  if (!same_letters(name, "set-cookie")) {
    const auto same = std::ranges::find_if(
        state.lines, [&](const HeaderLine& line) { return same_letters(line.name, name); });
    if (same != state.lines.end()) {
      same->value = value;
      return;
    }
  }
  state.lines.push_back({std::string(name), std::string(value)});
}

void reset_answer() {
  assert(!state.out);
  state = AnswerState();
}

bool is_header_name(std::string_view name) {
  constexpr std::string_view kSigns = "!#$%&'*+-.^_`|~";
  return !name.empty() && std::ranges::all_of(name, [&](char c) {
    const char letter = lower_letter(c);
    return (letter >= 'a' && letter <= 'z') || (c >= '0' && c <= '9') ||
           kSigns.find(c) != std::string_view::npos;
  });
}

bool is_header_value(std::string_view value) {
  return std::ranges::all_of(value, [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 32 && byte != 127;
  });
}

void answer_refusal(int status) {
  reset_answer();
  set_answer_status(status);
  const std::string words = status_text();
  write_standard("<!DOCTYPE html>\n<title>" + words + "</title>\n<h1>" + words + "</h1>\n");
}

}  // namespace tarnel
