// Templates: calls and names are replaced as a plain reading of the text says, and an unclosed call
// ends the page.

#include "fuzz/support/support.h"

#include "cgi/template_stream.h"

#include <memory>
#include <sstream>

namespace zandorin::fuzz {

constexpr std::string_view marker = "CGI_CALL(";
const std::string again = "CGI_CALL(f)#b"; // a call that is none
// The first holds a name that is replaced later.
const std::pair<std::string, std::string> names[] = {
    {"#a", "x#b"}, {"#b", "CGI_CALL(f)"}, {"#c", ""}};

std::string call(void *, std::vector<std::string> &arguments) {
    std::string text = "[" + std::to_string(arguments.size());
    for (const std::string &argument : arguments)
        text += "|" + argument;
    return text + "]";
}

std::string callAgain(void *context, std::vector<std::string> &) {
    require(context == &endedProcess);
    return again;
}

/// The page that a template becomes; none when the stream turned bad.
std::optional<std::string> write(std::string_view text, bool replace) {
    char *bytes = nullptr;
    std::size_t size = 0;
    std::FILE *file = ::open_memstream(&bytes, &size);
    std::istringstream input{std::string(text)};
    auto stream = std::make_unique<cgi::FileOutputStream>(file);
    stream->setArgument(&endedProcess); // any address
    stream->addReplaceable("f", call);
    stream->addReplaceable("again", callAgain);
    for (const auto &[name, with] : names)
        stream->addReplaceable(name, with);
    stream->write(input, replace);
    const bool good = stream->good();
    *stream << text << std::flush; // only what is written as a template is one
    stream.reset();
    std::fclose(file);
    const std::string page(bytes, size);
    std::free(bytes);
    require(good ? page.ends_with(text) : page.empty());
    return good ? std::optional(page.substr(0, page.size() - text.size())) : std::nullopt;
}

std::optional<std::string> writePlainly(std::string text) {
    std::string page;
    for (std::size_t begin; (begin = text.find(marker)) != text.npos;) {
        const auto end = text.find(')', begin);
        if (end == text.npos)
            return std::nullopt;
        page += text.substr(0, begin);
        const auto inside = begin + marker.size();
        std::istringstream words(text.substr(inside, end - inside) + ",");
        std::string name;
        std::getline(words, name, ',');
        std::vector<std::string> arguments;
        for (std::string word; std::getline(words, word, ',');)
            arguments.push_back(word);
        page += name == "f" ? call(nullptr, arguments) : name == "again" ? again : "";
        text.erase(0, end + 1);
    }
    page += text;
    for (const auto &[name, with] : names) {
        // Names of nothing, with nothing before them, stay.
        std::string kept;
        for (auto at = page.find(name); at != page.npos; at = page.find(name, at + with.size())) {
            page.replace(at, name.size(), with);
            if (at + with.size() == 0)
                kept += name;
            else
                kept.clear();
        }
        page.insert(0, kept);
    }
    return page;
}

void run(std::string_view input) {
    cgi::FileOutputStream none;
    cgi::FileOutputStream closed(nullptr);
    for (cgi::FileOutputStream *stream : {&none, &closed})
        require(!(*stream << input << 'c' << std::flush).good());
    require(write(input, false) == input);
    require(write(input, true) == writePlainly(std::string(input)));
}

} // namespace zandorin::fuzz
