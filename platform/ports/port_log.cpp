#include "platform/ports/port_log.h"

#include "platform/ports/port_settings.h"
#include "util/fd.h"
#include "util/strings.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zandorin {

namespace {

constexpr std::size_t piece = std::size_t{64} * 1024;
constexpr char escape = '\x1b';

struct OpenLog {
    UniqueFd fd;
    std::uint64_t size = 0;
};

std::optional<OpenLog> openLog(const std::string &path) {
    OpenLog log{.fd = UniqueFd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW))};
    struct stat status = {};
    if (!log.fd || ::fstat(log.fd.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    log.size = static_cast<std::uint64_t>(status.st_size);
    return log;
}

std::string readAt(const OpenLog &log, std::uint64_t from, std::size_t most) {
    std::string text(most, '\0');
    std::size_t used = 0;
    while (used < most) {
        const ssize_t got =
            ::pread(log.fd.get(), text.data() + used, most - used, static_cast<off_t>(from + used));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        used += static_cast<std::size_t>(got);
    }
    text.resize(used);
    return text;
}

/// The length of "[Tue Nov 24 03:29:06 2026]" where the line begins with that, else 0.
std::size_t stampLength(std::string_view line) {
    constexpr std::string_view form = "[Aaa Aaa 90 00:00:00 0000]";
    if (line.size() < form.size())
        return 0;
    for (std::size_t i = 0; i < form.size(); ++i) {
        const char c = line[i];
        const bool isDigit = c >= '0' && c <= '9';
        const bool isLetter = isAlphanumeric(c) && !isDigit;
        const bool fits = form[i] == '0'                     ? isDigit
                          : form[i] == '9'                   ? isDigit || c == ' '
                          : form[i] == 'A' || form[i] == 'a' ? isLetter
                                                             : c == form[i];
        if (!fits)
            return 0;
    }
    return form.size();
}

/// The length of the control sequence or string that begins at `text`, its ESC included.
std::size_t sequenceLength(std::string_view text) {
    if (text.size() < 2)
        return text.size();
    const auto isFinal = [](char c) { return c >= '@' && c <= '~'; };
    switch (text[1]) {
    case '[':
        for (std::size_t i = 2; i < text.size() && text[i] != '\n'; ++i)
            if (isFinal(text[i]))
                return i + 1;
        return 2;
    case ']':
    case 'P':
    case '_':
    case '^':
        // Up to BEL or ESC backslash; one that does not end on its line is none.
        for (std::size_t i = 2; i < text.size() && text[i] != '\n'; ++i)
            if (text[i] == '\a' ||
                (text[i] == escape && i + 1 < text.size() && text[i + 1] == '\\'))
                return i + (text[i] == '\a' ? 1 : 2);
        return 2;
    default:
        return 2;
    }
}

} // namespace

std::string portLogPath(unsigned port, PortLogAge age) {
    return portLogFile(port) + (age == PortLogAge::older ? ".1" : "");
}

std::optional<LogPart> readLogBefore(const std::string &path, std::uint64_t end, std::size_t most) {
    const auto log = openLog(path);
    if (!log)
        return std::nullopt;
    LogPart part{.to = std::min(end, log->size), .size = log->size};
    part.from = part.to > most ? part.to - most : 0;
    part.text = readAt(*log, part.from, static_cast<std::size_t>(part.to - part.from));
    part.to = part.from + part.text.size();
    if (part.from > 0)
        if (const auto line = part.text.find('\n'); line + 1 < part.text.size()) {
            part.text.erase(0, line + 1);
            part.from += line + 1;
        }
    return part;
}

std::optional<LogPart> readLogAfter(const std::string &path, std::uint64_t from, std::size_t most) {
    const auto log = openLog(path);
    if (!log)
        return std::nullopt;
    LogPart part{.from = from > log->size ? 0 : from, .size = log->size};
    part.text = readAt(*log, part.from, most);
    part.to = part.from + part.text.size();
    return part;
}

std::vector<LogMatch> findInLog(const std::string &path, std::string_view words, std::size_t most) {
    std::vector<LogMatch> matches;
    const auto log = openLog(path);
    if (!log || words.empty() || most == 0)
        return matches;
    std::size_t next = 0; // where the oldest match is, once there are `most`
    std::string rest;
    for (std::uint64_t at = 0; at < log->size; at += piece) {
        const std::uint64_t begin = at - rest.size();
        std::string text = std::move(rest) + readAt(*log, at, piece);
        std::size_t line = 0;
        const auto take = [&](std::size_t end) {
            const std::string_view found = std::string_view(text).substr(line, end - line);
            if (findIgnoringCase(found, words) == std::string_view::npos)
                return;
            LogMatch match{.to = begin + end, .line = std::string(found)};
            if (matches.size() < most) {
                matches.push_back(std::move(match));
            } else {
                matches[next] = std::move(match);
                next = (next + 1) % most;
            }
        };
        for (auto end = text.find('\n'); end != std::string::npos; end = text.find('\n', line)) {
            take(end + 1);
            line = end + 1;
        }
        const bool isLast = at + piece >= log->size;
        if (isLast || text.size() - line > piece) { // no line is longer than a piece
            if (line < text.size())
                take(text.size());
            line = text.size();
        }
        rest = text.substr(line);
    }
    std::rotate(matches.begin(), matches.begin() + static_cast<std::ptrdiff_t>(next),
                matches.end());
    return matches;
}

std::string readableLog(std::string_view text, bool stamps) {
    std::string readable;
    readable.reserve(text.size());
    bool begins = true;
    while (!text.empty()) {
        if (begins && !stamps)
            text.remove_prefix(stampLength(text));
        begins = false;
        if (text.empty())
            break;
        const char c = text.front();
        if (c == escape) {
            text.remove_prefix(sequenceLength(text));
            continue;
        }
        begins = c == '\n';
        const auto byte = static_cast<unsigned char>(c);
        if ((byte >= ' ' && c != '\x7f') || c == '\n' || c == '\t')
            readable += c;
        text.remove_prefix(1);
    }
    return readable;
}

bool clearPortLog(unsigned port) {
    const auto isDone = [](int result) { return result == 0 || errno == ENOENT; };
    return isDone(::unlink(portLogPath(port, PortLogAge::older).c_str())) &&
           isDone(::truncate(portLogPath(port).c_str(), 0));
}

} // namespace zandorin
