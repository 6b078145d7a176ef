#include "cgi/cgi.h"

#include "cgi/decoder.h"
#include "cgi/session.h"
#include "util/environment.h"
#include "util/escape.h"
#include "util/fd.h"
#include "util/log.h"
#include "util/strings.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace zandorin {

namespace {

constexpr unsigned field_limit = 1048576; // bytes
constexpr unsigned no_limit = 0;

// Bytes of a body.
constexpr std::int64_t stranger_limit = std::int64_t{64} * 1024;
constexpr std::int64_t form_limit = std::int64_t{2} * 1024 * 1024;
constexpr std::int64_t upload_limit = std::int64_t{64} * 1024 * 1024;

std::string processBaseUri;

std::string variable(gcgi_variable index) {
    const char *value = gcgiEnvironment(index);
    return value == nullptr ? "" : value;
}

/// How long a body this request may have. Who asks is only looked up where it matters.
std::int64_t bodyLimit() {
    const auto announced = parseWhole(environmentVariable("CONTENT_LENGTH"));
    if (!announced || *announced <= stranger_limit || !Session::isLoggedIn())
        return stranger_limit;
    return startsWithIgnoreCase(environmentVariable("CONTENT_TYPE"), "multipart/form-data")
               ? upload_limit
               : form_limit;
}

const char *faultMessage() {
    switch (gcgiFault()) {
    case GCGI_FAULT_SIZE:
        return "The request is larger than is taken here: 64 KiB from whoever is not logged in, "
               "2 MiB of a form. Nothing of it was read, and nothing has been changed.";
    case GCGI_FAULT_FIELDS:
        return "The request has more or longer fields than any form here. None of them was used, "
               "and nothing has been changed.";
    case GCGI_FAULT_CUT:
        return "The request was cut short on its way. Nothing of it was used, and nothing has been "
               "changed. Please send it once more.";
    case GCGI_FAULT_TIME:
        return "The request took too long to arrive. Nothing of it was used, and nothing has been "
               "changed. Please send it once more.";
    case GCGI_FAULT_NONE:
        break;
    }
    return nullptr;
}

/// Links begin with it: not with "javascript:" or the like.
bool leadsToWeb(std::string_view uri) {
    return uri.starts_with('/') || startsWithIgnoreCase(uri, "http://") ||
           startsWithIgnoreCase(uri, "https://");
}

} // namespace

const std::string &baseUri() {
    return processBaseUri;
}

bool fillCgiValue(CgiValue &value, std::string_view text) {
    value.raw = text;
    value.safe = encodeSafe(text);
    return !value.hasMarkup();
}

Cgi::Cgi() {
    begin();
}

Cgi::~Cgi() {
    end();
}

void Cgi::begin() {
    ZANDORIN_TRACE();
    if (initialized_)
        return;
    if (const int result = gcgiApplyLimits(field_limit, no_limit); result != 0) {
        logRecord(Priority::fatal, "Failed to set CGI limits: %d", result);
        return;
    }
    gcgiLimitAnnounced(bodyLimit());
    if (const int result = gcgiDecodeRequest(); result != 0) {
        logRecord(Priority::fatal, "Failed to initialise CGI: %d", result);
        return;
    }
    setFile(gcgiOut);
    if (const char *message = faultMessage()) {
        logRecord(Priority::info, "Refused a request from %s: %s", getRemoteAddress().c_str(),
                  message);
        addError(message);
    }
    if (const char *value = std::getenv("HTTP_X_BASE_URI"))
        baseUri_ = leadsToWeb(value) ? value : "";
    processBaseUri = baseUri_;
    initialized_ = true;
}

void Cgi::end() {
    ZANDORIN_TRACE();
    if (!initialized_)
        return;
    setFile(nullptr); // the decoder closes the file below
    gcgiRelease();
}

CgiValue Cgi::getVarString(const std::string &name, std::size_t maxLength) const {
    ZANDORIN_TRACE();
    CgiValue value;
    std::size_t length = 0;
    if (maxLength < 2 || gcgiValueLength(name.c_str(), &length) != GCGI_OK)
        return value;
    std::string text(std::min(length, maxLength - 1), '\0');
    if (gcgiCopyString(name.c_str(), text.data(), text.size() + 1) == GCGI_OK)
        fillCgiValue(value, text);
    return value;
}

std::int32_t Cgi::getVarNumber(const std::string &name) const {
    ZANDORIN_TRACE();
    int number = 0;
    return gcgiCopyInteger(name.c_str(), &number, 0) == GCGI_OK ? number : 0;
}

float Cgi::getVarFloat(const std::string &name) const {
    ZANDORIN_TRACE();
    return std::strtof(getVarString(name).raw.c_str(), nullptr);
}

bool Cgi::varStringExists(const std::string &name) const {
    ZANDORIN_TRACE();
    std::size_t length = 0;
    return gcgiValueLength(name.c_str(), &length) != GCGI_NOT_FOUND;
}

bool Cgi::anyFieldName(bool (*judge)(std::string_view)) const {
    ZANDORIN_TRACE();
    return gcgiAnyName(judge);
}

