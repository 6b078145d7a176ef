#include "tests/support/page_outline.h"

#include "util/strings.h"

#include <algorithm>
#include <regex>
#include <sstream>

namespace zandorin::test {

namespace {

constexpr std::string_view letters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";

/// Where a browser would go: entities count, white space and control characters do not.
std::string target(const std::string &value) {
    static const std::regex entity("&#(x?)([0-9a-fA-F]+);?|&colon;");
    std::string plain;
    auto rest = value.cbegin();
    for (std::smatch match; std::regex_search(rest, value.cend(), match, entity);
         rest = match[0].second) {
        plain.append(rest, match[0].first);
        plain += match[2].matched ? static_cast<char>(std::strtoul(match[2].str().c_str(), nullptr,
                                                                   match[1].length() > 0 ? 16 : 10))
                                  : ':';
    }
    plain.append(rest, value.cend());
    std::erase_if(plain, [](char c) { return static_cast<unsigned char>(c) <= ' '; });
    const auto end = plain.find_first_not_of(std::string(letters) + "+.-");
    if (end != std::string::npos && end > 0 && plain[end] == ':')
        return plain.substr(0, end + 1);
    return plain.starts_with("//") || plain.starts_with("\\") ? "elsewhere" : "relative";
}

/// What is kept of an attribute beside its name.
std::string essence(const std::string &name, const std::string &value) {
    const auto isOneOf = [&](std::initializer_list<std::string_view> names) {
        return std::find(names.begin(), names.end(), name) != names.end();
    };
    if (isOneOf({"href", "src", "action", "formaction", "data"}))
        return "=" + target(value);
    const bool isLive = name.starts_with("on") || isOneOf({"style", "content", "http-equiv", "type",
                                                           "rel", "target", "method"});
    return isLive ? "=" + value : "";
}

class Reader {
  public:
    explicit Reader(const std::string &text) : text_(text) {}

    void read(std::vector<std::string> &found) {
        while ((at_ = text_.find('<', at_)) != std::string::npos) {
            const std::size_t start = at_++;
            if (text_.compare(at_, 8, "!DOCTYPE") == 0)
                at_ = text_.find('>', at_);
            else if (const std::string tag = readTag(); !tag.empty()) {
                found.push_back(tag);
                readContent(tag, found);
            } else
                found.push_back("broken: " + text_.substr(start, 80));
            if (at_ == std::string::npos)
                found.push_back("broken: no end of " + text_.substr(start, 80));
        }
    }

  private:
    std::string until(std::string_view ends) {
        const auto end = std::min(text_.find_first_of(ends, at_), text_.size());
        std::string word = text_.substr(at_, end - at_);
        at_ = end;
        return word;
    }
    bool take(char c) {
        const bool there = at_ < text_.size() && text_[at_] == c;
        at_ += there ? 1 : 0;
        return there;
    }
    void skipSpace() { at_ = std::min(text_.find_first_not_of(" \t\r\n\f", at_), text_.size()); }

    /// The tag behind a "<"; "" when it is none. No page has comments.
    std::string readTag() {
        std::string tag = take('/') ? "/" : "";
        const std::string name = until(" \t\r\n\f/>");
        if (name.empty() || name.find_first_not_of(letters) != std::string::npos)
            return "";
        tag += name;
        for (skipSpace(); !take('>'); skipSpace()) {
            if (take('/'))
                continue;
            const std::string attribute = until(" \t\r\n\f/>=");
            if (attribute.empty() || attribute.find_first_of("\"'<") != std::string::npos)
                return "";
            skipSpace();
            std::string value;
            if (take('=')) {
                skipSpace();
                const char quote = take('"') ? '"' : take('\'') ? '\'' : '\0';
                value = quote != '\0' ? until({&quote, 1}) : until(" \t\r\n\f>");
                if (quote != '\0' && !take(quote))
                    return "";
            }
            if (attribute != "selected" && attribute != "checked")
                tag += " " + attribute + essence(attribute, value);
        }
        return tag;
    }

    /// Goes to the end tag of what holds no markup. Code is kept whole, data is not.
    void readContent(const std::string &whole, std::vector<std::string> &found) {
        const std::string tag = whole.substr(0, whole.find(' '));
        const bool isCode = tag == "script" || tag == "style";
        const bool isData = whole.find(" type=application/json") != std::string::npos;
        if (!isCode && tag != "textarea" && tag != "title")
            return;
        const auto end = text_.find("</" + tag + ">", at_);
        if (isCode && !isData && end != std::string::npos)
            found.push_back(text_.substr(at_, end - at_));
        at_ = end;
    }

    const std::string &text_;
    std::size_t at_ = 0;
};

} // namespace

std::vector<std::string> outline(const Response &response) {
    std::vector<std::string> found;
    std::istringstream lines(response.header);
    for (std::string line; std::getline(lines, line);)
        found.push_back(line.starts_with("Content-Type") ? std::string(trim(line))
                                                         : line.substr(0, line.find(':')));
    Reader(response.body).read(found);
    return found;
}

} // namespace zandorin::test
