#include "tests/db/table_files.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "db/dbfidx/format/format_dbf.h"
#include "tests/db/idx_checker.h"
#include "tests/db/table_test.h"

namespace tarnel::testing {

std::vector<std::string> records_of(const std::string& name) {
  const std::string table = read_file(name + ".dbf");
  const auto* header = reinterpret_cast<const std::uint8_t*>(table.data());
  const bool memo = dbf::has_memo(dbf::version(header));
  const std::string memos = memo ? read_file(name + ".dbt") : std::string();
  std::vector<std::string> records;
  const std::size_t size = dbf::record_size(header);
  for (std::size_t i = 0; i < dbf::record_count(header); ++i) {
    std::string record = table.substr(dbf::header_size(header) + i * size, size);
    if (memo) {
      const auto block = static_cast<std::size_t>(std::atoi(record.substr(size - 10).c_str()));
      const std::string text = memos.substr(std::min(block * 512, memos.size()));
      record.replace(size - 10, 10, block == 0 ? "" : "|" + text.substr(0, text.find('\x1A')));
    }
    records.push_back(record);
  }
  return records;
}

Files read_files(std::initializer_list<const char*> names) {
  Files files;
  for (const char* name : names) files[name] = read_file(name);
  return files;
}
void write_files(const Files& files) {
  for (const auto& [name, bytes] : files) write_file(name, bytes);
}

std::vector<std::string> files_beginning_with(const char* start) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(".")) {
    std::string name = entry.path().filename();
    if (name.starts_with(start)) names.push_back(std::move(name));
  }
  return names;
}

std::string order_fault(const std::string& order, const std::string& table,
                        const std::vector<std::string>& records, OrderKey place,
                        const std::function<bool(const std::string&)>& wanted) {
  const IdxFile file = check_idx(order);
  const int counter = static_cast<unsigned char>(read_file(table)[31]);
  if (file.fault == "too short" || (file.counter != 0 && file.counter != counter)) return "";
  if (!file.fault.empty()) return order + ": " + file.fault;
  const auto count = !wanted ? static_cast<std::ptrdiff_t>(records.size())
                             : std::count_if(records.begin(), records.end(), wanted);
  if (static_cast<std::ptrdiff_t>(file.keys.size()) != count) return order + ": number of keys";
  for (const auto& [key, record] : file.keys) {
    if (record == 0 || record > records.size()) return order + ": key of no record";
    const std::string value = records[record - 1].substr(place.at, place.length);
    const bool agrees =
        file.type == 'C' ? key == value : std::atof(key.c_str()) == std::atof(value.c_str());
    if (!agrees) return order + ": key " + key + " of " + value;
  }
  return "";
}

}  // namespace tarnel::testing
