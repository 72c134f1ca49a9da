#include "console/charset_command.h"

#include <charconv>
#include <optional>
#include <string>

#include "console/open_commands.h"
#include "console/session.h"
#include "console/words.h"
#include "core/classes.h"
#include "core/output.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/area.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/format/character_marks.h"
#include "db/text_set.h"

namespace tarnel {
namespace {

// The mark of a name, or of a number that begins with 0x. None after a complaint.
std::optional<std::uint8_t> mark_of(std::string_view name) {
  if (name.starts_with("0x")) {
    unsigned mark = 0;
    const auto [end, failed] =
        std::from_chars(name.data() + 2, name.data() + name.size(), mark, 16);
    if (failed == std::errc() && end == name.data() + name.size() && mark < 256)
      return static_cast<std::uint8_t>(mark);
    complain("a mark is a number from 0x00 to 0xff");
    return {};
  }
  const std::optional<CodePage> page = code_page_named(name);
  const std::optional<std::uint8_t> mark = page ? dbf::mark_of_page(*page) : std::nullopt;
  if (!mark)
    complain(page ? "a header has no mark for " + std::string(name_of(*page))
                  : "there is no character set " + std::string(name) + ", known are " +
                        code_page_names());
  return mark;
}

void save_mark(Var* server, std::string_view name) {
  if (server == nullptr || class_of(server) != &dbfidx_class())
    return complain(".charset -save needs an open table");
  DbfIdx& dbf = dbf_of(server);
  if (dbf.readOnly())
    return complain("the table is open for reading only, .open -w opens it to write");
  const KeepObject keep(server);
  if (const auto mark = mark_of(name); mark && write_character_mark(dbf, *mark))
    choose_text_set(dbf.fileName, {});
}

}  // namespace

bool choose_charset(std::string_view arguments) {
  const TempsMark mark;
  Var* server = current_server();
  const bool save = take_if(arguments, "-save");
  const std::string_view name = take_word(arguments);
  if (!arguments.empty() || (save && name.empty())) {
    complain(".charset takes the name of a character set: auto, " + code_page_names());
    return true;
  }
  if (save) {
    save_mark(server, name);
    return true;
  }
  if (name.empty()) {
    write_output(words_of(server != nullptr ? text_set_of(server) : usual_text_set()) + "\n");
    return true;
  }
  const std::optional<CodePage> page = code_page_named(name);
  if (!page && !same_letters(name, "auto"))
    complain("there is no character set " + std::string(name) + ", known are auto, " +
             code_page_names());
  else if (server != nullptr && class_of(server) == &dbfidx_class())
    choose_text_set(dbf_of(server).fileName, page);
  else
    choose_usual_set(page);
  return true;
}

}  // namespace tarnel
