// Builtins on files and directories. Handles are those that fopen and fcreate gave, and 0 to 2.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define FILE_BUILTINS(X)                                                                           \
  X("__copyfile", copyfile, "__copyfile(cFrom, cTo, [lAppend]) -> lDone: copies or appends files") \
  X("_setdir", setdir, "_setdir(cDirectory) -> lDone: changes the working directory")              \
  X("curdir", curdir,                                                                              \
    "curdir([cDrive]) -> cDirectory: the working directory, or what a drive stands for")           \
  X("directory", directory,                                                                        \
    "directory([cMask], [cAttributes]) -> aFiles: {name, size, date, time, attributes} of files")  \
  X("doserror", doserror, "doserror([nNew]) -> nOld: the system's number of the last file error")  \
  X("fattrib", fattrib,                                                                            \
    "fattrib(cFile, [nMode]) -> nOld: mode bits of a file, -1 when there is none")                 \
  X("fclose", builtin_fclose, "fclose(nHandle) -> lDone: closes a file")                           \
  X("fcreate", fcreate, "fcreate(cFile, [nAttribute]) -> nHandle: new empty file, -1 on failure")  \
  X("ferase", ferase, "ferase(cFile) -> nResult: deletes files, 0 or -1")                          \
  X("ferror", builtin_ferror,                                                                      \
    "ferror() -> nError: the system's number of the last file function, 0 is success")                          \
  X("file", file, "file(cFile) -> lThere: is there such a file in SET DEFAULT or SET PATH")        \
  X("fopen", builtin_fopen,                                                                        \
    "fopen(cFile, [nMode]) -> nHandle: 0 reads, 1 writes, 2 both; -1 on failure")                  \
  X("fread", builtin_fread,                                                                        \
    "fread(nHandle, @cBuffer, nBytes) -> nRead: bytes read into a variable")                       \
  X("frename", frename, "frename(cOld, cNew) -> nResult: renames files, 0 or -1")                  \
  X("fseek", builtin_fseek,                                                                        \
    "fseek(nHandle, nOffset, [nOrigin]) -> nPos: from 0 start, 1 here, 2 end")                     \
  X("fwrite", builtin_fwrite, "fwrite(nHandle, cText, [nBytes]) -> nWritten: writes to a file")    \
  X("memoread", memoread, "memoread(cFile) -> cText: all of a file, empty on failure")             \
  X("memowrit", memowrit, "memowrit(cFile, cText) -> lDone: makes a file of a text")

FILE_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kFileBuiltins[] = {FILE_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kFilesModule{.name = "files", .functions = kFileBuiltins};

}  // namespace tarnel
