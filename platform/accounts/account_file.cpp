#include "platform/accounts/account_file.h"

#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <set>

namespace zandorin {

namespace {

constexpr const char *passwd_path = "/etc/config/passwd";
constexpr const char *group_path = "/etc/config/group";
constexpr const char *lock_path = "/etc/config/.accounts.lock";
constexpr mode_t readable = 0644;

std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

std::string joined(const std::vector<std::string> &lines) {
    std::string text;
    for (const std::string &line : lines)
        (text += line) += '\n';
    return text;
}

bool isOf(std::string_view line, std::string_view name) {
    return line.size() > name.size() && line.starts_with(name) && line[name.size()] == ':';
}

std::optional<unsigned> number(std::string_view field) {
    const auto value = parseWhole(field);
    if (!value || *value < 0 || *value > std::numeric_limits<unsigned>::max())
        return std::nullopt;
    return static_cast<unsigned>(*value);
}

std::optional<Account> parse(std::string_view line) {
    std::array<std::string_view, 7> fields;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const auto end = line.find(':');
        if ((end == std::string_view::npos) != (i + 1 == fields.size()))
            return std::nullopt;
        fields[i] = line.substr(0, end);
        line.remove_prefix(std::min(fields[i].size() + 1, line.size()));
    }
    const auto uid = number(fields[2]);
    const auto gid = number(fields[3]);
    if (fields[0].empty() || !uid || !gid)
        return std::nullopt;
    return Account{.name = std::string(fields[0]),
                   .hash = std::string(fields[1]),
                   .uid = *uid,
                   .gid = *gid,
                   .description = std::string(fields[4]),
                   .home = std::string(fields[5]),
                   .shell = std::string(fields[6])};
}

std::string lineOf(const Account &account) {
    return account.name + ":" + account.hash + ":" + std::to_string(account.uid) + ":" +
           std::to_string(account.gid) + ":" + account.description + ":" + account.home + ":" +
           account.shell;
}

UniqueFd lockAccounts() {
    UniqueFd lock = lockFile(appliancePath(lock_path));
    if (!lock)
        logRecord(Priority::fatal, "Failed to open: %s", lock_path);
    return lock;
}

/// The third field of a group line; 0 when it is no number.
gid_t groupId(std::string_view line) {
    const auto second = line.find(':', line.find(':') + 1);
    if (second == std::string_view::npos)
        return 0;
    const std::string_view id = line.substr(second + 1);
    return number(id.substr(0, id.find(':'))).value_or(0);
}

bool hasGroup(const std::vector<std::string> &lines, const std::string &name) {
    return std::any_of(lines.begin(), lines.end(),
                       [&](const std::string &line) { return isOf(line, name); });
}

bool addGroupLine(std::vector<std::string> &lines, const std::string &name, gid_t gid) {
    if (hasGroup(lines, name))
        return false;
    lines.push_back(name + ":x:" + std::to_string(gid) + ":");
    return true;
}

/// Has `edit` change the lines of the group file under the lock; it answers whether it did.
template <typename Edit> bool editGroups(Edit edit) {
    const UniqueFd lock = lockAccounts();
    const auto text = readFile(appliancePath(group_path));
    bool done = lock && (text || errno == ENOENT);
    if (done) {
        std::vector<std::string> lines = linesOf(text.value_or(""));
        done = !edit(lines) || replaceFile(appliancePath(group_path), joined(lines), readable);
    }
    if (!done)
        logRecord(Priority::fatal, "Unable to open file: %s", group_path);
    return done;
}

} // namespace

bool AccountFile::open(bool mayBeMissing) {
    lock_ = lockAccounts();
    if (!lock_)
        return false;
    if (read() || (mayBeMissing && errno == ENOENT))
        return true;
    logRecord(Priority::fatal, "Failed to open: %s", passwd_path);
    return false;
}

bool AccountFile::read() {
    const auto text = readFile(appliancePath(passwd_path));
    if (!text)
        return false;
    lines_ = linesOf(*text);
    return true;
}

std::vector<Account> AccountFile::accounts() const {
    std::vector<Account> found;
    for (const std::string &line : lines_)
        if (auto account = parse(line))
            found.push_back(std::move(*account));
    return found;
}

std::optional<Account> AccountFile::find(std::string_view name) const {
    const auto line = std::find_if(lines_.begin(), lines_.end(),
                                   [&](const std::string &text) { return isOf(text, name); });
    return line == lines_.end() ? std::nullopt : parse(*line);
}

void AccountFile::add(const Account &account) {
    lines_.push_back(lineOf(account));
}

void AccountFile::set(std::string_view name, const Account &account) {
    for (std::string &line : lines_)
        if (isOf(line, name)) {
            line = lineOf(account);
            return;
        }
}

void AccountFile::remove(std::string_view name) {
    std::erase_if(lines_, [&](const std::string &line) { return isOf(line, name); });
}

bool AccountFile::save() const {
    if (replaceFile(appliancePath(passwd_path), joined(lines_), readable))
        return true;
    logRecord(Priority::fatal, "Failed to open: %s", passwd_path);
    return false;
}

bool addGroup(const std::string &name, gid_t gid) {
    return editGroups(
        [&](std::vector<std::string> &lines) { return addGroupLine(lines, name, gid); });
}

bool addFreeGroup(const std::string &name, gid_t first) {
    return editGroups([&](std::vector<std::string> &lines) {
        std::set<gid_t> used;
        for (const std::string &line : lines)
            used.insert(groupId(line));
        gid_t gid = first;
        while (used.count(gid) != 0)
            ++gid;
        return addGroupLine(lines, name, gid);
    });
}

bool renameGroup(const std::string &name, const std::string &newName, gid_t system) {
    return editGroups([&](std::vector<std::string> &lines) {
        const auto line = std::find_if(lines.begin(), lines.end(), [&](const std::string &text) {
            return isOf(text, name) && groupId(text) > system;
        });
        if (line == lines.end())
            return false;
        if (hasGroup(lines, newName))
            lines.erase(line);
        else
            line->replace(0, name.size(), newName);
        return true;
    });
}

bool removeGroup(const std::string &name, gid_t system) {
    return editGroups([&](std::vector<std::string> &lines) {
        return std::erase_if(lines, [&](const std::string &line) {
                   return isOf(line, name) && groupId(line) > system;
               }) != 0;
    });
}

} // namespace zandorin
