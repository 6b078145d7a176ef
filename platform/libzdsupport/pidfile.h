#pragma once

/// Named pid files /var/run/<name>.pid: a file that names the process that is busy with something.
/// A name is letters, digits, "_" and "-".

/// 0 while another living process holds the pid file; non-zero when nobody does: no file, one that
/// names no process, a process that has ended, or this very process.
int pidfile_valid(const char *name);

/// Makes this process the holder. 0 on success, -1 when the file cannot be written.
int pidfile_create(const char *name);

/// Removes the pid file when this process holds it. 0 on success, -1 on failure.
int pidfile_clear(const char *name);
