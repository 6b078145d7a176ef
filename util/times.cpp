#include "util/times.h"

#include <array>
#include <ctime>

namespace zandorin {

std::string localTime(std::int64_t seconds) {
    const auto time = static_cast<std::time_t>(seconds);
    std::tm parts = {};
    std::array<char, 64> text = {};
    if (::localtime_r(&time, &parts) == nullptr)
        return "";
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts)};
}

std::string durationWords(std::int64_t seconds) {
    struct Unit {
        std::int64_t seconds;
        const char *name;
    };
    static constexpr std::array units = {Unit{86400, " d"}, Unit{3600, " h"}, Unit{60, " min"},
                                         Unit{1, " s"}};
    std::string words;
    int used = 0;
    for (const Unit &unit : units) {
        const std::int64_t count = seconds / unit.seconds;
        seconds %= unit.seconds;
        if (used == 2 || (count == 0 && words.empty()) || count == 0)
            continue;
        words += (words.empty() ? "" : " ") + std::to_string(count) + unit.name;
        ++used;
    }
    return words.empty() ? "0 s" : words;
}

} // namespace zandorin
