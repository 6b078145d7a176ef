// Stream filters: what passes is what a plain reading of the whole text makes of it, in both
// directions and in pieces of any size, and four characters can be put back.

#include "fuzz/support/support.h"

#include "ui/filter_stream.h"
#include "util/escape.h"

#include <iterator>
#include <map>
#include <sstream>

namespace zandorin::fuzz {

using Strings = std::map<std::string, std::string>;
const Strings strings = {{"ab", "1"}, {"abcd", "2"}, {"bc", "ab"}, {"x", ""}, {"", "never"}};

/// From left to right, the longest that starts at a place.
std::string replacePlainly(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const Strings::value_type *longest = nullptr;
        for (const auto &each : strings)
            if (!each.first.empty() && text.starts_with(each.first) &&
                (longest == nullptr || each.first.size() > longest->first.size()))
                longest = &each;
        result += longest == nullptr ? std::string(1, text.front()) : longest->second;
        text.remove_prefix(longest == nullptr ? 1 : longest->first.size());
    }
    return result;
}

template <typename Filter, typename... More>
void check(const std::string &text, const std::string &expected, std::size_t place,
           const More &...more) {
    std::stringbuf target;
    {
        Filter filter(&target, more...);
        std::ostream out(&filter);
        out << text.substr(0, place) << std::flush << text.substr(std::min(place, text.size()));
    }
    require(target.str() == expected);

    std::stringbuf source(text);
    Filter filter(&source, more...);
    std::string read;
    const auto back = std::min({place, expected.size(), std::size_t{4}});
    while (read.size() < std::min(place, expected.size()))
        read += static_cast<char>(filter.sbumpc());
    for (std::size_t i = 0; i < back; ++i) {
        require(filter.sungetc() == static_cast<unsigned char>(read.back()));
        read.pop_back();
    }
    read.append(std::istreambuf_iterator<char>(&filter), {});
    require(read == expected);
}

void run(std::string_view input) {
    const std::string text(input.substr(0, input.size() - input.size() / 8));
    const std::size_t place = input.empty() ? 0 : static_cast<unsigned char>(input.back()) % 40;
    check<filtering::escapexml>(text, escapeXmlText(text), place);
    check<filtering::escapexmlattr>(text, escapeXmlAttribute(text), place);
    check<filtering::replace>(text, replacePlainly(text), place, strings);

    filtering::escapexml closed(nullptr);
    require(!std::ostream(&closed).put('a').good() && closed.pubsync() == 0 &&
            closed.sgetc() == EOF);
    std::stringbuf full(std::ios::in);
    filtering::escapexml filter(&full);
    require(std::ostream(&filter).put('<').bad() && filter.pubsync() == -1);
}

} // namespace zandorin::fuzz
