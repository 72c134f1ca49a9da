// The class error, the error block, and the default handler that runs when no block is set.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/classes.h"
#include "core/errors.h"
#include "core/modules.h"

namespace tarnel {

const ClassDescriptor& error_class();

// The description of a raise: the code's text, ";", and the text's lines cut to 76 characters.
std::string error_description(int code, std::string_view text);
// Builds the error object of a raise and evaluates the error block with it.
void raise_error_object(const RaisedError& raised);
// Evaluates the error block, or the default one where none is set, with an error object. A handler
// that has shut the runtime down ends the run: nothing of what failed goes on. Every road to the
// error block leads through here.
void evaluate_error_block(Var* error);
// Makes a native block the error block. It is also run for the error of a handler that breaks where there is no
// sequence. Result: the former error block.
Var* set_default_handler(BlockFunction handler);
// Has the default handler tell of the error that the error block has got, as if it ran in its place. False: no error
// block runs.
bool tell_of_handled_error();
// "Run-time" and the like.
const char* severity_word(std::int32_t severity);
// One line for people: severity word, code, place and description of an error object.
std::string error_report(Var* error);

// How the default handler asks what to do: the number of the option chosen, 0 none. Null, as long as no
// layer has such a box: it reports the error and ends the run.
void set_alert_hook(std::int32_t (*alert)(std::string_view message, Var* options, Var* colour));

#define ERROR_BUILTINS(X)                                                                          \
  X("_deferror", deferror, "_deferror(oError): the default error handler")                         \
  X("_errcaller", errcaller,                                                                       \
    "_errcaller(nCode, nSeverity, cText, [nSubcode], [cSubsystem]): raises an error")              \
  X("break", builtin_break, "break([xValue]): leaves the innermost BEGIN SEQUENCE with a value")   \
  X("erralert", erralert, "erralert(cMessage, aOptions, [cColour]) -> nChoice: box of options")    \
  X("errorblock", errorblock, "errorblock([bNew]) -> bOld: the block that receives errors",        \
    "valtype(errorblock()) ==> B")                                                                 \
  X("errornew", errornew, "errornew() -> oError: a new error object", "valtype(errornew()) ==> O") \
  X("isbegseq", isbegseq, "isbegseq() -> lInside: is a BEGIN SEQUENCE active", "isbegseq() ==> .F.")

ERROR_BUILTINS(DECLARE_BUILTIN)
Var* errinit(std::int32_t argc, Var** argv);  // INIT procedure: makes the error objects live
inline constexpr FunctionEntry kErrorBuiltins[] = {ERROR_BUILTINS(BUILTIN_ROW)};
inline constexpr FunctionEntry kErrorInit[] = {{"errinit", errinit, nullptr}};
inline constexpr ModuleRecord kErrorModule{
    .name = "overror", .subject = "Errors", .functions = kErrorBuiltins, .init = kErrorInit};

}  // namespace tarnel
