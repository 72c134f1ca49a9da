#include "webpage/page_run.h"

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "core/descriptors.h"
#include "core/errors.h"
#include "core/frame.h"
#include "core/memory.h"
#include "core/open_files.h"
#include "core/runtime.h"
#include "core/settings.h"
#include "core/signals.h"
#include "core/system_log.h"
#include "core/text.h"
#include "frontend/form.h"
#include "frontend/log.h"
#include "frontend/request_arrays.h"
#include "frontend/state_object.h"
#include "lang/directives.h"
#include "lang/program.h"
#include "lib/streams.h"
#include "webpage/page_answer.h"
#include "webpage/page_choice.h"
#include "webpage/page_config.h"
#include "webpage/page_errors.h"
#include "webpage/page_token.h"

namespace tarnel {
namespace {

constexpr int kForbidden = 403, kTooLarge = 413, kUnsupported = 415;
constexpr std::string_view kMultipart = "multipart/";

void refuse(int status, const std::string& reason) {
  write_system_log(LOG_WARNING, reason);
  answer_refusal(status);
}

// What is told there may reach a terminal.
void write_to_standard_error(int priority, std::string_view text) {
  if (priority > LOG_WARNING) return;
  std::string line = "tnpage: " + std::string(text);
  std::ranges::replace_if(
      line, [](unsigned char c) { return (c < ' ' && c != '\t') || c == 127; }, '?');
  write_fully(STDERR_FILENO, line + "\n");
}

void apply(const PageConfig& config) {
  const std::string_view log = config.log;
  if (log == "stderr") {
    set_system_log_writer(write_to_standard_error);
  } else if (log.starts_with('/')) {
    static const std::string socket = config.log;
    system_log_socket() = socket.c_str();
  } else {
    open_system_log("tnpage", LOG_CONS, LOG_LOCAL0 + 8 * (log.back() - '0'));
  }
  show_errors_in_pages(config.show_errors);
  settings().commands = settings().pipes = config.allow_run;
  if (config.seconds > 0)
    set_time_limit(
        config.seconds, [] { end_page("the page took too long"); }, killed_after(config.seconds));
  if (config.memory > 0)
    set_memory_limit(static_cast<std::size_t>(config.memory) << 20,
                     [] { end_page("no memory available"); });
}

// A status for a body that no page gets, 0 for a form. Files that are sent along come as another kind of body.
int refused_body(const PageConfig& config) {
  const char* const type = std::getenv("CONTENT_TYPE");
  if (type != nullptr &&
      same_letters(std::string_view(type).substr(0, kMultipart.size()), kMultipart))
    return kUnsupported;
  return content_length(std::getenv("CONTENT_LENGTH")) > config.body << 20 ? kTooLarge : 0;
}

// Goes to the folder of the tables, in which files are sought. A page without one runs, but nowhere where a file
// could be fetched. False when it lies among the documents; answered.
bool enter_data_folder(const PageConfig& config, const std::string& root) {
  const std::string named = config.data.starts_with('/') ? config.data : root + "/" + config.data;
  const std::string folder = real_path(named);
  if (!folder.empty() && (folder == root || lies_below(folder, root) || lies_below(root, folder))) {
    tell_failure("The configuration isn't right",
                 folder + ": tables among the documents, or round them, could be fetched");
    return false;
  }
  if (folder.empty() || chdir(folder.c_str()) != 0) {
    log_system(LOG_WARNING, "no folder of tables %s: %s", named.c_str(), std::strerror(errno));
    if (chdir("/") != 0) return false;
  }
  set_secret_folder(folder);
  settings().default_dir = (folder.empty() ? named : folder) + "/";
  return true;
}

// Standard input was the form: what a page asks of it from now on ends at once.
void close_standard_input() {
  const int null = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  if (null < 0) return;
  dup2(null, STDIN_FILENO);
  ::close(null);
}

// The program of a page, whose file is opened and looked at once. Null when it was answered.
LoadedProgram* read_page(const PageChoice& page, const PageConfig& config) {
  const File file(page.path.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY);
  if (!file.opened()) {
    refuse(kForbidden, page.path + ": " + std::strerror(errno));
    return nullptr;
  }
  if (const std::string fault = unfit_page(file.fd(), page.path); !fault.empty()) {
    refuse(kForbidden, page.path + " " + fault);
    return nullptr;
  }
  SourceFiles sources;
  ProgramOptions options;
  std::vector<std::string> folders = {page.root};
  if (!config.include.empty()) {
    options.include_folders = {config.include};
    folders.push_back(real_path(config.include));
  }
  for (const std::string& folder : installed_include_folders())
    if (std::string real = real_path(folder); !real.empty()) folders.push_back(std::move(real));
  sources.keep_within(std::move(folders));
  std::string fault;
  const std::int32_t number = sources.read_open(file.fd(), page.path, fault);
  if (number < 0) {
    tell_failure(page.path + " " + fault, page.path + " " + fault);
    return nullptr;
  }
  Diagnostics diagnostics(sources);
  LoadedProgram* const program =
      LoadedProgram::of_sources(sources, diagnostics, {&number, 1}, options);
  if (program == nullptr) tell_faults(diagnostics);
  if (program == nullptr || program->entry() != nullptr) return program;
  const std::string nothing = page.path + ":1: there is no procedure to begin with";
  tell_failure(nothing, nothing);
  return nullptr;
}

void run_page(LoadedProgram& program, const std::string& path) {
  Var* const env = make_environment_array();
  Var* const form =
      make_form_array(content_length(std::getenv("CONTENT_LENGTH")), FormLog::kNothing);
  close_standard_input();
  if (program.mentions("tntoken")) welcome_visitor();  // the call may stand behind the first output
  Var* arguments[] = {env, form, CALL_SIMPLE(tnstate)};
  if (!program.start()) {
    const std::string words = path + ": an INIT procedure wants the page to end";
    return tell_failure(words, words);
  }
  program.entry()->call(static_cast<std::int32_t>(std::size(arguments)), arguments);
  look_at_signals();  // what was broken off last is told of too
}

}  // namespace

void end_page_files() {
  close_streams();
  end_answer();
}

Var* page_main(std::int32_t, Var**) {
  open_request_log("tnpage");
  PageConfig config;
  std::string fault;
  const bool right = read_page_config(config, fault);
  apply(config);
  if (!right) {
    tell_failure("The configuration isn't right", fault);
    return nil_value();
  }
  if (const int status = refused_body(config); status != 0) {
    refuse(status, "a body of another kind or length than forms have");
    return nil_value();
  }
  const PageChoice page = choose_page();
  if (page.status != 200) {
    refuse(page.status, page.reason);
    return nil_value();
  }
  log_line("page %s", page.path.c_str());
  LoadedProgram* const program = read_page(page, config);
  if (program == nullptr || !enter_data_folder(config, page.root)) return nil_value();
  run_page(*program, page.path);
  return nil_value();
}

}  // namespace tarnel
