#pragma once

#include <sys/types.h>

namespace zandorin::platform {

/// Who takes the exit status of a started program: the caller with waitpid, or init, so that it
/// never becomes a zombie of this process.
enum class Reaper { caller, init };

/// Starts a program as zandorin_proc_exec_nowait says. Answers only when the program runs, or
/// could not be started (-1, errno tells why).
pid_t startProgram(const char *const *arguments, Reaper reaper);

} // namespace zandorin::platform
