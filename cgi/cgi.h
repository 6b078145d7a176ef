#pragma once

#include "cgi/template_stream.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin {

/// A request field's text.
struct CgiValue {
    std::string raw;  ///< as decoded
    std::string safe; ///< escaped by encode_safe: what is echoed into a page

    /// True when the text needed escaping.
    bool hasMarkup() const { return raw != safe; }
};

/// Fills both texts of a value; false when `raw` needed escaping.
bool fillCgiValue(CgiValue &value, std::string_view text);

/// The base URI of the management proxy that relays this request, "" when reached directly: the
/// variable HTTP_X_BASE_URI as the client sent it, to be escaped where it is shown. One that is
/// neither a path from "/" on nor begins with "http://" or "https://" counts as none.
const std::string &baseUri();

/// The HTTP request and its response. One a process. Reads fields, CGI variables and uploads
/// (cgi/decoder.h); is the page's output stream, so everything written to it passes through
/// template expansion; collects the messages that the engine prints.
/// Reading never throws: what is missing or malformed reads as "", 0 or false. Field names are
/// bytes as sent; field texts end at their first zero byte.
class Cgi : public cgi::FileOutputStream {
  public:
    Cgi();
    ~Cgi() override;

    /// Decodes the request and attaches the output; no effect when that was done already. Failures
    /// are logged and leave every field missing. So does a request that is too large, or did not
    /// arrive whole (cgi/decoder.h), which is an error for the page as well: a body has at most
    /// 64 KiB where no session is logged in, and 2 MiB, with files 64 MiB, where one is.
    void begin();
    /// Releases what the decoder holds.
    void end();

    /// The field's text, at most maxLength - 1 bytes of it.
    CgiValue getVarString(const std::string &name, std::size_t maxLength = 256) const;
    std::int32_t getVarNumber(const std::string &name) const;
    float getVarFloat(const std::string &name) const;
    /// A field that is present but empty exists.
    bool varStringExists(const std::string &name) const;
    /// True when `judge` answers true for the name of any field.
    bool anyFieldName(bool (*judge)(std::string_view)) const;
    /// Stores an uploaded text file at `path` (of this machine), up to its first zero byte. True
    /// also when the file could not be opened: callers that must know use uploadFile.
    bool getVarFile(const std::string &name, const std::string &path) const;

    std::string getRemoteAddress() const;
    std::string getRemoteHost() const;
    std::string getRemoteUsername() const;
    /// 0 when missing. A value outside 1..65535 is logged and its low 16 bits are answered.
    std::uint16_t getRemotePort() const;
    /// True when HTTPS is "on" in any letter case.
    bool getHttps() const;
    /// 200, or what a page says to a request whose fields were left out.
    int status() const;
    /// The request method as sent, "" when missing.
    std::string getRequestMethod() const;

    /// Writes the header, once per process.
    void sendHttpHeader(int status, const std::string &contentType);
    /// One more header line, without its line end.
    void setExtraHeader(const std::string &line);

    /// Ends the response: what is buffered is written out and standard output, its duplicate
    /// included, is let go of, so that the web server sees the page's end while this process still
    /// works. Nothing can be written afterwards.
    void finishResponse();

    // Messages hold markup: what came from outside must be escaped before it is put into one.
    void setPageError(const std::string &text);
    void addError(const std::string &text);
    void addMessage(const std::string &text);
    void addDebug(const std::string &text);
    const std::string &getPageError() const;
    const std::vector<std::string> &getErrors() const;
    const std::vector<std::string> &getMessages() const;
    const std::vector<std::string> &getDebugMessages() const;
    bool hasErrors() const;
    bool hasPageError() const;
    bool hasMessages() const;

    /// The text in the URI encoding of encode_uri.
    std::string getSafeUri(const std::string &text) const;

  private:
    bool initialized_ = false;
    bool headerSent_ = false;
    std::string extraHeader_;
    std::string baseUri_;
    std::string pageError_;
    std::vector<std::string> errors_;
    std::vector<std::string> messages_;
    std::vector<std::string> debugMessages_;
};

} // namespace zandorin
