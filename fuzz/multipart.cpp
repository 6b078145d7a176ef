// Multipart bodies: the same fields in pieces of any size, none over the limit; what is put into a
// body comes out of it.

#include "fuzz/support/support.h"

#include "cgi/multipart.h"

namespace zandorin::fuzz {

using Parsed = std::pair<bool, std::vector<std::pair<std::string, cgi::Field>>>;

/// True when the body was closed, and its fields.
Parsed parse(std::string_view body, std::size_t limit, std::size_t piece) {
    Parsed parsed;
    cgi::MultipartParser parser("B", limit, [&](std::string &&name, cgi::Field &&field) {
        parsed.second.emplace_back(std::move(name), std::move(field));
    });
    bool open = true;
    while (open && !body.empty()) {
        const std::string_view next = body.substr(0, piece);
        const std::vector<char> part(next.begin(), next.end()); // a read beyond it shows
        open = parser.feed({part.data(), part.size()});
        body.remove_prefix(next.size());
    }
    parsed.first = parser.finish();
    require(open || parsed.first);
    return parsed;
}

void run(std::string_view bytes) {
    Pieces input(bytes);
    const auto limit = input.number<std::size_t>(0, 300);
    const auto piece = input.number<std::size_t>(1, 80);
    const std::string body = input.rest();
    const Parsed whole = parse(body, limit, body.size() + 1);
    require(whole == parse(body, limit, piece));
    for (const auto &[name, field] : whole.second)
        require(field.value.size() <= limit && field.type >= 0 && field.type <= GCGI_MIME_MESSAGE &&
                field.encoding >= 0 && field.encoding <= GCGI_ENCODING_BASE64);

    if (body.find("--B") != body.npos)
        return;
    const auto [closed, fields] =
        parse("--B\r\nContent-Disposition: form-data; name=\"n\"\r\n\r\n" + body + "\r\n--B--",
              limit, piece);
    require(closed && fields.size() == 1 && fields[0].first == "n" &&
            fields[0].second.value == body.substr(0, limit) &&
            fields[0].second.truncated == (body.size() > limit));
}

} // namespace zandorin::fuzz
