// The modules of core, in link order.
#pragma once

#include <array>

#include "core/arrays.h"
#include "core/blocks.h"
#include "core/error_object.h"
#include "core/memvars.h"
#include "core/modules.h"
#include "core/runtime.h"

namespace tarnel {

inline constexpr std::array<const ModuleRecord*, 6> kCoreModules = {
    &kArraysModule,  &kBlocksModule,  &kErrorModule,
    &kMemvarsModule, &kModulesModule, &kRuntimeModule};

}  // namespace tarnel
