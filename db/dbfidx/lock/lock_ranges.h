// Where the locks of tables lie. The byte ranges are shared with every running process and therefore frozen:
//
//   0, 1                         internal lock
//   32, 0x7FFFF7D6 bytes         file lock
//   a record's own bytes         record lock
//   B                            guard byte of the claim
//   B + 6 ... B + 1023           claim slots
//   B ... B + 1030               exclusive claim
//
// with B = 0x7FFFFBF6 in a .dbf and 0 in an .idx. The lock40comp scheme has for a .dbf instead
//
//   0x3FFFF7FF ... 0x3FFFFBFE    claim slots; all of them: exclusive claim
//   0x3FFFFC00                   gate of the internal lock
//   0x3FFFFC01 ... 0x3FFFFFFF    reader slots of the internal lock
#pragma once

#include <cstdint>

#include "db/dbfidx/dbfidx.h"

namespace tarnel {

constexpr std::int64_t kClaimSpan = 1033;  // from B to the top
constexpr std::int64_t kClaimLength = 1031, kFirstSlot = 6, kSlotsEnd = 1024;
static_assert(kDbfTop - kClaimSpan == 0x7FFFFBF6 && kIdxTop - kClaimSpan == 0);
static_assert(kDbfTop - kClaimSpan + kClaimLength <= 0x7FFFFFFF, "must fit a 32-bit offset");

constexpr std::int64_t kInternalAt = 0, kInternalLength = 2;
constexpr std::int64_t kFileLockAt = 32, kFileLockLength = 0x7FFFF7D6;

constexpr std::int64_t kClaim40At = 0x3FFFF7FF, kClaim40Length = 1024;
constexpr std::int64_t kGate40 = 0x3FFFFC00, kReader40 = 0x3FFFFC01, kReader40End = 0x40000000;

}  // namespace tarnel
