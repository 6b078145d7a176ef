#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

// Decoder of one CGI request (RFC 3875): its environment, and its form fields from a query string,
// an "application/x-www-form-urlencoded" body or a "multipart/form-data" body (RFC 7578). One
// request a process: the state is the process's, and everything but `cgi/` reaches it through
// zandorin::Cgi.
//
// Nothing is allocated by announcement: a body takes memory as it arrives. A multipart body takes
// as much as its fields, each cut at the field limit; a URL-encoded one is held as a whole. Of
// fields of one name the first is kept. A request has at most 4096 names, each of at most 1024
// bytes, and 2 MiB of names and values altogether; its body arrives whole, within 20 seconds and
// one more for each 32 KiB. One that breaks any of this has a fault, and no fields at all.

/// Answers of the fetch operations.
enum gcgi_status {
    GCGI_OK = 0,
    GCGI_NOT_FOUND = 1, ///< no field of that name (for data: or nothing to copy)
    GCGI_EMPTY = 2,     ///< the field is there, its value is empty
};

/// Why a request has no fields.
enum gcgi_fault {
    GCGI_FAULT_NONE,
    GCGI_FAULT_SIZE,   ///< announces more than gcgiLimitAnnounced allows; nothing of it was read
    GCGI_FAULT_FIELDS, ///< too many fields, too long a name, or too much altogether
    GCGI_FAULT_CUT,    ///< ends before the announced length
    GCGI_FAULT_TIME,   ///< took too long to arrive
};

/// Index of a CGI variable in the table read by gcgiDecodeRequest.
enum gcgi_variable {
    GCGI_HTTP_COOKIE,
    GCGI_HTTP_REFERER,
    GCGI_AUTH_TYPE,
    GCGI_CONTENT_LENGTH,
    GCGI_CONTENT_TYPE,
    GCGI_GATEWAY_INTERFACE,
    GCGI_PATH_INFO,
    GCGI_PATH_TRANSLATED,
    GCGI_QUERY_STRING,
    GCGI_REMOTE_ADDR,
    GCGI_REMOTE_HOST,
    GCGI_REMOTE_PORT,
    GCGI_REMOTE_IDENT,
    GCGI_REMOTE_USER,
    GCGI_REQUEST_METHOD,
    GCGI_SCRIPT_NAME,
    GCGI_SERVER_NAME,
    GCGI_SERVER_PORT,
    GCGI_SERVER_PROTOCOL,
    GCGI_SERVER_SOFTWARE,
    GCGI_DONT_READ_STDIN,
    GCGI_HTTPS,
    GCGI_VARIABLES ///< their number
};

/// MIME types of a part, in the order they are known; 0 for any other.
enum gcgi_mime_type {
    GCGI_MIME_UNKNOWN,
    GCGI_MIME_TEXT,
    GCGI_MIME_IMAGE,
    GCGI_MIME_AUDIO,
    GCGI_MIME_VIDEO,
    GCGI_MIME_APPLICATION,
    GCGI_MIME_MULTIPART,
    GCGI_MIME_MESSAGE
};

/// Transfer encodings of a part; 0 for any other, which is taken as it stands.
enum gcgi_encoding {
    GCGI_ENCODING_UNKNOWN,
    GCGI_ENCODING_7BIT,
    GCGI_ENCODING_8BIT,
    GCGI_ENCODING_BINARY,
    GCGI_ENCODING_QUOTED_PRINTABLE,
    GCGI_ENCODING_BASE64
};

/// Where the response goes: a close-on-exec duplicate of standard output, opened by
/// gcgiDecodeRequest and closed by gcgiRelease; null outside of that.
extern FILE *gcgiOut;

/// Sets the largest size of one field's value and of a whole body, in bytes; a body limit of 0 is
/// none. Always 0.
int gcgiApplyLimits(unsigned fieldLimit, unsigned bodyLimit);

/// Sets the largest content length that a body may announce, in bytes; without it, any.
void gcgiLimitAnnounced(std::int64_t most);

/// Reads the environment, opens gcgiOut and decodes the fields. 0, or -1 without a usable request
/// method, or for a negative content length. Faults in a body only leave its fields out: see
/// gcgiFault. What memory cannot hold leaves out all of them, too.
int gcgiDecodeRequest();

/// What was wrong with the request that gcgiDecodeRequest read.
gcgi_fault gcgiFault();

/// Releases the fields and the environment table and closes gcgiOut.
void gcgiRelease();

/// The CGI variable, null when it was missing. Valid until gcgiRelease.
const char *gcgiEnvironment(gcgi_variable index);

// The field operations below see the first field of a name.

/// Length of the value's text, which ends at its first zero byte.
int gcgiValueLength(const char *name, std::size_t *length);

/// True when `judge` answers true for the name of any field.
bool gcgiAnyName(bool (*judge)(std::string_view name));

/// Stored size of the value in bytes; *size is 0 when there is no such field.
int gcgiFieldSize(const char *name, std::size_t *size);

/// Copies at most max - 1 bytes of the text and terminates it; "" when absent.
int gcgiCopyString(const char *name, char *buffer, std::size_t max);

/// The number that the text begins with, in base 10; `defaultValue` when the field is absent or
/// empty, begins with none, or with one that is no int.
int gcgiCopyInteger(const char *name, int *result, int defaultValue);

/// Copies min(size, stored size) bytes of the value; when that is none, GCGI_NOT_FOUND, and only
/// `*subtype` and `*fileName` are set, to null. `subtype` and `fileName`, when given, receive
/// texts made with malloc that the caller frees; *fileName is null for an ordinary field.
int gcgiFetchData(const char *name, void *buffer, std::size_t size, int *type, char **subtype,
                  int *encoding, char **fileName, int *truncated);
