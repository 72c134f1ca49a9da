#include "lib/options.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>

#include "core/errors.h"
#include "core/settings.h"
#include "lib/arguments.h"
#include "lib/file_names.h"
#include "lib/national.h"
#include "lib/streams.h"

namespace tarnel {
namespace {

constexpr std::size_t kShortestName = 3;
constexpr std::size_t kPathDelimiters = 4;
constexpr std::int32_t kLeastEscDelay = 1, kMostEscDelay = 100;

struct OptionState {
  TerminalHooks terminal;
} state;

struct OptionRow {
  const char* name;
  Var* (*handler)(std::int32_t argc, Var** argv, const OptionRow& row);
  bool Settings::*flag = nullptr;
  bool Settings::*excludes = nullptr;  // cleared when the flag is set on
  std::int32_t Settings::*number = nullptr;
  const char* function = nullptr;  // builtin that the option stands for
};

Var* refuse(int code, const char* text) {
  RT_ERROR(code, text);
  return false_value();
}

Var* logical_option(std::int32_t argc, Var** argv, const OptionRow& row) {
  if (argc > 2) return refuse(311, "expected 2 arguments, 1:'expc' 2:'expl'");
  if (argc == 2 && !arg_is(argc, argv, 1, kNumeric))
    return refuse(312, "expected logical for 2.nd argument");
  bool& flag = settings().*row.flag;
  const bool old = flag;
  if (argc == 2) {
    flag = truth_of(argv[1]);
    if (flag && row.excludes != nullptr) settings().*row.excludes = false;
  }
  return logical(old);
}

Var* developer_option(std::int32_t argc, Var** argv, const OptionRow& row) {
  Var* old = logical_option(argc, argv, row);
  follow_developer();
  return old;
}

Var* number_option(std::int32_t argc, Var** argv, const OptionRow& row) {
  if (argc > 2) return refuse(311, "expected only 2 arguments, 1:'expc' 2:'expn'");
  if (argc == 2 && !arg_is(argc, argv, 1, kNumeric))
    return refuse(312, "expected numeric for 2.nd argument");
  std::int32_t& number = settings().*row.number;
  Var* old = TMP_INT(number);
  if (argc == 2) number = integer_of(argv[1]);
  return old;
}

Var* escape_delay(std::int32_t argc, Var** argv, const OptionRow& row) {
  const std::int32_t saved = settings().escdelay;
  Var* old = number_option(argc, argv, row);
  if (settings().escdelay < kLeastEscDelay || settings().escdelay > kMostEscDelay)
    settings().escdelay = saved;
  return old;
}

Var* path_delimiters(std::int32_t argc, Var** argv, const OptionRow&) {
  if (argc >= 2 && !arg_is(argc, argv, 1, kText))
    return refuse(312, "expected character for 2.nd argument");
  Var* old = TMP_TEXT(settings().pathdelims);
  if (argc >= 2) settings().pathdelims = text_of(argv[1]).substr(0, kPathDelimiters);
  return old;
}

Var* extension_option(std::int32_t argc, Var** argv, const OptionRow&) {
  if (!arg_is(argc, argv, 1, kText)) return refuse(312, "expected character for 2.nd argument");
  if (argc == 2) return TMP_TEXT(extensionMap(text_of(argv[1])));
  if (!arg_is(argc, argv, 2, kText)) return refuse(312, "expected character for 3.rd argument");
  return TMP_TEXT(extensionMap(text_of(argv[1]), text_of(argv[2])));
}

Var* print_file_name(std::int32_t argc, Var**, const OptionRow&) {
  if (argc > 1) return refuse(311, "expected only 1 argument, 1:'expc'");
  return TMP_TEXT(stream_name(Stream::kPrint));
}

// Hands the other arguments to the builtin of the row; .F. when the layer that has it is not
// linked.
Var* function_option(std::int32_t argc, Var** argv, const OptionRow& row) {
  const Function call = lookup_function(row.function);
  return call != nullptr ? call(argc - 1, argv + 1) : false_value();
}

Var* environment_option(std::int32_t argc, Var** argv, const OptionRow&) {
  if (!arg_is(argc, argv, 1, kText)) return refuse(312, "expected character for 2.nd argument");
  const std::string name{text_of(argv[1])};
  const char* value = std::getenv(name.c_str());
  Var* old = value != nullptr ? TMP_TEXT(value) : empty_text();
  if (!arg_is(argc, argv, 2, kText)) return old;
  const std::string fresh{text_of(argv[2])};
  const bool reset = arg_is(argc, argv, 3, kNumeric) && truth_of(argv[3]);
  const std::optional<std::string> before =
      value != nullptr ? std::optional<std::string>(value) : std::nullopt;
  if (::setenv(name.c_str(), fresh.c_str(), 1) != 0) {
    RT_ERROR(301, "Unable to extend environment for new variable");
    return old;
  }
  if (!reset || state.terminal.test == nullptr) return old;
  if ((name == "TERM" || name == "TERMINFO") && !state.terminal.test()) {
    before ? ::setenv(name.c_str(), before->c_str(), 1) : ::unsetenv(name.c_str());
    RT_ERROR(320, "Cannot initialize terminal (ignored)");
    return old;
  }
  state.terminal.restart();
  return old;
}

Var* terminal_key(std::int32_t argc, Var** argv, const OptionRow& row) {
  Var* old = number_option(argc, argv, row);
  if (argc == 2 && state.terminal.line_modes != nullptr) state.terminal.line_modes();
  return old;
}

constexpr OptionRow flag_row(const char* name, bool Settings::*flag,
                             bool Settings::*excludes = nullptr) {
  return {.name = name, .handler = logical_option, .flag = flag, .excludes = excludes};
}
constexpr OptionRow function_row(const char* name, const char* function) {
  return {.name = name, .handler = function_option, .function = function};
}

// In the order in which an abbreviation is looked for.
constexpr OptionRow kOptions[] = {
    {.name = "developer", .handler = developer_option, .flag = &Settings::developer},
    flag_row("typeahead", &Settings::typeahead_flag),
    flag_row("lowerfiles", &Settings::lowerfiles, &Settings::upperfiles),
    flag_row("upperfiles", &Settings::upperfiles, &Settings::lowerfiles),
    function_row("loadlanguage", "loadlang"),
    function_row("setlanguage", "setlang"),
    function_row("mapping", "scroutmap"),
    function_row("outmap", "scroutmap"),
    function_row("inmap", "scrinmap"),
    function_row("terminal", "termtype"),
    {.name = "printfilename", .handler = print_file_name},
    {.name = "debugkey", .handler = terminal_key, .number = &Settings::debugkey},
    {.name = "breakkey", .handler = terminal_key, .number = &Settings::breakkey},
    flag_row("memcompat", &Settings::memcompat),
    flag_row("pathlower", &Settings::pathlower, &Settings::pathupper),
    flag_row("pathupper", &Settings::pathupper, &Settings::pathlower),
    {.name = "pathdelims", .handler = path_delimiters},
    {.name = "translext", .handler = extension_option},
    flag_row("shortname", &Settings::shortname),
    flag_row("zerobyte", &Settings::zerobyte),
    flag_row("lock40comp", &Settings::lock40comp),
    {.name = "setenvir", .handler = environment_option},
    {.name = "escdelay", .handler = escape_delay, .number = &Settings::escdelay},
    flag_row("intvar", &Settings::intvar),
};

const OptionRow* find_option(std::string_view given) {
  const std::string name = lower_text(trim_blanks(given));
  const auto matches = [&](const OptionRow& row) {
    const std::string_view full = row.name;
    return full.substr(0, name.size()) == name &&
           (name.size() >= kShortestName || name.size() == full.size());
  };
  const auto* found = std::find_if(std::begin(kOptions), std::end(kOptions), matches);
  return found != std::end(kOptions) ? found : nullptr;
}

}  // namespace

void follow_developer() {
  constexpr int kShowNotices = 700, kHideNotices = 800;
  set_error_threshold(settings().developer ? kShowNotices : kHideNotices);
}

void set_terminal_hooks(const TerminalHooks& hooks) {
  state.terminal = hooks;
}

Var* ov_set(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kText)) return false_value();
  const OptionRow* row = find_option(text_of(argv[0]));
  return row != nullptr ? row->handler(argc, argv, *row) : false_value();
}

}  // namespace tarnel
