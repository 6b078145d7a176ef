#include "platform/accounts/account_line.h"

#include "util/strings.h"

#include <algorithm>
#include <limits>

namespace zandorin {

namespace {

std::optional<unsigned> number(std::string_view field) {
    const auto value = parseWhole(field);
    if (!value || *value < 0 || *value > std::numeric_limits<unsigned>::max())
        return std::nullopt;
    return static_cast<unsigned>(*value);
}

} // namespace

std::vector<std::string_view> linesOf(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        lines.push_back(text.substr(0, text.find('\n')));
        text.remove_prefix(std::min(lines.back().size() + 1, text.size()));
    }
    return lines;
}

bool isLineOf(std::string_view line, std::string_view name) {
    return line.size() > name.size() && line.starts_with(name) && line[name.size()] == ':';
}

std::optional<AccountFields> accountFields(std::string_view line) {
    AccountFields fields;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const auto end = line.find(':');
        if ((end == std::string_view::npos) != (i + 1 == fields.size()))
            return std::nullopt;
        fields[i] = line.substr(0, end);
        line.remove_prefix(std::min(fields[i].size() + 1, line.size()));
    }
    return fields[0].empty() ? std::nullopt : std::optional(fields);
}

std::optional<Account> parseAccount(std::string_view line) {
    const auto fields = accountFields(line);
    if (!fields)
        return std::nullopt;
    const auto &[name, hash, uid, gid, description, home, shell] = *fields;
    const auto user = number(uid);
    const auto group = number(gid);
    if (!user || !group)
        return std::nullopt;
    return Account{.name = std::string(name),
                   .hash = std::string(hash),
                   .uid = *user,
                   .gid = *group,
                   .description = std::string(description),
                   .home = std::string(home),
                   .shell = std::string(shell)};
}

std::string lineOf(const Account &account) {
    return account.name + ":" + account.hash + ":" + std::to_string(account.uid) + ":" +
           std::to_string(account.gid) + ":" + account.description + ":" + account.home + ":" +
           account.shell;
}

gid_t groupIdOf(std::string_view line) {
    const auto second = line.find(':', line.find(':') + 1);
    if (second == std::string_view::npos)
        return 0;
    const std::string_view id = line.substr(second + 1);
    return number(id.substr(0, id.find(':'))).value_or(0);
}

} // namespace zandorin
