// The modules of the table engine, in link order.
#pragma once

#include <array>

#include "core/modules.h"
#include "db/autolock.h"
#include "db/bulk_front.h"
#include "db/dataserver.h"
#include "db/front.h"
#include "db/order_front.h"
#include "db/row_functions.h"
#include "db/scan_front.h"
#include "db/text/ascirdd.h"

namespace tarnel {

Var* dbfidxnew(std::int32_t argc, Var** argv);
inline constexpr FunctionEntry kDbfidxBuiltins[] = {
    {"dbfidxnew", dbfidxnew,
     "dbfidxnew([cFile], [lShared], [lReadOnly]) -> oServer: a driver object for .dbf tables",
     "valtype(dbfidxnew()) ==> O"}};
inline constexpr ModuleRecord kDbfidxModule{
    .name = "dbfidx", .subject = "Tables", .functions = kDbfidxBuiltins};

inline constexpr std::array<const ModuleRecord*, 9> kDbModules = {
    &kFrontModule,  &kOrderModule,   &kScanModule,     &kBulkModule, &kRegistryModule,
    &kDbfidxModule, &kAscirddModule, &kAutolockModule, &kRowModule};

}  // namespace tarnel
