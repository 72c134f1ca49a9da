// The four signals that the runtime answers: SIGINT, SIGQUIT, SIGFPE and SIGSEGV. SIGPIPE is
// ignored, so that a client that goes away doesn't break off a page that is writing a table.
#pragma once

namespace tarnel {

void install_signal_handlers();

// Set by the terminal layer: asks whether to leave, in SIGINT's handler. Null: no terminal is open,
// and an interrupt goes on without a question.
void set_interrupt_dialogue(void (*dialogue)());

}  // namespace tarnel
