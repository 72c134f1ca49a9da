// Text files of any bytes: records are taken off to the end, the same ones whatever was read of the file by then;
// and a record that was read comes back from the line that is written of it. The first byte says the form.
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "core/core_modules.h"
#include "core/runtime.h"
#include "db/text/text_format.h"
#include "lib/lib_modules.h"

using namespace tarnel;

namespace {

constexpr auto kModules = join_modules(kLibModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);
constexpr TextFormat kFormats[] = {{',', '"'}, {0, 0}, {' ', 0}, {',', '\''}};

std::vector<dbf::Field> structure() {
  std::vector<dbf::Field> fields = {{"N", 'N', 0, 2, 0, 8},  {"C", 'C', 0, 0, 0, 9},
                                    {"D", 'D', 0, 0, 0, 8},  {"L", 'L', 0, 0, 0, 1},
                                    {"F", 'F', 0, 3, 0, 12}, {"I", 'N', 0, 0, 0, 3}};
  std::size_t place = 1;
  for (dbf::Field& field : fields) {
    field.offset = static_cast<std::uint16_t>(place);
    place += field.length;
  }
  return fields;
}

using Record = std::vector<std::uint8_t>;

// Nothing of a record is lost on the way into a line and back, but that blank numbers and logicals become 0 and
// false at the first turn.
void write_and_read(Record record, TextFormat format, const std::vector<dbf::Field>& fields) {
  std::string first;
  for (int turn = 0; turn < 2; ++turn) {
    std::string line;
    std::size_t wrong = fields.size();
    if (!put_line(line, record.data(), format, fields, wrong)) {
      if (format.delimiter != 0 || wrong >= fields.size() || !line.empty()) std::abort();
      return;
    }
    if (turn == 1 && line != first) std::abort();
    first = line;
    if (format.separator == ' ') return;  // texts with blanks don't come back
    const TakenRecord taken = take_record(line, true, format, fields, record);
    if (taken.taken != Taken::kRecord || taken.used != line.size() || taken.wide >= 0) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static const bool started = (start_library({kFunctions.table(), kModules}), true);
  static const std::vector<dbf::Field> fields = structure();
  if (!started || size == 0) return 0;
  const TextFormat format = kFormats[data[0] % std::size(kFormats)];
  std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::size_t bytes = fields.back().offset + std::size_t{fields.back().length};
  Record whole(bytes), part(bytes);
  while (!text.empty()) {
    const TakenRecord taken = take_record(text, true, format, fields, whole);
    if (taken.taken == Taken::kTooLong) break;
    if (taken.taken != Taken::kRecord || taken.used == 0 || taken.used > text.size()) std::abort();
    for (std::size_t n = 1; n < text.size(); n += 1 + n / 3) {
      const TakenRecord early = take_record(text.substr(0, n), false, format, fields, part);
      if (early.taken == Taken::kRecord && (early.used != taken.used || part != whole))
        std::abort();
    }
    if (taken.wide < 0) write_and_read(whole, format, fields);
    text.remove_prefix(taken.used);
  }
  return 0;
}
