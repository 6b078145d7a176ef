#include "services/autoresponse/rule_file.h"

#include "util/split.h"
#include "util/strings.h"

#include <limits>

namespace zandorin::responder {

namespace {

constexpr std::string_view plain = "\\\t\n\r";
constexpr std::string_view letters = "\\tnr";

std::string escaped(std::string_view field) {
    std::string text;
    for (const char c : field)
        if (const auto at = plain.find(c); at == std::string_view::npos)
            text += c;
        else
            append(text, {"\\", letters.substr(at, 1)});
    return text;
}

} // namespace

std::string writeLine(const std::vector<std::string> &fields) {
    std::string line;
    for (const std::string &field : fields)
        line += (line.empty() ? "" : "\t") + escaped(field);
    return line + "\n";
}

std::vector<std::vector<std::string>> readLines(std::string_view text) {
    std::vector<std::vector<std::string>> lines;
    for (const std::string &line : utilities::split(text, "\n")) {
        auto &fields = lines.emplace_back(1);
        for (std::size_t i = 0; i < line.size(); ++i) {
            const auto letter = line[i] == '\\' && i + 1 < line.size() ? letters.find(line[i + 1])
                                                                       : std::string_view::npos;
            if (line[i] == '\t')
                fields.emplace_back();
            else
                fields.back() += letter == std::string_view::npos ? line[i] : plain[letter];
            i += letter == std::string_view::npos ? 0 : 1;
        }
    }
    return lines;
}

Settings::Settings(std::string_view text) {
    for (auto &fields : readLines(text))
        if (fields.size() == 2)
            values_.insert_or_assign(std::move(fields[0]), std::move(fields[1]));
}

const std::string &Settings::get(const std::string &key) const {
    static const std::string none;
    const auto found = values_.find(key);
    return found == values_.end() ? none : found->second;
}

int Settings::number(const std::string &key, int otherwise) const {
    const auto number = parseWhole(get(key));
    return number && *number >= 0 && *number <= std::numeric_limits<int>::max()
               ? static_cast<int>(*number)
               : otherwise;
}

std::vector<std::string> Settings::list(const std::string &key, const std::string &word) const {
    std::vector<std::string> texts;
    for (unsigned number = 1;; ++number) {
        const std::string &text = get(concat({key, ".", word, std::to_string(number)}));
        if (text.empty())
            return texts;
        texts.push_back(text);
    }
}

} // namespace zandorin::responder
