#include "platform/ports/terminal_ticket.h"

#include "util/files.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <initializer_list>

#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zandorin {

namespace {

constexpr std::size_t id_bytes = 16;

std::string folder() {
    return appliancePath("/var/run/tickets");
}

bool isTicketId(std::string_view id) {
    return id.size() == 2 * id_bytes && std::all_of(id.begin(), id.end(), [](char c) {
               return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
           });
}

std::string randomId() {
    std::array<unsigned char, id_bytes> bytes = {};
    if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        return "";
    std::string id;
    for (const unsigned char byte : bytes) {
        id += "0123456789abcdef"[byte >> 4U];
        id += "0123456789abcdef"[byte & 15U];
    }
    return id;
}

/// Seconds since the file was written; none when it is not there.
std::optional<std::int64_t> ageOf(const std::string &path) {
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0)
        return std::nullopt;
    return static_cast<std::int64_t>(std::time(nullptr)) - status.st_mtime;
}

bool isTooOld(std::int64_t age) {
    return age < -1 || age > ticket_seconds; // a clock that was set back makes none of them good
}

void sweep() {
    for (const std::string &name : namesIn(folder(), "")) {
        const std::string path = folder() + "/" + name;
        if (const auto age = ageOf(path); age && isTooOld(*age))
            ::unlink(path.c_str());
    }
}

std::string takeLine(std::string_view &text) {
    const auto end = text.find('\n');
    std::string line(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}

} // namespace

std::string issueTicket(const TerminalTicket &ticket) {
    constexpr mode_t own_folder = 0700;
    constexpr mode_t own = 0600;
    std::string text;
    for (const std::string *field :
         {&ticket.session, &ticket.user, &ticket.address, &ticket.target}) {
        if (hasControlCharacter(*field))
            return "";
        text += *field + "\n";
    }
    text += ticket.watches ? "watch\n" : "write\n";
    const std::string id = randomId();
    if (id.empty() || !makeFolder(folder(), own_folder))
        return "";
    sweep();
    return replaceFile(folder() + "/" + id, text, own, Durable::no) ? id : "";
}

std::optional<TerminalTicket> takeTicket(std::string_view id) {
    if (!isTicketId(id))
        return std::nullopt;
    constexpr std::size_t limit = 4096;
    const std::string path = folder() + "/" + std::string(id);
    const auto age = ageOf(path);
    const auto text = readFile(path, limit);
    // Whoever removes it has it.
    if (::unlink(path.c_str()) != 0 || !age || isTooOld(*age) || !text)
        return std::nullopt;
    std::string_view rest = *text;
    TerminalTicket ticket;
    for (std::string *field : {&ticket.session, &ticket.user, &ticket.address, &ticket.target})
        *field = takeLine(rest);
    ticket.watches = takeLine(rest) != "write";
    return ticket;
}

} // namespace zandorin
