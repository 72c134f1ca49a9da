// Builtins on files and directories. Handles are those that fopen and fcreate gave, and 0 to 2.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define FILE_BUILTINS(X)                                                                           \
  X("__copyfile", copyfile, "__copyfile(cFrom, cTo, [lAppend]) -> lDone: copies or appends files", \
    "{__copyfile('towns.dbf', 'copy.dbf'), file('copy.dbf')}[2] ==> .T.")                          \
  X("_setdir", setdir, "_setdir(cDirectory) -> lDone: changes the working directory",              \
    "_setdir('none') ==> .F.")                                                                     \
  X("adir", adir,                                                                                  \
    "adir([cMask], [aNames], [aSizes], [aDates], [aTimes], [aAttributes]) -> nFiles: fills "       \
    "arrays with what directory() tells",                                                          \
    "adir('towns.*') ==> 2")                                                                       \
  X("curdrive", curdrive,                                                                          \
    "curdrive([cDrive]) -> cDrive: the drive whose directory X_OVDRIVE the working directory "     \
    "lies in; changes to that of a drive",                                                         \
    "empty(curdrive()) ==> .T.")                                                                   \
  X("curdir", curdir,                                                                              \
    "curdir([cDrive]) -> cDirectory: the working directory, or what a drive stands for",           \
    "left(curdir(), 1) ==> /")                                                                     \
  X("dirchange", dirchange,                                                                        \
    "dirchange(cDirectory) -> nError: changes the working directory, 0 or the system's number",    \
    "dirchange('none') ==> 2")                                                                     \
  X("directory", directory,                                                                        \
    "directory([cMask], [cAttributes]) -> aFiles: {name, size, date, time, attributes} of files",  \
    "directory('*.dbf')[1][1] ==> towns.dbf")                                                      \
  X("dirremove", dirremove,                                                                        \
    "dirremove(cDirectory) -> nError: removes an empty directory, 0 or the system's number",       \
    "{makedir('new'), dirremove('new')}[2] ==> 0")                                                 \
  X("doserror", doserror, "doserror([nNew]) -> nOld: the system's number of the last file error",  \
    "{doserror(2), doserror()}[2] ==> 2")                                                          \
  X("fattrib", fattrib,                                                                            \
    "fattrib(cFile, [nMode]) -> nOld: mode bits of a file, -1 when there is none",                 \
    "fattrib('towns.dbf') > 0 ==> .T.")                                                            \
  X("fclose", builtin_fclose, "fclose(nHandle) -> lDone: closes a file",                           \
    "fclose(fopen('towns.dbf')) ==> .T.")                                                          \
  X("fcreate", fcreate, "fcreate(cFile, [nAttribute]) -> nHandle: new empty file, -1 on failure",  \
    "fcreate('new') > 2 ==> .T.")                                                                  \
  X("ferase", ferase, "ferase(cFile) -> nResult: deletes files, 0 or -1",                          \
    "{memowrit('a', ''), ferase('a'), file('a')}[3] ==> .F.")                                      \
  X("ferror", builtin_ferror,                                                                      \
    "ferror() -> nError: the system's number of the last file function, 0 is success",             \
    "{fopen('none'), ferror()}[2] ==> 2")                                                          \
  X("file", file, "file(cFile) -> lThere: is there such a file in SET DEFAULT or SET PATH",        \
    "file('towns.*') ==> .T.")                                                                     \
  X("filedate", filedate,                                                                          \
    "filedate(cFile) -> dDate: when a file was changed, the empty date when there is none",        \
    "filedate('towns.dbf') = date() ==> .T.")                                                      \
  X("filesize", filesize, "filesize(cFile) -> nBytes: size of a file, -1 when there is none",      \
    "filesize('none') ==> -1")                                                                     \
  X("filetime", filetime,                                                                          \
    "filetime(cFile) -> cTime: when on its day a file was changed, empty when there is none",      \
    "len(filetime('towns.dbf')) ==> 8")                                                            \
  X("fopen", builtin_fopen,                                                                        \
    "fopen(cFile, [nMode]) -> nHandle: 0 reads, 1 writes, 2 both; -1 on failure",                  \
    "fopen('none') ==> -1")                                                                        \
  X("fread", builtin_fread,                                                                        \
    "fread(nHandle, @cBuffer, nBytes) -> nRead: bytes read into a variable",                       \
    "eval({|h, c| fread(h, @c, 1), asc(c)}, fopen('towns.dbf'), ' ') ==> 3")                       \
  X("freadstr", freadstr,                                                                          \
    "freadstr(nHandle, nBytes) -> cText: reads bytes, of which the text has those before a NUL",   \
    "{memowrit('a', 'text'), freadstr(fopen('a'), 2)}[2] ==> te")                                  \
  X("frename", frename, "frename(cOld, cNew) -> nResult: renames files, 0 or -1",                  \
    "{memowrit('a', ''), frename('a', 'b'), file('b')}[3] ==> .T.")                                \
  X("fseek", builtin_fseek,                                                                        \
    "fseek(nHandle, nOffset, [nOrigin]) -> nPos: from 0 start, 1 here, 2 end",                     \
    "fseek(fopen('towns.dbf'), 0, 2) ==> 142")                                                     \
  X("fwrite", builtin_fwrite, "fwrite(nHandle, cText, [nBytes]) -> nWritten: writes to a file",    \
    "fwrite(fcreate('new'), 'text') ==> 4")                                                        \
  X("isdisk", isdisk, "isdisk(cDrive) -> lThere: is there a directory X_OVDRIVE for the drive",    \
    "isdisk('Q') ==> .F.")                                                                         \
  X("makedir", makedir,                                                                            \
    "makedir(cDirectory) -> nError: makes a directory, 0 or the system's number",                  \
    "makedir('new') ==> 0")                                                                        \
  X("memoread", memoread, "memoread(cFile) -> cText: all of a file, empty on failure",             \
    "{memowrit('a', 'text'), memoread('a')}[2] ==> text")                                          \
  X("memowrit", memowrit,                                                                          \
    "memowrit(cFile, cText) -> lDone: makes a file of a text, as a whole or not at all",           \
    "memowrit('a', 'text') ==> .T.")                                                               \
  X("tempfile", tempfile,                                                                          \
    "tempfile([cDirectory], [cExtension]) -> cFile: makes an empty file of a new name, empty on "  \
    "failure",                                                                                     \
    "file(tempfile('.', 'tmp')) ==> .T.")

FILE_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kFileBuiltins[] = {FILE_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kFilesModule{
    .name = "files", .subject = "Files", .functions = kFileBuiltins};

}  // namespace tarnel
