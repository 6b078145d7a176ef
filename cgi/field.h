#pragma once

#include "cgi/decoder.h"

#include <functional>
#include <optional>
#include <string>

namespace zandorin::cgi {

/// One decoded form field. The defaults are those of RFC 2045 for a part without headers.
struct Field {
    /// The stored bytes; the text ends at the first zero byte. A URL-encoded value stores its
    /// terminating zero, so its size is one more than its length.
    std::string value;
    int type = GCGI_MIME_TEXT; ///< gcgi_mime_type
    std::string subtype = "plain";
    int encoding = GCGI_ENCODING_7BIT;   ///< gcgi_encoding it arrived in; `value` is decoded
    std::optional<std::string> fileName; ///< as the client sent it; none for ordinary fields
    bool truncated = false;              ///< cut at the field limit

    bool operator==(const Field &) const = default;
};

/// Receives the fields of a request in the order they arrive.
using FieldSink = std::function<void(std::string &&name, Field &&field)>;

} // namespace zandorin::cgi
