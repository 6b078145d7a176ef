#include "platform/accounts/account_file.h"

#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"

#include <algorithm>
#include <cerrno>
#include <set>

namespace zandorin {

namespace {

constexpr const char *passwd_path = "/etc/config/passwd";
constexpr const char *group_path = "/etc/config/group";
constexpr const char *lock_path = "/etc/config/.accounts.lock";
constexpr mode_t readable = 0644;

std::string joined(const std::vector<std::string> &lines) {
    std::string text;
    for (const std::string &line : lines)
        (text += line) += '\n';
    return text;
}

UniqueFd lockAccounts() {
    UniqueFd lock = lockFile(appliancePath(lock_path));
    if (!lock)
        logRecord(Priority::fatal, "Failed to open: %s", lock_path);
    return lock;
}

bool hasGroup(const std::vector<std::string> &lines, const std::string &name) {
    return std::any_of(lines.begin(), lines.end(),
                       [&](const std::string &line) { return isLineOf(line, name); });
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
        const std::string before = text.value_or("");
        const std::vector<std::string_view> views = linesOf(before);
        std::vector<std::string> lines(views.begin(), views.end());
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
    const std::vector<std::string_view> lines = linesOf(*text);
    lines_.assign(lines.begin(), lines.end());
    return true;
}

std::vector<Account> AccountFile::accounts() const {
    std::vector<Account> found;
    for (const std::string &line : lines_)
        if (auto account = parseAccount(line))
            found.push_back(std::move(*account));
    return found;
}

std::optional<Account> AccountFile::find(std::string_view name) const {
    const auto line = std::find_if(lines_.begin(), lines_.end(),
                                   [&](const std::string &text) { return isLineOf(text, name); });
    return line == lines_.end() ? std::nullopt : parseAccount(*line);
}

void AccountFile::add(const Account &account) {
    lines_.push_back(lineOf(account));
}

void AccountFile::set(std::string_view name, const Account &account) {
    for (std::string &line : lines_)
        if (isLineOf(line, name)) {
            line = lineOf(account);
            return;
        }
}

void AccountFile::remove(std::string_view name) {
    std::erase_if(lines_, [&](const std::string &line) { return isLineOf(line, name); });
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
            used.insert(groupIdOf(line));
        gid_t gid = first;
        while (used.count(gid) != 0)
            ++gid;
        return addGroupLine(lines, name, gid);
    });
}

bool renameGroup(const std::string &name, const std::string &newName, gid_t system) {
    return editGroups([&](std::vector<std::string> &lines) {
        const auto line = std::find_if(lines.begin(), lines.end(), [&](const std::string &text) {
            return isLineOf(text, name) && groupIdOf(text) > system;
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
                   return isLineOf(line, name) && groupIdOf(line) > system;
               }) != 0;
    });
}

} // namespace zandorin
