// What one statement goes through while constants and rules change it, and where that ends.
#pragma once

#include <array>
#include <deque>
#include <string>

#include "lang/diagnostics.h"
#include "lang/source_tokens.h"

namespace tarnel {

constexpr int kMostRewritings = 256;  // by rules, and of a constant into others
constexpr std::size_t kLongestStatement = std::size_t{1}
                                          << 20;  // bytes, with all that rewriting made

class Rewriting {
 public:
  explicit Rewriting(Diagnostics& diagnostics) : diagnostics_(diagnostics) {}
  Rewriting(const Rewriting&) = delete;
  Rewriting& operator=(const Rewriting&) = delete;

  // A new statement.
  void begin(Place start);
  Place start() const { return start_; }

  // A constant or rule is about to be applied, of which the names stay: errors tell the last three. False when that is too much: told.
  [[nodiscard]] bool apply_constant(const SourceToken& use);
  [[nodiscard]] bool apply_rule(std::string_view name, std::string_view file, std::int32_t line);
  // So many bytes were made. False when it is too much: told.
  [[nodiscard]] bool make(std::size_t bytes);
  // So many tokens were looked at for rules. False when it is too much: told.
  [[nodiscard]] bool look(std::size_t tokens);
  // Tells of a fault; the statement is given up.
  void fail(Place where, std::string_view words);
  bool failed() const { return failed_; }

  // Keeps a text that a rule made as long as the statement.
  std::string_view keep(std::string text) { return texts_.emplace_back(std::move(text)); }

 private:
  struct Applied {
    std::string_view name, file;  // no file for a constant
    std::int32_t line;
  };
  static constexpr std::size_t kTold = 3;
  void remember(const Applied& what) { applied_[count_++ % kTold] = what; }
  bool too_much(std::string_view words);

  Diagnostics& diagnostics_;
  Place start_;
  int rules_ = 0;
  std::size_t bytes_ = 0;
  std::size_t looks_ = 0;
  std::size_t all_looks_ = 0;
  std::array<Applied, kTold> applied_;  // the last ones
  std::size_t count_ = 0;               // how many there were
  std::deque<std::string> texts_;
  bool failed_ = false;
};

}  // namespace tarnel
