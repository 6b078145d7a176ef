#include "util/split.h"

namespace zandorin::utilities {

std::vector<std::string> split(std::string_view text, std::string_view separators) {
    std::vector<std::string> pieces;
    for (auto begin = text.find_first_not_of(separators); begin != std::string_view::npos;) {
        const auto end = text.find_first_of(separators, begin);
        pieces.emplace_back(text.substr(begin, end - begin));
        begin = text.find_first_not_of(separators, end);
    }
    return pieces;
}

} // namespace zandorin::utilities
