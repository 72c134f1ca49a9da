// The modules of the library, in link order.
#pragma once

#include <array>

#include "core/modules.h"
#include "lib/array_functions.h"
#include "lib/binary.h"
#include "lib/calendar.h"
#include "lib/csv_functions.h"
#include "lib/date_functions.h"
#include "lib/digests.h"
#include "lib/environment.h"
#include "lib/exec.h"
#include "lib/file_functions.h"
#include "lib/json_text.h"
#include "lib/memo_text.h"
#include "lib/national.h"
#include "lib/number_text.h"
#include "lib/numbers.h"
#include "lib/options.h"
#include "lib/patterns.h"
#include "lib/picture.h"
#include "lib/set.h"
#include "lib/strings.h"
#include "lib/strings_search.h"
#include "lib/time_functions.h"
#include "lib/utf8_functions.h"
#include "lib/value_text.h"
#include "lib/values.h"
#include "lib/variable_file.h"
#include "lib/web_texts.h"
#include "lib/word_functions.h"

namespace tarnel {

inline constexpr auto kLibModules = std::to_array<const ModuleRecord*>({
    &kArrayFunctionsModule, &kBinaryModule,      &kCalendarModule,   &kCsvModule,
    &kDatesModule,          &kEnvironmentModule, &kExecModule,       &kFilesModule,
    &kMemoTextModule,       &kNationalModule,    &kNumberTextModule, &kNumbersModule,
    &kOptionsModule,        &kPictureModule,     &kSearchModule,     &kSetModule,
    &kStringsModule,        &kTimeModule,        &kValueTextModule,  &kValuesModule,
    &kVariableFileModule,   &kWebTextsModule,    &kWordsModule,
});

// Modules whose work other libraries do. A program that wants them links those: the console does, the pages, which
// call none of them, start faster without.
inline constexpr auto kBorrowedModules = std::to_array<const ModuleRecord*>(
    {&kDigestsModule, &kJsonModule, &kPatternsModule, &kUtf8Module});

}  // namespace tarnel
