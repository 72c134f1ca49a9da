// A folder of pages with the program beside it, as an administrator lays it out, and requests by hand.
#pragma once

#include <string>

#include "tests/support/files.h"

namespace tarnel::testing {

// In front of a page that sets no other.
inline const std::string kHeader = "Content-type: text/html\n\n";

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
  // What a page of these statements answers; aEnv, aForm and oState are its parameters.
  std::string run(const std::string& statements, const std::string& environment = "",
                  const std::string& form = "") const;
  // What it answers to a form with these fields, sent by a visitor who has the page open without a query.
  std::string post(const std::string& page, const std::string& fields,
                   const std::string& query = "") const;
  // The answer to just this environment.
  std::string answer(const std::string& environment, const std::string& body = "") const;
  // What the console shows in the folder of the tables; `arguments` are shell text, as is what stands before.
  std::string console(const std::string& arguments, const std::string& before = "") const;
  // What the last answers wrote to standard error.
  std::string errors() const { return folder_.read("errors"); }

 private:
  Folder folder_;
};

}  // namespace tarnel::testing
