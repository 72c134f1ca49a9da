// What a check of a table finds: every fault that a file can have, its words, and the lines that tell of
// them,
//
//   FILE: PLACE: FAULT: DETAIL
//
// as "t.dbf: record 7, field N: no number: 1x2". Of one fault in one file the first lines are told and the
// others counted.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace tarnel {

// X(name, words)
#define CHECK_FAULTS(X)                                         \
  X(kUnreadable, "can't be read")                               \
  X(kNoTable, "is no table of this kind")                       \
  X(kHeaderSize, "header size")                                 \
  X(kRecordSize, "record size 0")                               \
  X(kCountTooHigh, "counts more records than a table can have") \
  X(kDateOfChange, "no date of the last change")                \
  X(kNoEndMark, "no end mark behind the fields")                \
  X(kFieldName, "no name of a field")                           \
  X(kFieldTwice, "a name that another field has")               \
  X(kFieldType, "no type of a field")                           \
  X(kFieldLength, "a length that the type doesn't have")        \
  X(kFieldsDontFill, "the fields don't make the record size")   \
  X(kRecordsLacking, "counts more records than the file holds") \
  X(kBytesBehind, "bytes behind the last record")               \
  X(kMemoBit, "memo fields and memo file don't go together")    \
  X(kMemoFileLacking, "no such file")                           \
  X(kPairUnfinished, "waits for a pack to be finished")         \
  X(kPairForeign, "belongs to another record file")             \
  X(kDeleteMark, "no delete mark")                              \
  X(kNoNumber, "no number")                                     \
  X(kNoDate, "no date")                                         \
  X(kNoLogical, "neither T nor F")                              \
  X(kNoBlock, "no number of a block")                           \
  X(kBlockOutside, "outside of the memo file")                  \
  X(kMemoEndless, "no end mark")                                \
  X(kBlockShared, "shared with another memo")                   \
  X(kBlockBehindFree, "the next memo will be written there")    \
  X(kNextFree, "no next free block")                            \
  X(kOrderHeader, "header contradicts itself")                  \
  X(kOrderShort, "more pages than the file holds")              \
  X(kOrderDiffers, "lacks changes of the table")                \
  X(kKeyCount, "number of keys")                                \
  X(kPageOutside, "no page of the file")                        \
  X(kPageTwice, "hangs in two places")                          \
  X(kPageCrowded, "more keys than a page has room for")         \
  X(kPageEmpty, "no key in it")                                 \
  X(kPageLost, "neither in use nor free")                       \
  X(kKeyMisplaced, "not where it belongs")                      \
  X(kKeyTwice, "twice in an order of unique keys")              \
  X(kKeyOfNone, "of a record that isn't there")                 \
  X(kKeyWrong, "not the key of its record")                     \
  X(kKeyUnwanted, "of a record that the condition leaves out")  \
  X(kKeyLacking, "has no key")

#define FAULT_NAME(name, words) name,
enum class Fault : std::uint8_t { CHECK_FAULTS(FAULT_NAME) kCount };
#undef FAULT_NAME
std::string_view fault_words(Fault fault);

using TellLine = std::function<void(const std::string& line)>;

class Findings {
 public:
  static constexpr std::int64_t kMostLines = 20;  // of one fault in one file

  explicit Findings(TellLine tell) : tell_(std::move(tell)) {}

  // What follows is of this file. Tells how many lines were left out of the former one.
  void begin_file(std::string_view path);
  const std::string& file() const { return file_; }
  void add(Fault fault, std::string_view place, std::string_view detail = {});
  // What could not be looked at, and why: no fault.
  void note(std::string_view text);
  std::int64_t count() const { return count_; }
  std::int64_t count(Fault fault) const { return in_file_[static_cast<std::size_t>(fault)]; }

 private:
  TellLine tell_;
  std::string file_;
  std::array<std::int64_t, static_cast<std::size_t>(Fault::kCount)> in_file_{};
  std::int64_t count_ = 0;
};

}  // namespace tarnel
