#include "webpage/page_errors.h"

#include <syslog.h>

#include <algorithm>
#include <utility>

#include "core/classes.h"
#include "core/error_object.h"
#include "core/frame.h"
#include "core/memory.h"
#include "core/output.h"
#include "core/runtime.h"
#include "core/settings.h"
#include "core/system_log.h"
#include "core/text.h"
#include "frontend/escaped_toolkit.h"
#include "lang/program.h"
#include "macro/evaluation.h"
#include "macro/program_files.h"
#include "webpage/page_answer.h"

namespace tarnel {
namespace {

constexpr int kServerError = 500;
constexpr std::int32_t kDeveloperNotice = 902;

struct ErrorState {
  bool shows = false;
  bool failing = false;  // a page that fails is told of once
} state;

void log_lines(std::string_view lines) {
  while (!lines.empty()) {
    const std::size_t end = std::min(lines.find('\n'), lines.size());
    write_system_log(LOG_ERR, lines.substr(0, end));
    lines.remove_prefix(std::min(end + 1, lines.size()));
  }
}

// FILE:LINE: of the innermost procedure that a program has.
std::string place_of_failure() {
  for (const Frame* frame = frame_at(0); frame != nullptr; frame = frame->prev)
    if (const std::string* const path = source_path(*frame); path != nullptr)
      return *path + ":" + std::to_string(frame->line) + ": ";
  return {};
}

// What the words of a code say to nobody but who writes programs.
struct PlainWords {
  std::int32_t code;
  const char* words;
};
constexpr const char* kSomeError = "an error of the page";
constexpr PlainWords kPlainWords[] = {
    {0, kSomeError},
    {309, "an expression isn't understood"},
    {310, "an expression has no value"},
    {332, "a value of another type is expected"},
    {335, "a break that leads nowhere"},
    {901, "a name or value that can't be used"},
    {902, kSomeError},
};

// Descriptions name tables and files: strangers get the words of the code.
std::string words_for_strangers(Var* error) {
  const Var* const description = get_ivar(error, "descriptio");
  if (is_text(description) && text_of(description).ends_with(kNestedTooDeeply))
    return "calls are nested too deeply";
  const std::int32_t code = get_integer_ivar(error, "gencode");
  const auto* const plain = std::ranges::find(kPlainWords, code, &PlainWords::code);
  if (plain != std::end(kPlainWords)) return plain->words;
  const std::string words = error_entry(code).text;
  return words == "???" ? kSomeError : words;
}

std::string full_report(Var* error) {
  std::string report = program_report(error);
  for (const auto& [title, name] :
       {std::pair{"Operation: ", "operation"}, {"File: ", "filename"}}) {
    const Var* const value = get_ivar(error, name);
    if (is_text(value) && !text_of(value).empty())
      report.append(title).append(text_of(value)).append("\n");
  }
  return report;
}

// {|oError| errhand(oError)}, in a frame that reports don't show.
Var* failure_block(std::int32_t argc, Var** argv, Var**) {
  Procedure p("pageerr", "cb_1_1_1", -1, argc);
  return p.result(page_failed(argc, argv));
}

}  // namespace

void show_errors_in_pages(bool may) {
  state.shows = may;
}

std::string for_strangers(std::string_view text) {
  const std::size_t first = text.find('"'), last = text.rfind('"');
  if (first != last)
    return for_strangers(std::string(text.substr(0, first)) + "something" +
                         std::string(text.substr(last + 1)));
  std::string kept;
  while (!text.empty()) {
    const std::size_t word = std::min(text.find_first_of(" :;,'()"), text.size());
    kept += (text.starts_with('/') || text.starts_with('.')) ? base_name(text.substr(0, word))
                                                             : text.substr(0, word);
    kept += text.substr(word, 1);
    text.remove_prefix(std::min(word + 1, text.size()));
  }
  return kept;
}

void tell_failure(std::string_view words, std::string_view report) {
  log_lines(report);
  const std::string told = state.shows ? std::string(report) : for_strangers(words);
  if (header_is_out() && !answer_is_html())
    return write_standard("\nThe page ends in an error\n" + told + "\n");
  const std::string shown = state.shows ? "<pre>" + html_escaped(told) + "</pre>\n"
                                        : "<p>" + html_escaped(told) + "</p>\n";
  if (header_is_out()) return write_standard("\n<h1>The page ends in an error</h1>\n" + shown);
  answer_refusal(kServerError);
  write_standard(shown);
}

void tell_faults(const Diagnostics& diagnostics) {
  tell_failure(diagnostics.first_error(), diagnostics.text());
}

Var* page_errorsys(std::int32_t, Var**) {
  return set_default_handler(failure_block);
}

void tell_fatal(std::string_view report) {
  std::string lines(report);
  std::erase(lines, '\r');
  leave_tables();
  if (std::exchange(state.failing, true))
    log_lines(lines);
  else
    tell_failure(place_of_failure() + "a fatal error", lines);
  QUIT_RUN(0);
}

void end_page(std::string_view words) {
  set_memory_limit(0, nullptr);
  const std::string text = place_of_failure() + std::string(words);
  leave_tables();
  if (std::exchange(state.failing, true))
    log_lines(text);
  else
    tell_failure(text, text);
  QUIT_RUN(0);
}

Var* page_failed(std::int32_t argc, Var** argv) {
  Var* const error = argc > 0 ? argv[0] : nil_value();
  if (class_of(error) != &error_class()) return false_value();
  const std::int32_t code = get_integer_ivar(error, "gencode");
  if (code == kDeveloperNotice && !settings().developer) return false_value();
  set_memory_limit(0, nullptr);
  const std::string words = place_of_failure() + words_for_strangers(error);
  const std::string report = full_report(error);
  leave_tables();
  if (std::exchange(state.failing, true))
    log_lines(report);
  else
    tell_failure(words, report);
  QUIT_RUN(0);
}

}  // namespace tarnel
