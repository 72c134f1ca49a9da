// The questions that every driver answers: codes of the members info, orderinfo, recordinfo, fieldinfo.
// Programs write them as numbers: they never change.
#pragma once

#include <cstdint>

namespace tarnel {

namespace info {
enum Code : std::int32_t {
  kIsTable = 1,
  kTakesRecords = 2,
  kHeaderSize = 3,
  kLastUpdate = 4,
  kDelimiter = 5,
  kFieldDelimiter = 6,
  kRecordSize = 7,
  kLockedRecords = 8,
  kTableExtension = 9,
  kFileLocked = 20,
  kRelationCount = 22,
  kFileHandle = 23,
  kFullPath = 24,
  kSingleByteText = 25,
  kBof = 26,
  kEof = 27,
  kFilterText = 28,
  kFound = 29,
  kFieldCount = 30,
  kLockCount = 31,
  kRecordBuffered = 32,
  kAlias = 33,
  kLocateBlock = 34,
  kShared = 36,
  kMemoExtension = 37,
  kMemoHandle = 38,
  kMemoBlockSize = 39,
  kFormatVersion = 101,
  kDriverVersion = 102,
  kOtherHolders = 1000,
  kFileMode = 5000,
  kFilterBlock = 5001,
  kOrderExtension = 5002,
};
}  // namespace info

namespace order_info {
enum Code : std::int32_t {
  kCondition = 1,
  kExpression = 2,
  kPosition = 3,
  kKeyNumber = 4,
  kName = 5,
  kOrderNumber = 6,
  kBagName = 7,
  kBagExtension = 8,
  kFullPath = 20,
  kFileHandle = 21,
  kDescending = 22,
  kConditional = 23,
  kKeyType = 24,
  kKeySize = 25,
  kKeyCount = 26,
  kKeyBlock = 27,
  kKeyLength = 28,
  kOwnLocking = 29,
  kLockOffset = 35,
  kKeyValue = 38,
  kTopScope = 39,
  kBottomScope = 40,
  kUnique = 43,
  kSharedState = 44,
  kKeysByHand = 45,
  kKeyCountRaw = 48,
  kTableName = 5001,
  kCheck = 5002,
};
}  // namespace order_info

namespace record_info {
enum Code : std::int32_t { kDeleted = 1, kLocked = 2, kSize = 3, kNumber = 4 };
}
namespace field_info {
enum Code : std::int32_t { kName = 1, kType = 2, kLength = 3, kDecimals = 4 };
}

}  // namespace tarnel
