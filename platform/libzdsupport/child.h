#pragma once

#include <chrono>

#include <sys/types.h>

namespace zandorin::platform {

/// Who takes the exit status of a started program: the caller with waitpid, or init, so that it
/// never becomes a zombie of this process.
enum class Reaper { caller, init };

/// Starts a program as zandorin_proc_exec_nowait says. Answers only when the program runs, or
/// could not be started (-1, errno tells why).
pid_t startProgram(const char *const *arguments, Reaper reaper);

/// Runs a program to its end and answers its wait status (wait(2)). -1 with errno ETIMEDOUT when it
/// took longer than `limit` and was killed, with what the program started; -1 with another errno
/// when it could not be started.
int runProgram(const char *const *arguments, std::chrono::milliseconds limit);

} // namespace zandorin::platform
