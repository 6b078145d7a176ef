#pragma once

namespace zandorin {

/// Priorities of log records, with log4c's own numbers: the smaller, the graver.
enum class Priority : int {
    fatal = 0,
    error = 300,
    warn = 400,
    info = 600,
    debug = 700,
    trace = 800,
};

/// Opens the log: the log4c category `category` with its appender, which is the syslog appender
/// "cgi" unless it has one already, at priority info. Records written before are dropped. Calling
/// it again switches to another category. The name is kept, not copied.
void openLog(const char *category);

/// Records graver than or equal to `least` are written from now on; no effect before openLog.
void setLogPriority(Priority least);

/// True when a record of this priority would be written.
/// Ask before computing something costly only for the log.
bool logEnabled(Priority priority);

/// Writes one record, printf-style. Control characters in the finished text, but for one line end
/// at its end, are written as "?": a record stays one line whatever a request put into it.
/// A text over 4095 bytes is cut.
void logRecord(Priority priority, const char *format, ...) __attribute__((format(printf, 2, 3)));

} // namespace zandorin

/// Writes the trace record on entry to an operation: its name and the line.
#define ZANDORIN_TRACE()                                                                           \
    do {                                                                                           \
        if (::zandorin::logEnabled(::zandorin::Priority::trace))                                   \
            ::zandorin::logRecord(::zandorin::Priority::trace, "%s:%d ", __func__, __LINE__);      \
    } while (false)
