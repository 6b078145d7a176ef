#pragma once

#include <sys/types.h>

/// Starts a program without waiting for it and answers its process id, -1 when it could not be
/// started (errno tells why). `arguments` ends with a null pointer; its first word is the
/// program's path on this machine.
/// The child is a session of its own with default signal handling, /dev/null as standard input,
/// output and error, "/" as its folder and none of this process's other descriptors, so that
/// neither the page nor the web server's sockets wait for it. Its environment is an allow list of
/// this one (util/child_process.h).
pid_t zandorin_proc_exec_nowait(const char *const *arguments);
