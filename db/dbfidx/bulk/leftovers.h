// Files that were being written beside others (replacement_file.h) when their process was killed. Nobody uses them.
#pragma once

#include <string>
#include <vector>

namespace tarnel {

struct Leftover {
  std::string path;
  std::string words;  // "new04711.ovdb, 4096 bytes: left by process 4711, which is gone"
  // Nobody wrote it for a minute: it is nothing that a process of another machine is at.
  bool removable;
};
// Those of a directory, without record files that wait for whoever next opens their table.
std::vector<Leftover> leftovers_in(const std::string& directory);

}  // namespace tarnel
