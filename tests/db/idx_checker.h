// Walks an .idx file on its own, byte by byte, and knows nothing of the engine's code.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tarnel::testing {

struct IdxFile {
  std::string bytes;
  bool unique, descending;
  char type;
  std::uint32_t keyCount, root, freeList, nextSector, keySize, maxKeys, textLength;
  int counter;
  std::string expression, table, condition;

  // In the file's order; a text without what follows its NUL, numbers and dates as %.17g.
  std::vector<std::pair<std::string, std::uint32_t>> keys;
  std::string fault;  // the first violation, with its sector; empty when all is well
};

// Every sector is in the tree or free, once; no page but an only root is empty; keys ascend (or
// descend), equal ones by record; the counts agree.
IdxFile check_idx(const std::string& path);

}  // namespace tarnel::testing
