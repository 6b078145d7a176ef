#include "services/ports/console_query.h"

#include <array>
#include <cerrno>

#include <unistd.h>

namespace zandorin::ports {

bool ConsoleQuery::read() {
    std::array<char, 16384> buffer;
    for (;;) {
        const ssize_t got = ::read(child_.fd(), buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0 && errno == EAGAIN)
            return false;
        if (got <= 0) {
            child_.end();
            return true;
        }
        std::string keys;
        text_ += login_.read({buffer.data(), static_cast<std::size_t>(got)}, keys);
        // A terminal that nothing was written to takes a line at once.
        if (!keys.empty() && ::write(child_.fd(), keys.data(), keys.size()) < 0)
            return false;
    }
}

} // namespace zandorin::ports
