// The front functions of the language: each finds the driver object of the current area and hands
// the call on to one of its members. They hold no logic of their own.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/modules.h"
#include "db/area.h"
#include "db/dataserver.h"

namespace tarnel {

// What a front function gives when there is no area, or its arguments do not allow the call.
enum class Default : std::uint8_t { kFalse, kNil, kZero, kEmptyText, kTrue };

// How the arguments are made.
enum class Pass : std::uint8_t {
  kNone,  // the object alone
  kAll,   // all arguments as they are
};

enum class NoArea : bool { kSilent, kError322 };

// A front function that is nothing but a call of a member: name, member, kind, how arguments pass,
// what happens without an area, the default, usage, example.
#define FRONT_CALLS(X)                                                                             \
  X(bof, "bof", kAccess, kNone, kSilent, kFalse,                                                   \
    "bof() -> lAtTop: did a move run over the first record", "bof() ==> .F.")                      \
  X(dbaverage, "average", kMethod, kAll, kSilent, kFalse,                                          \
    "dbaverage(xExpr, [xFor], [xWhile], [nNext], [lRest]) -> aAverages: averages of expressions, " \
    "a text, a block or an array of them",                                                         \
    "dbaverage('people')[1] ==> 96.00")                                                            \
  X(dbclearfil, "clearfilter", kMethod, kNone, kSilent, kFalse,                                    \
    "dbclearfilter() -> lDone: shows all records again",                                           \
    "{dbsetfilter('people > 50'), dbclearfilter(), dbcount()}[3] ==> 3")                           \
  X(dbcloseare, "close", kMethod, kNone, kSilent, kFalse,                                          \
    "dbclosearea(): closes the table of the current area", "{dbclosearea(), used()}[2] ==> .F.")   \
  X(dbcommit, "commit", kMethod, kNone, kSilent, kFalse,                                           \
    "dbcommit() -> lDone: writes the current record and brings the header up to date",             \
    "dbcommit() ==> .T.")                                                                          \
  X(dbcontinue, "continue", kMethod, kNone, kSilent, kFalse,                                       \
    "dbcontinue() -> lFound: goes to the next record that the last locate looked for",             \
    "{dblocate('people > 50'), dbcontinue(), name}[3] ==> Uppsala")                                \
  X(dbcount, "count", kMethod, kAll, kSilent, kZero,                                               \
    "dbcount([xFor], [xWhile], [nNext], [lRest]) -> nRecords: number of records of a scope",       \
    "dbcount('people > 50') ==> 2")                                                                \
  X(dbdelete, "delete", kMethod, kAll, kSilent, kFalse,                                            \
    "dbdelete([xFor], [xWhile], [xScope]) -> lDone: marks the current record as deleted, or a "    \
    "scope",                                                                                       \
    "{rlock(), dbdelete(), deleted()}[3] ==> .T.")                                                 \
  X(dbfieldinf, "fieldinfo", kMethod, kAll, kSilent, kNil,                                         \
    "dbfieldinfo(nWhat, xField) -> xInfo: 1 name, 2 type, 3 length, 4 decimals of a field",        \
    "dbfieldinfo(3, 1) ==> 8")                                                                     \
  X(dbfilter, "filter", kAccess, kNone, kSilent, kEmptyText,                                       \
    "dbfilter() -> cText: the filter as text",                                                     \
    "{dbsetfilter('people > 50'), dbfilter()}[2] ==> people > 50")                                 \
  X(dbgobottom, "gobottom", kMethod, kNone, kError322, kFalse,                                     \
    "dbgobottom(): goes to the last record", "{dbgobottom(), name}[2] ==> Uppsala")                \
  X(dbgoto, "goto", kMethod, kAll, kError322, kFalse,                                              \
    "dbgoto(nRecord): goes to a record by its number", "{dbgoto(2), name}[2] ==> Lund")            \
  X(dbgotop, "gotop", kMethod, kNone, kError322, kFalse, "dbgotop(): goes to the first record",    \
    "{dbgotop(), recno()}[2] ==> 1")                                                               \
  X(dbinfo, "info", kMethod, kAll, kSilent, kNil,                                                  \
    "dbinfo(nWhat, [xNew]) -> xInfo: what there is to ask about the table",                        \
    "dbinfo(33) ==> TOWNS")                                                                        \
  X(dblocate, "locate", kMethod, kAll, kSilent, kFalse,                                            \
    "dblocate(xFor, [xWhile], [xScope]) -> lFound: goes to the first record for which a block or " \
    "text is true; a number or .T. begins at the current one",                                     \
    "{dblocate('people > 50'), name}[2] ==> Lund")                                                 \
  X(dbrecall, "recall", kMethod, kAll, kSilent, kFalse,                                            \
    "dbrecall([xFor], [xWhile], [xScope]) -> lDone: takes the delete mark off the current "        \
    "record, or a scope",                                                                          \
    "{rlock(), dbdelete(), dbrecall(), deleted()}[4] ==> .F.")                                     \
  X(dbrecordin, "recordinfo", kMethod, kAll, kSilent, kNil,                                        \
    "dbrecordinfo(nWhat, [nRecord]) -> xInfo: 1 deleted, 2 locked, 3 size, 4 number of a record",  \
    "dbrecordinfo(4) ==> 1")                                                                       \
  X(dbrelation, "relation", kMethod, kAll, kSilent, kEmptyText,                                    \
    "dbrelation([n]) -> cText: text of the nth relation, 1 by default",                            \
    "empty(dbrelation()) ==> .T.")                                                                 \
  X(dbreplace, "replace", kMethod, kAll, kSilent, kFalse,                                          \
    "dbreplace(xField, xValue, [xFor], [xWhile], [xScope]) -> lDone: changes fields in ALL "       \
    "records, or those of a scope; 1 as scope is the current one",                                 \
    "{dbreplace('people', 0, 'people < 50'), dbsum('people')[1]}[2] ==> 271")                      \
  X(dbrlocklis, "rlocklist", kAccess, kNone, kSilent, kNil,                                        \
    "dbrlocklist() -> aRecords: numbers of the records this area holds locked",                    \
    "{rlock(), dbrlocklist()[1]}[2] ==> 1")                                                        \
  X(dbsetfilte, "setfilter", kMethod, kAll, kError322, kFalse,                                     \
    "dbsetfilter([xFilter], [cText]) -> lDone: hides records for which a block or text isn't "     \
    "true; cText is what dbfilter() shows",                                                        \
    "{dbsetfilter('people > 50'), dbcount()}[2] ==> 2")                                            \
  X(dbskip, "skip", kMethod, kAll, kError322, kFalse,                                              \
    "dbskip([n]) -> nMoved: moves n records on, 1 by default", "{dbskip(2), name}[2] ==> Uppsala") \
  X(dbstruct, "dbstruct", kMethod, kNone, kSilent, kNil,                                           \
    "dbstruct() -> aRows: name, type, length and decimals of each field",                          \
    "dbstruct()[1][1] ==> NAME")                                                                   \
  X(dbunlock, "unlock", kMethod, kAll, kSilent, kFalse,                                            \
    "dbunlock([nRecord]) -> lDone: commits and gives up the locks, or one of them",                \
    "{rlock(), dbunlock(), len(dbrlocklist())}[3] ==> 0")                                          \
  X(dbsum, "sum", kMethod, kAll, kSilent, kFalse,                                                  \
    "dbsum(xExpr, [xFor], [xWhile], [nNext], [lRest]) -> aSums: sums of expressions, a text, a "   \
    "block or an array of them",                                                                   \
    "dbsum('people')[1] ==> 288")                                                                  \
  X(deleted, "deleted", kAccess, kNone, kSilent, kFalse,                                           \
    "deleted() -> lDeleted: is the current record marked as deleted", "deleted() ==> .F.")         \
  X(eof, "eof", kAccess, kNone, kSilent, kFalse, "eof() -> lAtEnd: is there no current record",    \
    "{dbgobottom(), dbskip(), eof()}[3] ==> .T.")                                                  \
  X(fcount, "fcount", kAccess, kNone, kSilent, kZero, "fcount() -> nFields: number of fields",     \
    "fcount() ==> 2")                                                                              \
  X(fieldname, "fieldname", kMethod, kAll, kSilent, kEmptyText,                                    \
    "fieldname(nField) -> cName: name of a field", "fieldname(2) ==> PEOPLE")                      \
  X(fieldpos, "fieldpos", kMethod, kAll, kSilent, kZero,                                           \
    "fieldpos(cName) -> nField: number of a field, 0 when there is none",                          \
    "fieldpos('people') ==> 2")                                                                    \
  X(flock, "flock", kMethod, kNone, kSilent, kFalse, "flock() -> lHeld: locks the whole table",    \
    "flock() ==> .T.")                                                                             \
  X(header, "header", kAccess, kNone, kSilent, kZero,                                              \
    "header() -> nBytes: size of the table's header", "header() ==> 97")                           \
  X(indexkey, "indexkey", kMethod, kAll, kSilent, kEmptyText,                                      \
    "indexkey([nOrder]) -> cKey: key expression of an order", "indexkey(1) ==> name")              \
  X(indexord, "indexord", kMethod, kNone, kSilent, kZero,                                          \
    "indexord() -> nOrder: number of the controlling order",                                       \
    "{dbsetorder(1), indexord()}[2] ==> 1")                                                        \
  X(lastrec, "lastrec", kAccess, kNone, kSilent, kZero,                                            \
    "lastrec() -> nRecords: number of records", "lastrec() ==> 3")                                 \
  X(lupdate, "lupdate", kAccess, kNone, kSilent, kNil,                                             \
    "lupdate() -> dDate: date of the table's last change", "lupdate() = date() ==> .T.")           \
  X(ordlistcle, "clearindex", kMethod, kNone, kSilent, kFalse,                                     \
    "ordlistclear(): closes all orders", "{ordlistclear(), len(indexnames())}[2] ==> 0")           \
  X(ordlistreb, "reindex", kMethod, kNone, kError322, kFalse,                                      \
    "ordlistrebuild(): builds all orders anew",                                                    \
    "{dbusearea(.F., , 'towns', , .F.), dbsetindex('towns'), ordlistrebuild()}[3] ==> .T.")        \
  X(rddname, "driver", kAccess, kNone, kSilent, kEmptyText,                                        \
    "rddname() -> cDriver: driver of the current table", "rddname() ==> DBFIDX")                   \
  X(recno, "recno", kAccess, kNone, kSilent, kZero,                                                \
    "recno() -> nRecord: number of the current record", "recno() ==> 1")                           \
  X(recsize, "recsize", kAccess, kNone, kSilent, kZero, "recsize() -> nBytes: size of a record",   \
    "recsize() ==> 15")                                                                            \
  X(used, "used", kAccess, kNone, kSilent, kFalse,                                                 \
    "used() -> lOpen: is a table open in the current area", "used() ==> .T.")

// Those with a rule of their own.
#define FRONT_SPECIALS(X)                                                                          \
  X("__dbtable", dbtable, "__dbtable() -> lOpen: is a table open; error 322 if not",               \
    "__dbtable() ==> .T.")                                                                         \
  X("afields", afields,                                                                            \
    "afields([aNames], [aTypes], [aLengths], [aDecimals]) -> nFields: fills arrays with the "      \
    "structure",                                                                                   \
    "eval({|n| afields(n), n[2]}, array(2)) ==> PEOPLE")                                           \
  X("alias", alias, "alias([nArea]) -> cAlias: alias of an area", "alias() ==> TOWNS")             \
  X("dbappend", dbappend,                                                                          \
    "dbappend([lRelease]) -> lDone: adds a blank record, locked in shared use",                    \
    "{dbappend(), recno()}[2] ==> 4")                                                              \
  X("dbcloseall", dbcloseall, "dbcloseall(): closes all tables",                                   \
    "{dbcloseall(), used()}[2] ==> .F.")                                                           \
  X("dbcommitall", dbcommitall, "dbcommitall() -> lDone: commits the tables of all areas",         \
    "dbcommitall() ==> .T.")                                                                       \
  X("dbcreate", dbcreate,                                                                          \
    "dbcreate(cFile, aRows, [cDriver], [nMode]) -> lDone: creates a table of the given structure", \
    "dbcreate('new', {{'id', 'N', 4, 0}}) ==> .T.")                                                \
  X("dbcreateindex", dbcreatein,                                                                   \
    "dbcreateindex(cFile, cKey, [bKey], [lUnique]) -> lDone: creates an order and makes it the "   \
    "only one",                                                                                    \
    "dbcreateindex('people', 'people') ==> .T.")                                                   \
  X("dbf", dbf_name, "dbf() -> cFile: path of the current table",                                  \
    "right(dbf(), 10) ==> /towns.dbf")                                                             \
  X("dbrlock", dbrlock,                                                                            \
    "dbrlock([nRecord]) -> lHeld: locks a record beside those that are held, or the current one "  \
    "in their place",                                                                              \
    "{dbrlock(1), dbrlock(2), len(dbrlocklist())}[3] ==> 2")                                       \
  X("dbrunlock", dbrunlock,                                                                        \
    "dbrunlock([nRecord]) -> lDone: gives up the lock of a record, or all",                        \
    "{dbrlock(1), dbrlock(2), dbrunlock(1), dbrlocklist()[1]}[4] ==> 2")                           \
  X("dbseek", dbseek, "dbseek(xKey, [lSoft]) -> lFound: goes to the first record with that key",   \
    "{dbsetorder(1), dbseek('Lund'), recno()}[3] ==> 2")                                           \
  X("dbselectarea", dbselectar, "dbselectarea(xArea): makes an area current, by number or alias",  \
    "{dbselectarea(2), used()}[2] ==> .F.")                                                        \
  X("dbsetindex", dbsetindex, "dbsetindex(cFile) -> lDone: opens an order",                        \
    "{dbcreateindex('people', 'people'), dbsetindex('towns'), len(indexnames())}[3] ==> 2")        \
  X("dbtableext", dbtableext, "dbtableext() -> cExtension: extension of table files",              \
    "dbtableext() ==> .dbf")                                                                       \
  X("dbunlockall", dbunlockall, "dbunlockall() -> lDone: gives up the locks of all areas",         \
    "{rlock(), dbunlockall(), len(dbrlocklist())}[3] ==> 0")                                       \
  X("dbusearea", dbusearea,                                                                        \
    "dbusearea(lNew, [cDriver], cFile, [cAlias], [lShared], [lReadOnly]) -> lOpen: opens a table", \
    "{dbusearea(.T., , 'towns', 'again', .T.), alias()}[2] ==> AGAIN")                             \
  X("field", fieldname_function, "field(nField) -> cName: name of a field", "field(1) ==> NAME")   \
  X("fieldblock", fieldblock,                                                                      \
    "fieldblock(cName) -> bBlock: stores a value into a field of the area then current, or gives " \
    "its value; NIL without such a field",                                                         \
    "eval(fieldblock('people')) ==> 17")                                                           \
  X("fieldget", fieldget, "fieldget(xField) -> xValue: value of a field, by number or name",       \
    "fieldget('people') ==> 17")                                                                   \
  X("fieldput", fieldput, "fieldput(xField, xValue) -> xValue: stores a value into a field",       \
    "{rlock(), fieldput('people', 18), people}[3] ==> 18")                                         \
  X("fieldwblock", fieldwblock,                                                                    \
    "fieldwblock(cName, nArea) -> bBlock: as fieldblock, for the field of an area",                \
    "eval(fieldwblock('people', 1)) ==> 17")                                                       \
  X("found", found, "found([lSet]) -> lFound: did the last seek or locate find something",         \
    "{dbsetorder(1), dbseek('Lund'), found()}[3] ==> .T.")                                         \
  X("indexext", indexext, "indexext() -> cExtension: extension of order files",                    \
    "indexext() ==> .idx")                                                                         \
  X("indexnames", indexnames, "indexnames() -> aFiles: files of the open orders",                  \
    "right(indexnames()[1], 10) ==> /towns.idx")                                                   \
  X("neterr", neterr, "neterr([lSet]) -> lFailed: did the last open, append or lock fail",         \
    "neterr() ==> .F.")                                                                            \
  X("ordbagext", indexext, "ordbagext() -> cExtension: extension of order files",                  \
    "ordbagext() ==> .idx")                                                                        \
  X("ordcreate", ordcreate,                                                                        \
    "ordcreate(cFile, [cBag], cKey, [bKey], [lUnique]) -> lDone: creates an order",                \
    "{ordcreate('people', , 'people'), indexkey(1)}[2] ==> people")                                \
  X("ordlistadd", ordlistadd, "ordlistadd(cFile, [xTag], [lShared]) -> lDone: opens an order",     \
    "{ordlistclear(), ordlistadd('towns'), len(indexnames())}[3] ==> 1")                           \
  X("reccount", reccount, "reccount() -> nRecords: number of records", "reccount() ==> 3")         \
  X("rlock", rlock, "rlock([xRecord, ...]) -> lHeld: locks the current record, or those given",    \
    "rlock() ==> .T.")                                                                             \
  X("select", select_area, "select([cAlias]) -> nArea: number of the current area or of an alias", \
    "select('towns') ==> 1")

FRONT_SPECIALS(DECLARE_BUILTIN)

#define DECLARE_FRONT(function, member, kind, pass, no_area, result, ...) \
  Var* front_##function(std::int32_t argc, Var** argv);
#define FRONT_ROW(function, member, kind, pass, no_area, result, ...) \
  {#function, front_##function, __VA_ARGS__},
FRONT_CALLS(DECLARE_FRONT)

inline constexpr FunctionEntry kFrontBuiltins[] = {FRONT_CALLS(FRONT_ROW)
                                                       FRONT_SPECIALS(BUILTIN_ROW)};
#undef DECLARE_FRONT
#undef FRONT_ROW
inline constexpr ModuleRecord kFrontModule{
    .name = "bbdb", .subject = "Tables", .functions = kFrontBuiltins};

Var* no_server(NoArea no_area);  // the part of front_server that raises
// The driver object of the current area; null without one, after error 322 if asked for.
inline Var* front_server(NoArea no_area) {
  Var* server = current_server();
  return server != nullptr ? server : no_server(no_area);
}
// A member by its name, with the slot that the compiler looked up.
struct FrontMember {
  std::string_view name;
  std::int32_t slot;
  consteval FrontMember(const char* member, char kind)
      : name(member), slot(server_slot(member, kind)) {}
};
// Calls a member of the driver object, which stays alive for the time of the call.
Var* front_call(Var* server, FrontMember member, std::int32_t argc, Var** argv);
// For a name that is known only when the program runs.
Var* front_call(Var* server, std::string_view member, char kind, std::int32_t argc, Var** argv);

}  // namespace tarnel
