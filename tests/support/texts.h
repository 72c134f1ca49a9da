// What tests make of texts, and ask of them.
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace tarnel::testing {

// Does a text hold another one? A failure shows both.
inline ::testing::AssertionResult holds(const std::string& text, const std::string& part) {
  const bool found = text.find(part) != std::string::npos;
  return (found ? ::testing::AssertionSuccess() : ::testing::AssertionFailure())
         << "'" << part << "' " << (found ? "stands" : "doesn't stand") << " in\n"
         << text;
}

inline std::string repeat(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

}  // namespace tarnel::testing
