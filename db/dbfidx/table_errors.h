// Every error of the table driver: code, severity, operation and text as data, and the road by
// which one reaches the error block. A directive of a text (%s %d %ld %c %x) takes the next fact of
// the call; an operation that is one is the first fact.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "core/source_line.h"
#include "core/var.h"

namespace tarnel {

struct DbfIdx;

// X(name, code, severity, operation, text)
#define TABLE_ERRORS(X)                                                                            \
  X(kRecordOutOfRange, 1, 8, "FieldGet()", "record %ld")                                           \
  X(kOpenFailed, 101, 1, "Init()", "%s")                                                           \
  X(kOpenUnfinished, 101, 1, "Init()", "%s;a pack that was broken off waits for EXCLUSIVE use")    \
  X(kBulkNoSource, 101, 2, "%s", "%s:;cannot open source database '%s'")                           \
  X(kPackNoTempFile, 101, 2, "Pack()", "cannot open tmp file")                                     \
  X(kIndexOpenFailed, 101, 1, "SetIndex()", "%s")                                                  \
  X(kIndexHeaderUnreadable, 103, 2, "SetIndex()", "header of %s")                                  \
  X(kHeaderUnreadable, 103, 2, "Init()", "header of %s")                                           \
  X(kHeaderDamaged, 103, 2, "Init()", "%s;damaged header: %s")                                     \
  X(kRecordUnreadable, 103, 2, "FieldGet()", "record %ld;of %s")                                   \
  X(kMemoUnreadable, 103, 2, "FieldGet()", "memo block %ld;of area %s")                            \
  X(kIndexUnreadable, 103, 2, "Hidden_Index_Method", "when positioning index")                     \
  X(kPutReadOnly, 104, 2, "FieldPut()", "attempt to replace FIELD in read-only database;area %s")  \
  X(kCommitReadOnly, 104, 2, "FieldPut()", "DBF is opened READ-ONLY in area %s")                   \
  X(kRecordUnwritable, 104, 2, "FieldPut()", "record %ld;of %s")                                   \
  X(kHeaderUnwritable, 104, 2, "FieldPut()", "header of %s")                                       \
  X(kMemoUnwritable, 104, 2, "FieldPut()", "memo block %ld;of area %s")                            \
  X(kBulkReadOnly, 104, 2, "%s", "DBF is opened READ-ONLY in area %s")                             \
  X(kBulkUnwritable, 104, 2, "%s", "%s")                                                           \
  X(kIndexUnwritable, 104, 2, "Hidden_Index_Method", "%s")                                         \
  X(kIndexCreateUnwritable, 104, 2, "CreateIndex()", "%s")                                         \
  X(kIndexCreateFailed, 105, 1, "CreateIndex()", "%s")                                             \
  X(kCreateFailed, 105, 1, "CreateDB()", "%s")                                                     \
  X(kCreateUnwritable, 104, 2, "CreateDB()", "%s")                                                 \
  X(kStatusOpening, 107, 1, "Init()", "while opening dbf")                                         \
  X(kStatusShared, 107, 1, "Init()", "while trying to open non exclusive")                         \
  X(kStatusExclusive, 107, 1, "Init()", "while trying to open exclusive")                          \
  X(kStatusWriteLock, 107, 1, "Init()", "while trying to make write lock")                         \
  X(kPutTypeMismatch, 201, 2, "FieldPut()", "type mismatch: '%c' <> '%c'")                         \
  X(kBulkTypeMismatch, 201, 2, "%s", "field %s;type mismatch: '%c' <> '%c'")                       \
  X(kGetFieldType, 204, 2, "FieldGet()", "unknown field type '%c'")                                \
  X(kPutFieldType, 204, 2, "FieldPut()", "variable data type '%c'")                                \
  X(kNumericOverflow, 205, 2, "FieldPut()", "numeric field overflow in assign")                    \
  X(kBulkOverflow, 205, 2, "%s", "record %ld;field %s")                                            \
  X(kBulkSumOverflow, 205, 2, "%s", "sum of field %s")                                             \
  X(kMemoTooLong, 301, 2, "FieldGet()", "memo content exceeds 65536 bytes")                        \
  X(kGetNoField, 306, 2, "FieldGet()", "database %s has no field named %s")                        \
  X(kPutNoField, 306, 2, "FieldPut()", "database %s has no field named %s")                        \
  X(kBulkNoField, 306, 2, "%s", "database %s has no field named %s")                               \
  X(kBulkBadField, 306, 2, "%s", "bad field name '%s'")                                            \
  X(kBulkNoFile, 311, 2, "%s", "")                                                                 \
  X(kCreateArgumentCount, 311, 2, "CreateDB()", "")                                                \
  X(kDeleteArguments, 311, 2, "Delete()", "[<cbFor>|<cFor)], [<cbWhile>|<cWhile>], [<uSope>]")     \
  X(kRecallArguments, 311, 2, "Recall()", "[<cbFor>|<cFor)], [<cbWhile>|<cWhile>], [<uSope>]")     \
  X(kCreateElementType, 312, 2, "CreateDB()", "wrong array element type")                          \
  X(kCreateArgumentType, 312, 2, "CreateDB()", "")                                                 \
  X(kAverageArguments, 312, 2, "Average()",                                                        \
    "CodeBlock, Character or Array of Chars or CBs expexted")                                      \
  X(kSumArguments, 312, 2, "Sum()", "CodeBlock, Character or Array of Chars or CBs expexted")      \
  X(kReplaceArrayTypes, 312, 2, "Replace()", "Array of Numerics or Characters expected")           \
  X(kReplaceTypes, 312, 2, "Replace()",                                                            \
    "Numeric, Character or Array of Numerics or Chars expected")                                   \
  X(kEvalArguments, 312, 2, "Eval()",                                                              \
    "1:<cbEval>;2:[<cbFor>|<cFor>];3:[<cbWhile>|<cWhile>];4:[<uScope>]);"                          \
    "wrong or missing param(s) %s")                                                                \
  X(kFilterNotLogical, 312, 2, "SetFilter()", "block must return logical")                         \
  X(kSetFilter, 312, 2, "SetFilter()", "")                                                         \
  X(kAliasAssign, 312, 2, "Alias Assign", "")                                                      \
  X(kConcurrencyAssign, 312, 2, "ConcurrencyControl Assign", "")                                   \
  X(kFilterAssign, 312, 2, "Filter Assign", "")                                                    \
  X(kForBlockAssign, 312, 2, "ForBlock Assign", "")                                                \
  X(kGotoArgument, 312, 2, "Goto()", "")                                                           \
  X(kIndexKeyArgument, 312, 2, "Indexkey()", "")                                                   \
  X(kInfoArgument, 312, 2, "Info()", "")                                                           \
  X(kRecnoAssign, 312, 2, "Recno Assign", "")                                                      \
  X(kScopeAssign, 312, 2, "Scope Assign", "")                                                      \
  X(kSetFoundAssign, 312, 2, "SetFound Assign", "")                                                \
  X(kSetLocateAssign, 312, 2, "SetLocate Assign", "")                                              \
  X(kSkipArgument, 312, 2, "Skip()", "")                                                           \
  X(kWhileBlockAssign, 312, 2, "WhileBlock Assign", "")                                            \
  X(kBulkNoNumber, 312, 2, "%s", "field %s is no number")                                          \
  X(kBulkNoBlock, 312, 2, "%s", "block expected")                                                  \
  X(kCreateEmptyName, 313, 2, "CreateDB()", "empty name")                                          \
  X(kIndexKeyLength, 313, 2, "CreateIndex()", "index key length error")                            \
  X(kIndexExpressionLength, 313, 2, "CreateIndex()", "index expression length error")              \
  X(kIndexForLength, 313, 2, "CreateIndex()", "index FOR expression length error")                 \
  X(kSetRelation, 313, 2, "SetRelation()", "")                                                     \
  X(kCreateFieldType, 317, 2, "CreateDB()", "unknown field type '%c'")                             \
  X(kIndexKeyType, 317, 2, "CreateIndex()", "unsupported index key type")                          \
  X(kIndexArguments, 317, 2, "CreateIndex()", "")                                                  \
  X(kCreateOrderName, 317, 2, "CreateOrder()", "index name expected")                              \
  X(kInfoBlock, 317, 2, "Info()", "block expected")                                                \
  X(kInitFileName, 317, 2, "Init()", "open database file name")                                    \
  X(kSetIndexName, 317, 2, "SetIndex()", "index name expected")                                    \
  X(kKeyTypeMismatch, 317, 8, "Hidden_Index_Method",                                               \
    "key type (%c) doesn't match;index '%s';index key type (%c)")                                  \
  X(kCreateCharacterSize, 320, 2, "CreateDB()", "character field exceeds 64Kb")                    \
  X(kCreateNumericSize, 320, 2, "CreateDB()", "numeric field size exceeds 20 chars")               \
  X(kCreateRecordSize, 320, 2, "CreateDB()", "record size exceeds 64Kb")                           \
  X(kCreateFieldCount, 320, 2, "CreateDB()", "header size exceeds 64Kb")                           \
  X(kCreateInUse, 322, 2, "CreateDB()", "database '%s' exists;but cannot use it exclusively")      \
  X(kBulkNoOther, 322, 2, "%s", "another open table expected")                                     \
  X(kPutClosed, 322, 2, "FieldPut()", "attempt to replace FIELD in closed database;area %s")       \
  X(kPackNotExclusive, 322, 2, "Pack()", "EXCLUSIVE required")                                     \
  X(kReindexNotExclusive, 322, 2, "ReIndex()", "EXCLUSIVE required")                               \
  X(kZapNotExclusive, 322, 2, "Zap()", "EXCLUSIVE required")                                       \
  X(kCreateOrderLock, 325, 2, "CreateOrder()", "FILE LOCK required")                               \
  X(kDeleteNotLocked, 325, 2, "Delete()", "rec %d not locked")                                     \
  X(kRecallNotLocked, 325, 2, "Recall()", "rec %d not locked")                                     \
  X(kPutNotLocked, 325, 2, "FieldPut()",                                                           \
    "attempt to replace FIELD without lock;record %d;area %s")                                     \
  X(kWriteNotLocked, 325, 2, "FieldPut()", "attempt to write record %d in %s")                     \
  X(kBulkTargetLocked, 325, 2, "%s",                                                               \
    "%s:;someone else has locked the target database;cannot append")                               \
  X(kVersionFour, 326, 2, "Init()", "'dBASE IV' file format not supported")                        \
  X(kVersionFox, 326, 2, "Init()", "'Fox' file format not supported")                              \
  X(kVersionOther, 326, 2, "Init()", "the file has 0x%x as version code")                          \
  X(kOpenTooLarge, 327, 2, "Init()", "%s;records behind byte %ld cannot be locked")                \
  X(kAppendTooLarge, 327, 2, "FieldPut()", "record %ld of %s;lies where it cannot be locked")      \
  X(kInternalReadLock, 327, 2, "Init()", "while trying to set read lock")                          \
  X(kInternalUnlock, 327, 2, "Init()", "while trying to unlock")                                   \
  X(kInternalWriteLock40, 327, 2, "Init()", "while trying to make write lock")                     \
  X(kInternalWriteLock, 327, 2, "FieldGet()", "while trying to set read lock")                     \
  X(kIndexCorruptedPosition, 331, 2, "Hidden_Index_Method",                                        \
    "index file corrupted (when positioning)")                                                     \
  X(kIndexDamaged, 331, 2, "SetIndex()", "%s;damaged header: %s")                                  \
  X(kIndexCorrupted, 331, 4, "Hidden_Index_Method", "area %s")                                     \
  X(kPutAtEof, 334, 2, "FieldPut()", "attempt to replace FIELD on EOF;area %s")                    \
  X(kPutEmpty, 334, 2, "FieldPut()", "attempt to replace FIELD in empty database;area %s")         \
  X(kWriteAtEof, 334, 8, "FieldPut()", "area %s")                                                  \
  X(kIndexTooOld, 340, 4, "SetIndex()", "file %s;index version is 4.00 or before")                 \
  X(kIndexNoUpdate, 340, 4, "SetIndex()", "file %s;cannot update 4.02 index version with R/O dbf") \
  X(kIndexTooNew, 340, 4, "SetIndex()", "for file %s, index version newer than executable")        \
  X(kDeleteOrder, 343, 2, "DeleteOrder()", "not supported")                                        \
  X(kIndexSector, 412, 4, "Hidden_Index_Method", "alias %s;order %d;sector %d")                    \
  X(kGetNotOpen, 413, 8, "FieldGet()", "record %ld")                                               \
  X(kPutNotOpen, 413, 8, "FieldPut()", "area %s")                                                  \
  X(kHeaderNotOpen, 413, 8, "FieldGet()", "%s")                                                    \
  X(kHeaderWriteNotOpen, 413, 8, "FieldPut()", "%s")                                               \
  X(kNoMemoFile, 414, 4, "FieldGet()", "")                                                         \
  X(kReindexNoOrder, 415, 2, "ReIndex()", "no active indexes in area %s ")                         \
  X(kSeekNoOrder, 415, 2, "Seek()", "no active indexes in area %s ")                               \
  X(kSeekEvalNoOrder, 415, 2, "SeekEval()", "no active indexes in area %s ")                       \
  X(kZapReopen, 415, 8, "NdxZap()", "cannot reopen IDX file;area %s;index %s)")                    \
  X(kKeyExists, 416, 8, "CreateIndex()",                                                           \
    "area %s;index %s;key %s;record %ld;key already exists;but it SHOULD NOT")                     \
  X(kSortTable, 901, 2, "SetIndex()", "set correct sorting table for index")                       \
  X(kKeepNoIndex, 902, 2, "CreateOrder()", "KEEPINDEX only with open index, ignored")              \
  X(kKeepNoFor, 902, 2, "CreateOrder()", "KEEPINDEX only with FOR clause, ignored")                \
  X(kIndexMayBeCorrupted, 902, 2, "Hidden_Index_Method", "index may be corrupted in area %s")      \
  X(kMandatoryLock, 902, 2, "Init()",                                                              \
    "database has mandatory lock flag;shared operation will be impaired")                          \
  X(kMultiplyOpened, 902, 2, "Init()", "database %s;is multiply opened in different work areas")   \
  X(kOptionNotSupported, 902, 2, "OrderInfo()", "the required option is not supported")            \
  X(kSeekNoArgument, 902, 2, "Seek()", "argument missing")                                         \
  X(kSeekEvalNoArgument, 902, 2, "SeekEval()", "argument missing")                                 \
  X(kSeekTypeMismatch, 902, 2, "Seek()", "type mismatch: '%c' <> '%c'")                            \
  X(kIndexMandatoryLock, 902, 2, "SetIndex()",                                                     \
    "index has mandatory lock flag;shared operation will be impaired")                             \
  X(kIndexOfOtherTable, 902, 2, "SetIndex()", "index was created with other DBF (%s)")             \
  X(kIllegalOrder, 902, 2, "SetOrder()", "illegal order %d in area %s, only %d indices")

#define TABLE_ERROR_NAME(name, code, severity, operation, text) name,
enum class TableError : std::uint8_t { TABLE_ERRORS(TABLE_ERROR_NAME) };
#undef TABLE_ERROR_NAME

// One fact for a text: a text, a number, or a character.
class Fact {
 public:
  Fact(std::string_view text) : text_(text) {}    // NOLINT(google-explicit-constructor)
  Fact(const char* text) : text_(text) {}         // NOLINT(google-explicit-constructor)
  Fact(const std::string& text) : text_(text) {}  // NOLINT(google-explicit-constructor)
  Fact(char c) : text_(1, c), number_(c) {}       // NOLINT(google-explicit-constructor)
  Fact(std::int64_t n) : text_(std::to_string(n)), number_(n) {}  // NOLINT
  Fact(std::int32_t n) : Fact(std::int64_t{n}) {}  // NOLINT(google-explicit-constructor)

  const std::string& text() const { return text_; }
  std::int64_t number() const { return number_; }

 private:
  std::string text_;
  std::int64_t number_ = 0;
};

// The text of an error with its facts in place of the directives.
std::string table_error_text(TableError which, std::initializer_list<Fact> facts);

// Fills the template error object of the driver object and calls its method error. Returns when the
// handler lets the run go on. While errors are held only the code is kept.
void dxerror(DbfIdx& dbf, TableError which, std::initializer_list<Fact> facts = {},
             SourceLine where = SourceLine::current());

}  // namespace tarnel
