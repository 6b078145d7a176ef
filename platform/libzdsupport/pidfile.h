#pragma once

/// Named pid files /var/run/<name>.pid: a file that names the process that is busy with something.
/// A name is letters, digits, "_" and "-".

/// 0 while another living process holds the pid file; non-zero when nobody does: no file, one that
/// names no process, a process that has ended (whether or not its parent knows), or this very
/// process. A moment later that may be different: see pidfile_create.
int pidfile_valid(const char *name);

/// Makes this process the holder, unless another living process is. Of several at once one becomes
/// it. 0 on success, also for who is it already; -1 with errno EBUSY while another is the holder
/// (it may be tried again), EWOULDBLOCK when others kept trying for two seconds, another errno when
/// the file cannot be written. /var/run/<name>.pid.lock, beside it, is never removed.
int pidfile_create(const char *name);

/// Removes the pid file when this process holds it. 0 on success; -1 when it does not, or the file
/// cannot be removed.
int pidfile_clear(const char *name);
