#include "translator/file_text.h"

#include <algorithm>

#include "core/symbols.h"
#include "core/text.h"

namespace tarnel {
namespace {

constexpr std::size_t kLongestLine = 100;

std::string cells_of(int file) {
  return "Cells_" + std::to_string(file + 1);
}

std::string key_of(std::string_view name) {
  return lower_text(name.substr(0, kNameSize));
}

// The last place before `limit` where a line may be broken: behind a comma, or between two literals.
std::size_t break_before(std::string_view line, std::size_t limit) {
  bool quoted = false;
  std::size_t best = 0;
  for (std::size_t i = 0; i < line.size() && (i < limit || best == 0); ++i) {
    if (line[i] == '\\' && quoted)
      ++i;
    else if (line[i] == '"')
      quoted = !quoted;
    else if (!quoted && line[i] == ' ' && i > 0 && (line[i - 1] == ',' || line[i - 1] == '"'))
      best = i;
  }
  return best;
}

}  // namespace

std::string shown_path(std::string_view path) {
  std::string shown(path);
  std::ranges::replace_if(
      shown, [](unsigned char c) { return c < ' ' || c == 127; }, '?');
  return shown;
}

std::string line_directive(std::int64_t line, std::string_view path) {
  return "#line " + std::to_string(line) + " " + literal(shown_path(path)) + "\n";
}

std::string code_line(std::string_view text, int depth) {
  const std::string indent(static_cast<std::size_t>(2 * depth), ' ');
  std::string lines, before = indent;
  while (before.size() + text.size() > kLongestLine) {
    const std::size_t at = break_before(text, kLongestLine - before.size());
    if (at == 0) break;
    lines.append(before).append(text.substr(0, at)).append("\n");
    text.remove_prefix(at + 1);
    before = indent + "    ";
  }
  return lines.append(before).append(text).append("\n");
}

std::string FileText::add_procedure(std::string_view name, int file, bool is_static) {
  const std::string made = identifiers_.add(name);
  procedures_[(is_static ? std::to_string(file) + ":" : ":") + key_of(name)] = made;
  return made;
}

std::string FileText::function(std::string_view name, int file) {
  for (const std::string& scope : {std::to_string(file) + ":", std::string(":")})
    if (const auto found = procedures_.find(scope + key_of(name)); found != procedures_.end())
      return found->second;
  return called_.of(name);
}

std::string FileText::add_static(std::string_view name, int file) {
  std::string made = "Static_" + lower_text(name);
  for (int i = 2; statics_.contains(made); ++i)
    made = "Static_" + lower_text(name) + "_" + std::to_string(i);
  const std::size_t number = statics_of_files_[file]++;
  statics_.emplace(made, cells_of(file) + "[" + std::to_string(number) + "]");
  return made;
}

std::string FileText::names_of_statics(const ProgramPart& part, int file) {
  auto known = std::ranges::find(named_statics_, &part, &NamedStatics::part);
  if (known == named_statics_.end()) known = named_statics_.insert(known, {&part, file});
  return "Named_" + std::to_string(known - named_statics_.begin() + 1);
}

std::string FileText::activation(const ProgramPart& part, int file, const char* argc) {
  const std::string names = frame_names(part, file);
  std::string text;
  if (!names.empty()) text = code_line("static constexpr FrameNames Names" + names + ";", 1);
  return text + code_line("Activation p(" + source(*part.file) + ", " + literal(part.name) + ", " +
                              std::to_string(part.line) + ", " + argc +
                              (names.empty() ? "" : ", &Names") + ");",
                          1);
}

// Empty if it has nothing with a name. The statics of a block's procedure need not be known yet.
std::string FileText::frame_names(const ProgramPart& part, int file) {
  const ProgramPart& first = part.unit->parts.front();
  const ProgramPart& procedure = part.around != nullptr ? *part.around : part;
  const bool has_own =
      &procedure != &first && (part.around != nullptr || !part.static_names.empty());
  const bool in_file = !first.static_names.empty();
  if (part.slot_names.empty() && !has_own && !in_file) return {};
  return "{" + literal(part.slot_names) + ", " +
         (has_own ? names_of_statics(procedure, file) : "{}") + ", " +
         (in_file ? names_of_statics(first, file) : "{}") + "}";
}

std::string FileText::source(const ProgramFile& file) {
  for (const auto& [identifier, known] : sources_)
    if (known->path == file.path) return identifier;
  sources_.emplace_back("Source_" + std::to_string(sources_.size() + 1), &file);
  return sources_.back().first;
}

std::string FileText::cells() const {
  std::string text;
  for (const auto& [identifier, file] : sources_) {
    const std::string module = "Module_" + identifier;
    text += code_line("constexpr char " + module + "[] = " + literal(file->module) + ";", 0);
    text += code_line(
        "constexpr TranslatedFile " + identifier + "{" + module + ", " + literal(file->path) + "};",
        0);
  }
  for (const auto& [identifier, name] : names_.all())
    text += "CELL Name " + identifier + "{" + literal(name) + "};\n";
  for (const auto& [identifier, name] : aliases_.all())
    text += "CELL AliasName " + identifier + "{" + literal(name) + "};\n";
  for (const auto& [identifier, name] : called_.all())
    text += "CELL Called " + identifier + "{" + literal(name) + "};\n";
  for (const auto& [file, count] : statics_of_files_)
    text += "Var* " + cells_of(file) + "[" + std::to_string(count) + "];\n";
  for (const auto& [identifier, place] : statics_)
    text += "constexpr Var*& " + identifier + " = " + place + ";\n";
  for (std::size_t i = 0; i < named_statics_.size(); ++i) {
    const auto& [part, file] = named_statics_[i];
    text += "constexpr CellNames Named_" + std::to_string(i + 1) + "{";
    if (!part->static_names.empty())
      text += literal(part->static_names) + ", " + cells_of(file) + " + " +
              std::to_string(part->first_static);
    text += "};\n";
  }
  return text;
}

std::string FileText::sources_list() const {
  std::string text;
  for (const auto& [identifier, file] : sources_)
    text.append(text.empty() ? "&" : ", &").append(identifier);
  return text;
}

}  // namespace tarnel
