#include "services/ports/port_service.h"
#include "util/log.h"

#include <cerrno>
#include <csignal>
#include <cstring>

#include <sys/stat.h>

// The service of the serial ports, run by the supervisor. docs/terminal.md has what it does.

namespace {

void stop(int) {
    zandorin::ports::PortService::stop();
}

void ignore(int) {}

void handle(int signal, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler; // without SA_RESTART: poll(2) returns
    ::sigaction(signal, &action, nullptr);
}

} // namespace

int main() {
    using namespace zandorin;
    ::umask(077);
    openLog("port-service");
    handle(SIGTERM, stop);
    handle(SIGINT, stop);
    handle(SIGHUP, stop);
    handle(SIGCHLD, ignore);
    handle(SIGPIPE, SIG_IGN);
    ports::PortService service;
    if (!service.open()) {
        logRecord(Priority::error, "The sockets of the ports cannot be made: %s",
                  std::strerror(errno));
        return 1;
    }
    service.run();
    return 0;
}
