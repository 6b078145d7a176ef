#include "cgi/cgi.h"
#include "engine/engine.h"
#include "engine/program_limit.h"
#include "util/environment.h"
#include "util/log.h"
#include "util/paths.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include <sys/stat.h>
#include <unistd.h>

// What libstdc++ calls for an exception that nothing can catch. Its own names the exception's type,
// and brings a demangler of 49 KB for that.
void __gnu_cxx::__verbose_terminate_handler() {
    zandorin::logRecord(zandorin::Priority::fatal, "An exception escaped");
    std::abort();
}

namespace {

/// A maintenance task holds every request while it keeps this file. Anybody may write to its
/// folder: it counts when root or the program's own account owns it, and so does a link by its own
/// owner.
void waitForMaintenance() {
    constexpr unsigned step_seconds = 5;
    struct stat status = {};
    const std::string path = zandorin::appliancePath("/tmp/wait");
    while (::lstat(path.c_str(), &status) == 0 &&
           (status.st_uid == 0 || status.st_uid == ::geteuid()))
        ::sleep(step_seconds);
}

/// The whole answer of a program that does no work.
void answerBusy() {
    std::fputs("HTTP/1.1 503 Busy\r\nContent-Type: text/plain\r\nRetry-After: 2\r\n\r\n"
               "The console is busy with other requests. Please try again in a moment.\n",
               stdout);
}

} // namespace

int main(int /*argc*/, char **argv) {
    using namespace zandorin;
    // A reader that has gone is a failed write, and no end of what the request is about.
    std::signal(SIGPIPE, SIG_IGN);
    waitForMaintenance();
    openLog(argv[0]);
    logRecord(Priority::debug, "cgi starting");
    ::umask(077);
    try {
        ProgramLimit limit;
        if (!limit.admitAddress(environmentVariable("REMOTE_ADDR"))) {
            answerBusy();
            return 0;
        }
        Engine engine; // reads the request
        if (!limit.admitProgram()) {
            answerBusy();
            return 0;
        }
        engine.displayPage();
        // The browser has its page, and need not wait until all this is taken apart.
        if (engine.cgi() != nullptr)
            engine.cgi()->end();
        ::close(STDOUT_FILENO);
    } catch (...) {
        logRecord(Priority::fatal, "An exception occurred");
    }
    return 0;
}
