#include "engine/program_limit.h"

#include "util/addresses.h"
#include "util/log.h"
#include "util/paths.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace zandorin {

namespace {

constexpr const char *lock_path = "/var/run/.programs";
constexpr int most_programs = 64;
constexpr int most_of_address = 16;
/// Bytes from 0 on are the programs', and from here on a run of bytes is each address's. Two
/// addresses that share one by chance share its limit.
constexpr std::int64_t first_address = 4096;
constexpr std::uint64_t address_runs = 0x4000000;

} // namespace

ProgramLimit::ProgramLimit()
    : file_(::open(appliancePath(lock_path).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
    if (!file_)
        logRecord(Priority::error, "Programs can not be counted: %s: %s", lock_path,
                  std::strerror(errno));
}

bool ProgramLimit::admitAddress(std::string_view address) const {
    const std::uint64_t run = hashOf(addressKey(std::string(address))) % address_runs;
    return address.empty() ||
           takeOneOf(first_address + static_cast<std::int64_t>(run) * most_of_address,
                     most_of_address);
}

bool ProgramLimit::admitProgram() const {
    return takeOneOf(0, most_programs);
}

bool ProgramLimit::takeOneOf(std::int64_t first, int count) const {
    constexpr int steps = 100;
    constexpr useconds_t step_us = 50000;
    for (int step = 0; file_ && step < steps; ++step) {
        if (step > 0)
            ::usleep(step_us);
        // From anywhere, so that the first try is nearly always one that is free.
        const int start = ::getpid() % count;
        for (int tried = 0; tried < count; ++tried)
            if (lockByte(first + (start + tried) % count))
                return true;
    }
    return !file_;
}

bool ProgramLimit::lockByte(std::int64_t position) const {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = static_cast<off_t>(position);
    lock.l_len = 1;
    return ::fcntl(file_.get(), F_OFD_SETLK, &lock) == 0 || (errno != EAGAIN && errno != EACCES);
}

} // namespace zandorin
