// The progress of long work, shown on standard error at a terminal.
#pragma once

namespace tarnel {

// Shows a line with rate and time left for work that takes longer than a moment; nothing when
// standard error is no terminal.
void show_progress();

}  // namespace tarnel
