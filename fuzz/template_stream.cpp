// Templates: calls and names are replaced as a plain reading of the text says, and an unclosed call
// ends the page.

#include "fuzz/support/support.h"

#include "cgi/template_stream.h"

#include <cstdlib>
#include <sstream>

namespace zandorin::fuzz {

constexpr std::string_view marker = "CGI_CALL(";
constexpr const char *again = "CGI_CALL(f)#b"; // a call that is none
// The first holds a name that is replaced later.
const std::pair<std::string, std::string> names[] = {{"#a", "x#b"}, {"#b", "CGI_CALL(f)"}};

std::string call(void *, std::vector<std::string> &arguments) {
    std::string text = "[" + std::to_string(arguments.size());
    for (const std::string &argument : arguments)
        text += "|" + argument;
    return text + "]";
}

std::string callAgain(void *context, std::vector<std::string> &) {
    require(context == &names);
    return again;
}

/// The page that a template becomes; none when the stream turned bad.
std::optional<std::string> write(std::string_view text, bool replace) {
    char *bytes = nullptr;
    std::size_t size = 0;
    std::FILE *file = ::open_memstream(&bytes, &size);
    bool good = false;
    {
        cgi::FileOutputStream stream(file);
        stream.setArgument(const_cast<std::pair<std::string, std::string>(*)[2]>(&names));
        stream.addReplaceable("f", call);
        stream.addReplaceable("again", callAgain);
        for (const auto &[name, with] : names)
            stream.addReplaceable(name, with);
        std::istringstream input{std::string(text)};
        stream.write(input, replace);
        good = stream.good();
    }
    std::fclose(file);
    const std::string page(bytes, size);
    std::free(bytes);
    require(good || page.empty());
    return good ? std::optional(page) : std::nullopt;
}

std::optional<std::string> writePlainly(std::string text) {
    std::string page;
    for (std::size_t begin; (begin = text.find(marker)) != text.npos;) {
        const auto end = text.find(')', begin);
        if (end == text.npos)
            return std::nullopt;
        std::istringstream inside(text.substr(begin + marker.size(), end - begin - marker.size()) +
                                  ",");
        std::string name;
        std::getline(inside, name, ',');
        std::vector<std::string> words;
        for (std::string word; std::getline(inside, word, ',');)
            words.push_back(word);
        page += text.substr(0, begin);
        page += name == "f" ? call(nullptr, words) : name == "again" ? again : "";
        text.erase(0, end + 1);
    }
    page += text;
    for (const auto &[name, with] : names)
        for (auto at = page.find(name); at != page.npos; at = page.find(name, at + with.size()))
            page.replace(at, name.size(), with);
    return page;
}

void run(std::string_view input) {
    require(write(input, false) == input);
    require(write(input, true) == writePlainly(std::string(input)));
}

} // namespace zandorin::fuzz
