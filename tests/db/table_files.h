// The files of a table as they stand, read without the engine.
#pragma once

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <vector>

namespace tarnel::testing {

// The records in NAME.dbf, deleted ones with their mark in front. A memo field at the end of the record is
// replaced by its text in NAME.dbt, behind a bar.
std::vector<std::string> records_of(const std::string& name);

// Whole files by their names.
using Files = std::map<std::string, std::string>;
Files read_files(std::initializer_list<const char*> names);
void write_files(const Files& files);
// In the current folder.
std::vector<std::string> files_beginning_with(const char* start);

// The field that is the key of an order: its place in a record.
struct OrderKey {
  std::size_t at, length;
};
// What is wrong with an order that doesn't say itself that it differs from its table; "" when nothing.
// `wanted` tells which records it should have, all by default.
std::string order_fault(const std::string& order, const std::string& table,
                        const std::vector<std::string>& records, OrderKey key,
                        const std::function<bool(const std::string&)>& wanted = nullptr);

}  // namespace tarnel::testing
