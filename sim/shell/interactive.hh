// vornsh at a terminal: line editing, completion and history.
#ifndef VORNSH_INTERACTIVE_HH
#define VORNSH_INTERACTIVE_HH

#include "shell.hh"

namespace vornsh {

// Reads and runs lines until `exit`, `quit` or end of input.  With readline:
// Tab completes what may come next, `?` lists it, Ctrl-C drops the line being
// typed, and the history is kept in $VORNSH_HISTORY (~/.vornsh_history by
// default) across sessions.  Returns the exit status (0).
int run_interactive(Shell& shell);

}  // namespace vornsh

#endif
