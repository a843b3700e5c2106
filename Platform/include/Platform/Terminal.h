#pragma once
// What the command-line tool asks of its terminal and of Ctrl-C.

#include <cstdio>

namespace Platform {

/// True if `stream` is a terminal.
bool isTerminal(std::FILE* stream);

/// The terminal's width in columns; 80 if `stream` is no terminal or does not say.
int terminalColumns(std::FILE* stream);

/// From now on Ctrl-C and a polite request to end set a flag instead of ending the process. A second one
/// ends the process at once.
void catchInterrupts();

/// From now on, until catchInterrupts(), Ctrl-C and a polite request to end do end the process, whatever it
/// waits for: `lastWords`, which must stay valid, go to standard error, and `status` is its exit status.
/// Nothing is flushed or cleaned up.
void endAtInterrupts(const char* lastWords, int status);

/// The calling thread takes no signal any more that ends the process or is an interrupt (SIGHUP, SIGINT,
/// SIGQUIT, SIGTERM): another thread does.
void leaveSignalsToOthers();

/// What an interrupt does after catchInterrupts(), without one. Any thread.
void interruptOneself();

/// True once an interrupt came after catchInterrupts(). Any thread.
bool interrupted();

} // namespace Platform
