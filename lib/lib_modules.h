// The modules of the library, in link order.
#pragma once

#include <array>

#include "core/modules.h"
#include "lib/national.h"
#include "lib/number_text.h"
#include "lib/numbers.h"
#include "lib/strings.h"
#include "lib/strings_search.h"
#include "lib/value_text.h"

namespace tarnel {

inline constexpr std::array kLibModules = {
    &kNationalModule, &kNumberTextModule, &kNumbersModule,
    &kSearchModule,   &kStringsModule,    &kValueTextModule,
};

}  // namespace tarnel
