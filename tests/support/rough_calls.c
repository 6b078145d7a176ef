/* Preloaded into a program under test: every other read, write and lock is interrupted, and a read
 * or write carries half of what was asked. With ZANDORIN_TEST_CLOCK, that many seconds are added to
 * the time of day instead. */

#include <errno.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

static const char *jump(void) {
    return getenv("ZANDORIN_TEST_CLOCK");
}

static int interrupted(void) {
    static int calls;
    if (jump() != NULL || ++calls % 2 == 0)
        return 0;
    errno = EINTR;
    return 1;
}

static size_t half(size_t size) {
    return jump() != NULL || size < 2 ? size : size / 2;
}

ssize_t write(int fd, const void *data, size_t size) {
    return interrupted() ? -1 : syscall(SYS_write, fd, data, half(size));
}

ssize_t read(int fd, void *data, size_t size) {
    return interrupted() ? -1 : syscall(SYS_read, fd, data, half(size));
}

int flock(int fd, int operation) {
    return interrupted() ? -1 : (int)syscall(SYS_flock, fd, operation);
}

int clock_gettime(clockid_t clock, struct timespec *now) {
    int result = (int)syscall(SYS_clock_gettime, clock, now);
    if (result == 0 && clock == CLOCK_REALTIME && jump() != NULL)
        now->tv_sec += atol(jump());
    return result;
}

time_t time(time_t *result) {
    struct timespec now = {0, 0};
    clock_gettime(CLOCK_REALTIME, &now);
    if (result != NULL)
        *result = now.tv_sec;
    return now.tv_sec;
}
