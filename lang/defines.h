// #define: names that stand for tokens.
#pragma once

#include <bitset>
#include <optional>
#include <unordered_map>

#include "lang/rewriting.h"

namespace tarnel {

class Defines {
 public:
  // Takes what stands behind `#define`, of which the texts stay: name [(parameters)] [tokens]. The name is cased
  // as it is written, and a parameter list follows it directly. What is wrong with it, or nothing.
  [[nodiscard]] std::string_view define(std::span<const SourceToken> tokens);
  void undefine(std::string_view name) { defines_.erase(name); }
  bool has(std::string_view name) const { return defines_.contains(name); }

  // Does the statement mention one?
  bool touch(const SourceTokens& tokens) const;
  // Replaces them, also in what they become. False when that failed, which is told.
  [[nodiscard]] bool expand(SourceTokens& tokens, Rewriting& rewriting) const;

 private:
  struct Define {
    SourceTokens body;
    std::vector<std::string_view> parameters;
    bool has_parameters = false;
  };
  const Define* find(const SourceToken& token) const;
  static bool arguments(const SourceToken& use, const Define& define, SourceTokens& input,
                        std::vector<SourceTokens>& values, Rewriting& rewriting);
  static bool replace(const SourceToken& use, const Define& define, SourceTokens& input,
                      Rewriting& rewriting);

  std::unordered_map<std::string_view, Define> defines_;
  std::bitset<1024> beginnings_;  // of all names ever defined: most names are told apart by it
};

}  // namespace tarnel
