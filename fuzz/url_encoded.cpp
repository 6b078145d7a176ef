// Query strings: what was encoded comes back, and a field before a text does not change its fields.

#include "fuzz/support/support.h"

#include "cgi/url_encoded.h"

namespace zandorin::fuzz {

using Fields = std::vector<std::pair<std::string, std::string>>;

Fields decode(std::string_view text) {
    Fields fields;
    cgi::decodeUrlEncoded(text, [&fields](std::string &&name, cgi::Field &&field) {
        require(field.value.size() > 1 && field.value.back() == '\0');
        require(!field.truncated && !field.fileName);
        field.value.pop_back();
        fields.emplace_back(std::move(name), std::move(field.value));
    });
    return fields;
}

std::string encode(std::string_view text) {
    std::string encoded;
    for (const char c : text) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%%%02X", static_cast<unsigned char>(c));
        encoded += c == ' ' ? "+" : digits;
    }
    return encoded;
}

void run(std::string_view input) {
    const std::string decoded = cgi::decodeUrlText(input);
    require(cgi::decodeUrlText(encode(input)) == input && decoded.size() <= input.size());
    require(decoded == input || input.find_first_of("%+") != input.npos);

    Fields fields = decode(input);
    require(std::cmp_less_equal(fields.size(), std::count(input.begin(), input.end(), '=')));
    std::string again;
    for (const auto &[name, value] : fields)
        again += encode(name) + "=" + encode(value) + "&";
    require(decode(again) == fields);
    fields.insert(fields.begin(), {"nAme", "v 1"});
    require(decode("n%41me=v+1&" + std::string(input)) == fields);
}

} // namespace zandorin::fuzz
