// The terminal of a run: its description, looked up by the name in TERM. A request's terminal is of
// type "dumb": no screen is started for it, and not one byte is written.
#pragma once

namespace tarnel {

// Looks the description up; a terminal that is not known is as good as none.
void open_terminal();
bool terminal_known();

}  // namespace tarnel