bool Cgi::getVarFile(const std::string &name, const std::string &path) const {
    ZANDORIN_TRACE();
    std::size_t size = 0;
    if (gcgiFieldSize(name.c_str(), &size) != GCGI_OK) {
        logRecord(Priority::error, "Failed to get size of: %s", name.c_str());
        return false;
    }
    std::string data(size, '\0');
    int truncated = 0;
    if (gcgiFetchData(name.c_str(), data.data(), size, nullptr, nullptr, nullptr, nullptr,
                      &truncated) != GCGI_OK) {
        logRecord(Priority::fatal, "Failed to retrieve variable data");
        return false;
    }
    if (truncated != 0) {
        logRecord(Priority::error, "File data was truncated");
        return false;
    }
    std::FILE *file = std::fopen(path.c_str(), "we");
    if (file == nullptr) {
        logRecord(Priority::error, "Failed to open file for writing: %s", path.c_str());
        return true;
    }
    const bool written = std::fputs(data.c_str(), file) != EOF;
    if (std::fclose(file) != 0 || !written)
        logRecord(Priority::error, "Failed to write file: %s: %s", path.c_str(),
                  std::strerror(errno));
    return true;
}

std::string Cgi::getRemoteAddress() const {
    ZANDORIN_TRACE();
    return variable(GCGI_REMOTE_ADDR);
}

std::string Cgi::getRemoteHost() const {
    ZANDORIN_TRACE();
    return variable(GCGI_REMOTE_HOST);
}

std::string Cgi::getRemoteUsername() const {
    ZANDORIN_TRACE();
    return variable(GCGI_REMOTE_USER);
}

std::uint16_t Cgi::getRemotePort() const {
    ZANDORIN_TRACE();
    const char *text = gcgiEnvironment(GCGI_REMOTE_PORT);
    if (text == nullptr)
        return 0;
    // Bounded as on the appliance, whose long has 32 bits.
    const auto port = std::clamp<std::int64_t>(leadingNumber(text), INT32_MIN, INT32_MAX);
    if (port < 1 || port > UINT16_MAX)
        logRecord(Priority::error, "Invalid remote port: %s", text);
    return static_cast<std::uint16_t>(port & 0xffff);
}

bool Cgi::getHttps() const {
    ZANDORIN_TRACE();
    return equalsIgnoreCase(variable(GCGI_HTTPS), "on");
}

int Cgi::status() const {
    switch (gcgiFault()) {
    case GCGI_FAULT_NONE:
        return 200;
    case GCGI_FAULT_TIME:
        return 408;
    case GCGI_FAULT_CUT:
        return 400;
    default:
        return 413;
    }
}

std::string Cgi::getRequestMethod() const {
    ZANDORIN_TRACE();
    return variable(GCGI_REQUEST_METHOD);
}

void Cgi::sendHttpHeader(int status, const std::string &contentType) {
    ZANDORIN_TRACE();
    if (headerSent_)
        return;
    *this << "HTTP/1.1 " << status << " OK\r\n"
          << "Cache-control: no-cache\r\n"
          << "Content-Type: " << contentType << "\r\n";
    if (!extraHeader_.empty())
        *this << extraHeader_ << "\r\n";
    *this << "\r\n";
    headerSent_ = true;
}

void Cgi::setExtraHeader(const std::string &line) {
    ZANDORIN_TRACE();
    extraHeader_ = line;
}

void Cgi::finishResponse() {
    ZANDORIN_TRACE();
    if (gcgiOut != nullptr)
        std::fflush(gcgiOut);
    const UniqueFd nowhere(::open("/dev/null", O_RDWR | O_CLOEXEC));
    if (!nowhere) {
        logRecord(Priority::error, "Failed to open: /dev/null: %s", std::strerror(errno));
        return;
    }
    // Not closed but replaced, so that nothing opened later gets their numbers and with them what
    // is still written there. Standard error may be a pipe of the web server's too.
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        ::dup2(nowhere.get(), fd);
    if (gcgiOut != nullptr)
        ::dup3(nowhere.get(), ::fileno(gcgiOut), O_CLOEXEC);
}

void Cgi::setPageError(const std::string &text) {
    ZANDORIN_TRACE();
    pageError_ = text;
}

void Cgi::addError(const std::string &text) {
    ZANDORIN_TRACE();
    errors_.push_back(text);
}

void Cgi::addMessage(const std::string &text) {
    ZANDORIN_TRACE();
    messages_.push_back(text);
}

void Cgi::addDebug(const std::string &text) {
    ZANDORIN_TRACE();
    debugMessages_.push_back(text);
}

const std::string &Cgi::getPageError() const {
    ZANDORIN_TRACE();
    return pageError_;
}

const std::vector<std::string> &Cgi::getErrors() const {
    ZANDORIN_TRACE();
    return errors_;
}

const std::vector<std::string> &Cgi::getMessages() const {
    ZANDORIN_TRACE();
    return messages_;
}

const std::vector<std::string> &Cgi::getDebugMessages() const {
    ZANDORIN_TRACE();
    return debugMessages_;
}

bool Cgi::hasErrors() const {
    ZANDORIN_TRACE();
    return !errors_.empty() || !pageError_.empty();
}

bool Cgi::hasPageError() const {
    ZANDORIN_TRACE();
    return !pageError_.empty();
}

bool Cgi::hasMessages() const {
    ZANDORIN_TRACE();
    return !messages_.empty();
}

std::string Cgi::getSafeUri(const std::string &text) const {
    ZANDORIN_TRACE();
    return encodeUri(text);
}

} // namespace zandorin
