#include "macro/evaluator.h"

#include <string>
#include <utility>

#include "core/blocks.h"
#include "core/errors.h"
#include "core/stacks.h"
#include "macro/code.h"
#include "macro/evaluation.h"
#include "macro/expand.h"
#include "macro/machine.h"

namespace tarnel {
namespace {

// What the last texts were compiled to, since a program evaluates the same ones again and again. The code
// of a text is always the same, so nothing ever makes an entry untrue.
class CompiledTexts {
 public:
  // The code of an expanded text, with a reference for the caller.
  Code* find(std::string_view text, bool is_block) {
    if (text.size() > kLongest || text.empty()) return make(text, is_block);
    Code*& entry = entries_[slot_of(text)];
    if (entry == nullptr || entry->is_block != is_block || entry->text() != text) {
      Code* made = make(text, is_block);
      if (Code* former = std::exchange(entry, made); former != nullptr) release_code(former);
    }
    ++entry->refs;
    return entry;
  }

 private:
  static constexpr std::size_t kEntries = 64;   // a power of two
  static constexpr std::size_t kLongest = 256;  // bytes; longer texts are compiled at each run

  static Code* make(std::string_view text, bool is_block) {
    return is_block ? compile_block(text) : compile(text);
  }
  static std::size_t slot_of(std::string_view text) {
    std::size_t hash = text.size();
    for (const char c : text) hash = hash * 31 + static_cast<unsigned char>(c);
    return hash % kEntries;
  }

  Code* entries_[kEntries]{};
} compiled_texts;

// Compiles and runs a text. Errors of the expansion: 315 and 319.
Var* evaluate(std::string_view source, bool is_block, const BlockArguments& arguments) {
  const std::int32_t mark = temp_top();
  if (source.size() <= kExpandLimit && !has_macro(source)) {
    const CodeHold code(compiled_texts.find(source, is_block));
    return keep_temp(mark, run_code(*code, (*code).text(), arguments));
  }
  const std::string kept(source);  // the variable that it lies in may change
  std::string expanded;
  if (!EXPAND_MACRO(kept, expanded, kExpandLimit, kUnknownIsError))
    return RT_ERROR(319, "trying to macroexpand the expression");
  const CodeHold code(compiled_texts.find(expanded, is_block));
  return keep_temp(mark, run_code(*code, kept, arguments));
}

bool expand(std::string_view source, std::string& target, int flags) {
  return EXPAND_MACRO(source, target, kExpandLimit, flags);
}

}  // namespace

Var* EXP_EVAL(std::string_view text) {
  if (text.data() == nullptr) return RT_INTERNAL(407, "EXP_EVAL");
  if (text.empty()) return empty_text();
  const Evaluation evaluation;
  return evaluation.possible() ? evaluate(text, false, {0, nullptr}) : error_value();
}

std::optional<SyntaxFault> find_syntax_fault(std::string_view text) {
  if (text.empty() || text.size() > kExpandLimit || has_macro(text)) return std::nullopt;
  const CodeHold code(compiled_texts.find(text, false));
  return (*code).fault;
}

Var* EVAL_BLOCK(std::int32_t argc, Var** argv) {
  const Evaluation evaluation;
  if (!evaluation.possible()) return error_value();
  Code* code = argv[0]->code;
  // Held while it runs, even if it clears the variable that the block came from.
  ++code->refs;
  const CodeHold hold(code);
  const BlockArguments arguments{argc - 1, argv + 1};
  // A parameter is a variable: an operator may no longer reuse its cell for a result.
  for (std::int32_t i = 1; i < argc; ++i)
    if (argv[i] != nullptr && upper_class(argv[i]->sclass) == 'T')
      argv[i]->sclass = argv[i]->sclass == 'T' ? 'N' : 'n';
  if (code->expands) return evaluate(code->text(), true, arguments);
  const std::int32_t mark = temp_top();
  Var* const result = run_code(*code, code->text(), arguments);
  // What a condition gives needs no place among the temporaries: scans come here for each record.
  if (result->sclass != 'C') return keep_temp(mark, result);
  POP_TEMPS(mark);
  return result;
}

void init_macro() {
  measure_stack();
  set_macro_hooks({EXP_EVAL, EVAL_BLOCK, expand, release_code});
}

}  // namespace tarnel
