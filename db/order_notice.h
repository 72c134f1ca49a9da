// Word of an order that doesn't agree with its table, for a program that tells a person or a log.
#pragma once

#include <string>

namespace tarnel {

// Called once for an open order, when it is opened or chosen and is seen to lack changes of the table.
// No lock is held, so it may raise errors. Null: nobody is told.
using OrderNotice = void (*)(const std::string& order_file, const std::string& table_file);
OrderNotice& order_notice();

}  // namespace tarnel
