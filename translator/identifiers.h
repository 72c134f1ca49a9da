// Names of the language as names of C++.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <unordered_set>

namespace tarnel {

// Names in one scope of the code that is written. Each differs from all others, from the words of C++ and from what
// translated code calls.
class Identifiers {
 public:
  // A name like the one given, in lower case, that isn't taken yet.
  std::string add(std::string_view name);
  // The same for a name with capitals, as none of the language gets.
  std::string add_exactly(const std::string& name);

 private:
  std::unordered_set<std::string> taken_;
};

// Cells of the file that are known by a name of the language: "Name_" and "total" give Name_total, once.
class NamedCells {
 public:
  NamedCells(std::string prefix, std::size_t significant)
      : prefix_(std::move(prefix)), significant_(significant) {}
  // For the significant characters of a name. The full one is kept as it came first.
  const std::string& of(std::string_view name);
  // By identifier, with the name as it came.
  const std::map<std::string, std::string>& all() const { return names_; }

 private:
  const std::string prefix_;
  const std::size_t significant_;
  std::map<std::string, std::string> identifiers_, names_;
};

// A C++ literal of the bytes.
std::string literal(std::string_view bytes);

}  // namespace tarnel
