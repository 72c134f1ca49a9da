// The terminal of a run: its description, looked up by the name in TERM. A request's terminal is of
// type "dumb": no screen is started for it, and not one byte is written.
#pragma once

namespace tarnel {

// Whether the terminal's description is known; one that is not is as good as no terminal. Looked up
// at the first question, which a request never asks: the look-up costs a tenth of all else it does.
bool terminal_known();

}  // namespace tarnel
