#include "db/db.h"

#include <signal.h>

#include "db/area.h"

namespace tarnel {

void init_db() {
  init_areas();
  // A write over the limit on file sizes must fail with an error, not end the run.
  ::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace tarnel
