#include "db/order_notice.h"

namespace tarnel {

OrderNotice& order_notice() {
  static OrderNotice notice = nullptr;
  return notice;
}

}  // namespace tarnel
