#include "fuzz/support/support.h"

#include "util/fd.h"
#include "util/paths.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

namespace zandorin::fuzz {

namespace {

std::string &ownRoot() {
    static std::string path =
        (std::filesystem::temp_directory_path() / "zandorin-fuzz-XXXXXX").string();
    return path;
}

} // namespace

void require(bool holds, const char *what, const char *file, int line) {
    if (holds)
        return;
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, what);
    std::abort();
}

void put(int descriptor, std::string_view bytes) {
    require(::write(descriptor, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
}

void put(std::string_view path, std::string_view bytes) {
    const std::string file = appliancePath(path);
    put(UniqueFd(::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)).get(),
        bytes);
}

std::optional<Message> takeMessage(std::string_view &bytes,
                                   std::initializer_list<auth::Message> withText) {
    if (bytes.empty())
        return std::nullopt;
    Message message = {static_cast<auth::Message>(bytes.front()), std::nullopt};
    bytes.remove_prefix(1);
    if (std::find(withText.begin(), withText.end(), message.first) == withText.end())
        return message;
    std::uint32_t length = 0;
    if (bytes.size() < sizeof length)
        return std::nullopt;
    std::memcpy(&length, bytes.data(), sizeof length);
    bytes.remove_prefix(sizeof length);
    if (length > bytes.size())
        return std::nullopt;
    message.second = bytes.substr(0, length);
    bytes.remove_prefix(length);
    return message;
}

} // namespace zandorin::fuzz

extern "C" {

int kill(pid_t pid, int signal) noexcept {
    zandorin::fuzz::require(pid > 1 && signal == SIGTERM);
    zandorin::fuzz::endedProcess = pid;
    return 0;
}

int usleep(useconds_t) {
    return 0;
}

// The root does not outlive the run, and a sync costs more than everything else.
int fsync(int) {
    return 0;
}

int LLVMFuzzerInitialize(int *, char ***) {
    std::string &root = zandorin::fuzz::ownRoot();
    zandorin::fuzz::require(::mkdtemp(root.data()) != nullptr);
    for (const char *folder : {"/etc/config", "/var/run/.sessions"})
        std::filesystem::create_directories(root + folder);
    ::setenv("ZANDORIN_ROOT", root.c_str(), 1);
    return std::atexit([] {
        std::error_code ignored;
        std::filesystem::remove_all(zandorin::fuzz::ownRoot(), ignored);
    });
}

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    zandorin::fuzz::run({reinterpret_cast<const char *>(data), size});
    return 0;
}
}
