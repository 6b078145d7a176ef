#include "cgi/decoder.h"

#include "cgi/mime.h"
#include "cgi/multipart.h"
#include "cgi/url_encoded.h"
#include "util/log.h"
#include "util/strings.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

using zandorin::logRecord;
using zandorin::Priority;
using zandorin::cgi::Field;

FILE *gcgiOut = nullptr;

namespace {

// In the order of gcgi_variable.
constexpr std::array<const char *, GCGI_VARIABLES> variable_names = {
    "HTTP_COOKIE",       "HTTP_REFERER", "AUTH_TYPE",       "CONTENT_LENGTH",  "CONTENT_TYPE",
    "GATEWAY_INTERFACE", "PATH_INFO",    "PATH_TRANSLATED", "QUERY_STRING",    "REMOTE_ADDR",
    "REMOTE_HOST",       "REMOTE_PORT",  "REMOTE_IDENT",    "REMOTE_USER",     "REQUEST_METHOD",
    "SCRIPT_NAME",       "SERVER_NAME",  "SERVER_PORT",     "SERVER_PROTOCOL", "SERVER_SOFTWARE",
    "DONT_READ_STDIN",   "HTTPS"};

// More than any form of the console sends.
constexpr std::size_t most_fields = 4096;
constexpr std::size_t longest_name = 1024;                    // bytes
constexpr std::size_t most_stored = std::size_t{2048} * 1024; // bytes of all names and values

// A body has this long to arrive, and one second more for each so many bytes of it.
constexpr std::int64_t body_seconds = 20;
constexpr std::int64_t bytes_per_second = 32768;

unsigned fieldLimit = UINT_MAX;
unsigned bodyLimit = 0;
std::int64_t announcedLimit = INT64_MAX;
std::array<std::optional<std::string>, GCGI_VARIABLES> environment;
// An ordered map: a request cannot choose names that make it slow, as it could with hashing. Of a
// name only the first field is ever read, so that no other is kept.
std::map<std::string, Field, std::less<>> fields;
std::size_t stored = 0; // bytes of all names and values
gcgi_fault fault = GCGI_FAULT_NONE;

void store(std::string &&name, Field &&field) {
    if (fault != GCGI_FAULT_NONE || fields.contains(name))
        return;
    stored += name.size() + field.value.size();
    if (fields.size() == most_fields || name.size() > longest_name || stored > most_stored)
        fault = GCGI_FAULT_FIELDS;
    else
        fields.emplace(std::move(name), std::move(field));
}

const Field *firstField(const char *name) {
    const auto found = fields.find(std::string_view(name));
    return found == fields.end() ? nullptr : &found->second;
}

std::string_view textOf(const Field &field) {
    return field.value.c_str();
}

void readEnvironment() {
    for (std::size_t i = 0; i < variable_names.size(); ++i) {
        const char *value = std::getenv(variable_names[i]);
        if (value != nullptr)
            environment[i] = value;
    }
}

void openOutput() {
    // A page of usual size leaves in one write.
    static char buffer[64 * 1024];
    const int fd = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (fd >= 0)
        gcgiOut = ::fdopen(fd, "w");
    if (gcgiOut != nullptr) {
        std::setvbuf(gcgiOut, buffer, _IOFBF, sizeof buffer);
        return;
    }
    logRecord(Priority::error, "Failed to open standard output: %s", std::strerror(errno));
    if (fd >= 0)
        ::close(fd);
}

std::int64_t milliseconds() {
    timespec time = {};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return std::int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1000000;
}

/// False, with the fault, when nothing more of the body arrives until then.
bool awaitBody(std::int64_t deadline) {
    pollfd input = {.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
    for (;;) {
        const std::int64_t left = deadline - milliseconds();
        const int ready = left <= 0 ? 0 : ::poll(&input, 1, static_cast<int>(left));
        if (ready == 0)
            fault = GCGI_FAULT_TIME;
        if (ready >= 0 || errno != EINTR)
            return ready > 0;
    }
}

/// Hands at most `length` bytes of standard input to `use`, block by block as they arrive, until it
/// answers false. All of them have one time to arrive: a client that sends a byte now and then
/// keeps no program.
template <typename Use> void readBody(std::int64_t length, const Use &use) {
    char block[16 * 1024];
    if (bodyLimit != 0)
        length = std::min<std::int64_t>(length, bodyLimit);
    const std::int64_t seconds = body_seconds + std::min(length, announcedLimit) / bytes_per_second;
    const std::int64_t deadline =
        milliseconds() + 1000 * std::min<std::int64_t>(seconds, INT_MAX / 1000);
    while (length > 0) {
        if (!awaitBody(deadline))
            return;
        const auto wanted =
            static_cast<std::size_t>(std::min<std::int64_t>(length, std::int64_t{sizeof block}));
        const ssize_t got = ::read(STDIN_FILENO, block, wanted);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            fault = GCGI_FAULT_CUT;
        if (got <= 0 || !use(std::string_view(block, static_cast<std::size_t>(got))))
            return;
        length -= got;
    }
}

void decodeUrlEncodedBody(std::int64_t length) {
    std::string body;
    readBody(length, [&body](std::string_view block) {
        body += block;
        return true;
    });
    zandorin::cgi::decodeUrlEncoded(body, store);
}

void decodeMultipartBody(const char *contentType, std::int64_t length) {
    const auto boundary = zandorin::cgi::headerParameter(contentType, "boundary");
    if (!boundary || boundary->empty()) {
        logRecord(Priority::error, "Multipart body without a boundary");
        return;
    }
    zandorin::cgi::MultipartParser parser(*boundary, fieldLimit, store);
    readBody(length, [&parser](std::string_view block) {
        return parser.feed(block) && fault == GCGI_FAULT_NONE;
    });
    if (!parser.finish())
        logRecord(Priority::warn, "Multipart body ends before its closing line");
}

int decodePost() {
    const char *lengthText = gcgiEnvironment(GCGI_CONTENT_LENGTH);
    const char *type = gcgiEnvironment(GCGI_CONTENT_TYPE);
    const auto length = zandorin::parseWhole(lengthText == nullptr ? "" : lengthText);
    if (length && *length < 0)
        return -1;
    if (!length || type == nullptr)
        return 0;
    if (*length > announcedLimit) {
        fault = GCGI_FAULT_SIZE;
        return 0;
    }
    if (zandorin::startsWithIgnoreCase(type, "application/x-www-form-urlencoded"))
        decodeUrlEncodedBody(*length);
    else if (zandorin::startsWithIgnoreCase(type, "multipart/form-data"))
        decodeMultipartBody(type, *length);
    else
        std::fputs("Unknown Encoding.\n", stderr);
    return 0;
}

int decodeFields() {
    const char *method = gcgiEnvironment(GCGI_REQUEST_METHOD);
    if (method == nullptr)
        return -1;
    const char *skip = gcgiEnvironment(GCGI_DONT_READ_STDIN);
    if (skip != nullptr && *skip == '1')
        return 0;
    if (zandorin::startsWithIgnoreCase(method, "GET")) {
        const char *query = gcgiEnvironment(GCGI_QUERY_STRING);
        zandorin::cgi::decodeUrlEncoded(query == nullptr ? "" : query, store);
        return 0;
    }
    return zandorin::startsWithIgnoreCase(method, "POST") ? decodePost() : -1;
}

template <typename T> void assign(T *target, T value) {
    if (target != nullptr)
        *target = value;
}

} // namespace

int gcgiApplyLimits(unsigned newFieldLimit, unsigned newBodyLimit) {
    fieldLimit = newFieldLimit;
    bodyLimit = newBodyLimit;
    return 0;
}

void gcgiLimitAnnounced(std::int64_t most) {
    announcedLimit = most;
}

gcgi_fault gcgiFault() {
    return fault;
}

int gcgiDecodeRequest() {
    gcgiRelease();
    readEnvironment();
    openOutput();
    try {
        const int result = decodeFields();
        // Half a form could be taken for a whole one.
        if (fault != GCGI_FAULT_NONE)
            fields.clear();
        return result;
    } catch (const std::bad_alloc &) {
        fields.clear();
        std::fputs("Memory exhausted.\n", stderr);
        return 0;
    }
}

void gcgiRelease() {
    fields.clear();
    stored = 0;
    fault = GCGI_FAULT_NONE;
    environment.fill(std::nullopt);
    if (gcgiOut != nullptr)
        std::fclose(gcgiOut);
    gcgiOut = nullptr;
}

const char *gcgiEnvironment(gcgi_variable index) {
    const auto position = static_cast<std::size_t>(index);
    return position < environment.size() && environment[position] ? environment[position]->c_str()
                                                                  : nullptr;
}

int gcgiValueLength(const char *name, std::size_t *length) {
    *length = 0;
    const Field *field = firstField(name);
    if (field == nullptr)
        return GCGI_NOT_FOUND;
    *length = textOf(*field).size();
    return *length == 0 ? GCGI_EMPTY : GCGI_OK;
}

bool gcgiAnyName(bool (*judge)(std::string_view name)) {
    return std::any_of(fields.begin(), fields.end(),
                       [judge](const auto &field) { return judge(field.first); });
}

int gcgiFieldSize(const char *name, std::size_t *size) {
    const Field *field = firstField(name);
    *size = field == nullptr ? 0 : field->value.size();
    return field == nullptr ? GCGI_NOT_FOUND : GCGI_OK;
}

int gcgiCopyString(const char *name, char *buffer, std::size_t max) {
    const Field *field = firstField(name);
    std::size_t copied = 0;
    if (max > 0) {
        if (field != nullptr)
            copied = textOf(*field).copy(buffer, max - 1);
        buffer[copied] = '\0';
    }
    if (field == nullptr)
        return GCGI_NOT_FOUND;
    return copied == 0 ? GCGI_EMPTY : GCGI_OK;
}

int gcgiCopyInteger(const char *name, int *result, int defaultValue) {
    *result = defaultValue;
    const Field *field = firstField(name);
    if (field == nullptr)
        return GCGI_NOT_FOUND;
    const char *text = field->value.c_str();
    if (*text == '\0')
        return GCGI_EMPTY;
    char *end = nullptr;
    const long long number = std::strtoll(text, &end, 10);
    if (end != text && number >= INT_MIN && number <= INT_MAX)
        *result = static_cast<int>(number);
    return GCGI_OK;
}

int gcgiFetchData(const char *name, void *buffer, std::size_t size, int *type, char **subtype,
                  int *encoding, char **fileName, int *truncated) {
    assign<char *>(subtype, nullptr);
    assign<char *>(fileName, nullptr);
    const Field *field = firstField(name);
    const std::size_t count =
        field == nullptr ? 0 : field->value.copy(static_cast<char *>(buffer), size);
    if (count == 0)
        return GCGI_NOT_FOUND;
    assign(type, field->type);
    assign(encoding, field->encoding);
    assign(truncated, field->truncated ? 1 : 0);
    if (subtype != nullptr)
        *subtype = ::strdup(field->subtype.c_str());
    if (fileName != nullptr && field->fileName)
        *fileName = ::strdup(field->fileName->c_str());
    return GCGI_OK;
}
