/* Preloaded into a program under test: takes its system log records and appends them, one
 * "<priority> <text>" a line, to the file named by ZANDORIN_TEST_LOG. */

#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

static void record(int priority, const char *format, va_list arguments) {
    const char *path = getenv("ZANDORIN_TEST_LOG");
    char text[8192];
    int start = snprintf(text, sizeof text, "%d ", LOG_PRI(priority));
    int length = vsnprintf(text + start, sizeof text - (size_t)start - 1, format, arguments);
    if (path == NULL || length < 0)
        return;
    size_t end = strlen(text);
    while (end > 0 && text[end - 1] == '\n')
        --end;
    text[end] = '\n';
    int fd = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (fd < 0)
        return;
    ssize_t written = write(fd, text, end + 1);
    (void)written;
    close(fd);
}

void syslog(int priority, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    record(priority, format, arguments);
    va_end(arguments);
}

void vsyslog(int priority, const char *format, va_list arguments) {
    record(priority, format, arguments);
}

/* What fortified callers are compiled into. */
void __syslog_chk(int priority, int flag, const char *format, ...);
void __syslog_chk(int priority, int flag, const char *format, ...) {
    (void)flag;
    va_list arguments;
    va_start(arguments, format);
    record(priority, format, arguments);
    va_end(arguments);
}
