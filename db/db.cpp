#include "db/db.h"

#include <signal.h>

#include "core/runtime.h"
#include "db/area.h"
#include "lib/replacement_file.h"

namespace tarnel {

void init_db() {
  init_areas();
  runtime_hooks().close_areas = [] {
    close_all_areas();
    remove_unfinished_files();
  };
  // A write over the limit on file sizes must fail with an error, not end the run.
  ::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace tarnel
