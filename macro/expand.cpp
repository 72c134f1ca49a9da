#include "macro/expand.h"


#include "core/errors.h"
#include "core/memvars.h"
#include "core/stacks.h"
#include "core/symbols.h"
#include "core/text.h"

namespace tarnel {
namespace {

constexpr int kDeepest = 257;
// Bytes that all calls under one outermost expansion may read. Variables that name each other twice
// would otherwise double the work at each of the levels without ever producing a byte.
constexpr std::size_t kMostWork = std::size_t{1} << 20;

struct ExpandState {
  int depth = 0;
  std::size_t work = 0;
  bool too_deep = false;  // 314 was raised; deeper calls give nothing until the outermost one ends
} state;

class Depth {
 public:
  Depth() {
    if (state.depth++ == 0) state.work = 0, state.too_deep = false;
  }
  ~Depth() { --state.depth; }
  Depth(const Depth&) = delete;
  Depth& operator=(const Depth&) = delete;
};

std::string macro_error(std::string_view source) {
  return "Macro evaluation of '" + std::string(source) + "'";
}

bool is_name_char(char c) {
  return c == '_' || (c >= '0' && c <= '9') || (upper_letter(c) >= 'A' && upper_letter(c) <= 'Z');
}

// Which byte will end the quoted part in which a scan stands, 0 outside. A backquote opens a part that
// only ' closes. A bracket behind anything but a blank is a subscript.
class QuoteState {
 public:
  bool outside() const { return quote_ == 0; }
  void pass(std::string_view source, std::size_t at) {
    const char c = source[at];
    if (c == '"' || c == '\'') {
      quote_ = quote_ == 0 ? c : quote_ == c ? '\0' : quote_;
    } else if (c == '[' && quote_ == 0 && (at == 0 || source[at - 1] == ' ')) {
      quote_ = '[';
    } else if (c == ']' && quote_ == '[') {
      quote_ = 0;
    } else if (c == '`' && quote_ == 0) {
      quote_ = '\'';
    }
  }

 private:
  char quote_ = 0;
};

// One pass over one source.
class Expansion {
 public:
  Expansion(std::string_view source, std::string& target, int limit, int flags)
      : source_(source), target_(target), limit_(limit), flags_(flags) {}

  bool run() {
    while (at_ < source_.size()) {
      const char c = source_[at_];
      if (!count()) return false;
      if (c == '&' && quote_.outside()) {
        if (!macro_step()) return false;
        continue;
      }
      quote_.pass(source_, at_);
      target_ += c;
      ++at_;
    }
    return true;
  }

 private:
  bool count() {
    if (++counted_ <= limit_ && ++state.work <= kMostWork) return true;
    RT_ERROR(315, macro_error(source_));
    return false;
  }

  bool macro_step() {
    std::size_t end = at_ + 1;
    while (end < source_.size() && is_name_char(source_[end])) ++end;
    const std::string_view name = source_.substr(at_ + 1, end - at_ - 1);
    const std::int32_t sym = FIND_SYMBOL(name);
    if (sym < 0 || symbol_var(sym)->type != 'C') return unknown(name);
    for (++at_; at_ < end; ++at_)
      if (!count()) return false;
    if (at_ < source_.size() && source_[at_] == '.') {
      if (!count()) return false;
      ++at_;
    }
    // The cell may change while a nested expansion raises an error.
    return insert(std::string(text_of(symbol_var(sym))));
  }

  bool unknown(std::string_view name) {
    if ((flags_ & kUnknownIsError) != 0) {
      RT_ERROR(307,
               "'" + std::string(name) + "' in macro evaluation of '" + std::string(source_) + "'");
      return false;
    }
    target_ += '&';
    ++at_;
    return true;
  }

  bool insert(const std::string& contents) {
    const std::size_t macro = contents.find('&');
    if (!append(std::string_view(contents).substr(0, macro))) return false;
    if (macro == std::string::npos) return true;
    std::string rest;
    return EXPAND_MACRO(std::string_view(contents).substr(macro), rest, kExpandLimit - counted_,
                        flags_) &&
           append(rest);
  }

  bool append(std::string_view text) {
    for (const char c : text) {
      if (!count()) return false;
      target_ += c;
    }
    return true;
  }

  const std::string_view source_;
  std::string& target_;
  const int limit_, flags_;
  std::size_t at_ = 0;
  int counted_ = 0;
  QuoteState quote_;
};

}  // namespace

bool has_macro(std::string_view source) {
  if (source.find('&') == std::string_view::npos) return false;
  QuoteState quote;
  for (std::size_t at = 0; at < source.size(); ++at) {
    if (source[at] == '&' && quote.outside()) return true;
    quote.pass(source, at);
  }
  return false;
}

bool EXPAND_MACRO(std::string_view source, std::string& target, int limit, int flags) {
  const Depth depth;
  target.clear();
  if (state.too_deep) return true;
  if (state.depth > kDeepest) {
    state.too_deep = true;
    RT_ERROR(314, macro_error(source));
    return true;
  }
  return Expansion(source, target, limit, flags).run();
}

Var* EXPAND_MACRO(std::string_view source, Var* target, int limit, int flags) {
  std::string expanded;
  if (!EXPAND_MACRO(source, expanded, limit, flags)) return nullptr;
  return SET_STR(target, expanded);
}

Var* expand_macro_operand(Var* text, int flags) {
  const std::string source(cschrarg(text, "when expanding macro"));
  Var* expanded = EXPAND_MACRO(source, NEW_TEMP(), kExpandLimit, flags);
  return expanded != nullptr ? expanded : error_value();
}

}  // namespace tarnel
