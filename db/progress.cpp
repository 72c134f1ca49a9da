#include "db/progress.h"

namespace tarnel {

ProgressHook& progress_hook() {
  static ProgressHook hook = nullptr;
  return hook;
}

}  // namespace tarnel
