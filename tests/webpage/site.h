// A folder of pages with the program beside it, as an administrator lays it out, and requests by hand.
#pragma once

#include <string>

#include "tests/support/files.h"

namespace tarnel::testing {

class Site {
 public:
  Site();

  // Writes a file below the site: documents lie in root/, tables in data/.
  void write(const std::string& name, const std::string& text, int mode = 0644) const;
  // A program that answers by the lines of a configuration.
  void configure(const std::string& lines) const;
  std::string path(const std::string& name) const { return folder_.path(name); }
  std::string program() const { return path("bin/tnpage"); }

  // What a request for a page of root/ answers; further entries of the environment stand behind.
  std::string get(const std::string& page, const std::string& environment = "",
                  const std::string& body = "") const;
  // What it answers to a form with these fields, sent by a visitor who has the page open without a query.
  std::string post(const std::string& page, const std::string& fields,
                   const std::string& query = "") const;
  // The answer to just this environment.
  std::string answer(const std::string& environment, const std::string& body = "") const;
  // What the last answers wrote to standard error.
  std::string errors() const { return folder_.read("errors"); }

 private:
  Folder folder_;
};

}  // namespace tarnel::testing
