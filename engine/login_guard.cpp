#include "engine/login_guard.h"

#include "platform/libzandorin/config_manager.h"
#include "util/addresses.h"
#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/split.h"
#include "util/strings.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <map>

namespace zandorin {

namespace {

using std::chrono::seconds;

constexpr const char *table_path = "/var/run/.logins";
constexpr const char *lock_path = "/var/run/.logins.lock";
constexpr std::size_t most_lines = 512;
constexpr std::size_t most_known = 256; // lines of successes
constexpr std::ptrdiff_t most_known_of_name = 8;
constexpr std::size_t file_limit = (most_lines + most_known) * 100; // bytes; a line has at most 87
constexpr seconds patience(5);

constexpr unsigned default_limit = 3;
constexpr unsigned default_minutes = 60;
constexpr unsigned most = 1000000; // of both: minutes, that is two years
/// How many times the limit of an address a name has, over all addresses.
constexpr unsigned name_factor = 10;
constexpr seconds least_pause(60);
constexpr seconds lately = std::chrono::hours(7 * 24);

unsigned setting(const ConfigManager &config, const char *key, unsigned byDefault) {
    const auto value = parseWhole(config.getElement(key));
    return value && *value >= 1
               ? static_cast<unsigned>(std::min(*value, static_cast<std::int64_t>(most)))
               : byDefault;
}

seconds sinceStart() {
    timespec time = {};
    ::clock_gettime(CLOCK_BOOTTIME, &time);
    return seconds(time.tv_sec);
}

UniqueFd lockTable() {
    UniqueFd lock = lockFile(appliancePath(lock_path), patience);
    if (!lock)
        logRecord(Priority::error, "Failed logins can not be counted: %s: %s", lock_path,
                  std::strerror(errno));
    return lock;
}

} // namespace

LoginGuard::LoginGuard(const ConfigManager &config)
    : LoginGuard(
          setting(config, "config.bfprotection.limit", default_limit),
          std::chrono::minutes(setting(config, "config.bfprotection.timeout", default_minutes)),
          sinceStart(), config.getElement("config.bfprotection.networks")) {}

bool LoginGuard::isEnabled(const ConfigManager &config) {
    return config.getBoolean("config.bfprotection.enabled");
}

/// What still counts: the failures of an address until its newest is over, and late successes. A
/// line that is damaged or of the future does not, it would count for ever.
LoginGuard::Table LoginGuard::load() const {
    Table table;
    std::map<std::string, seconds> newest;
    const std::string text = readFile(appliancePath(table_path), file_limit).value_or("");
    for (const std::string &line : utilities::split(text, "\n")) {
        const std::vector<std::string> words = utilities::split(line, " ");
        if (words.size() != 4)
            continue;
        const auto name = parseWhole(words[1]);
        const auto count = parseWhole(words[2]);
        const auto last = parseWhole(words[3]);
        if (!name || !count || *count < 0 || *count > most || !last || *last < 0 ||
            *last > now_.count())
            continue;
        const bool failed = *count > 0;
        std::vector<Entry> &entries = failed ? table.failures : table.successes;
        if (entries.size() == (failed ? most_lines : most_known))
            continue;
        entries.push_back({words[0], static_cast<std::uint64_t>(*name),
                           static_cast<unsigned>(*count), seconds(*last)});
        seconds &latest = newest[words[0]];
        if (failed)
            latest = std::max(latest, seconds(*last));
    }
    std::erase_if(table.failures,
                  [&](const Entry &each) { return newest[each.address] + lockout_ <= now_; });
    std::erase_if(table.successes, [&](const Entry &each) { return each.last + lately <= now_; });
    return table;
}

void LoginGuard::store(const Table &table) {
    std::string text;
    for (const auto *entries : {&table.successes, &table.failures})
        for (const Entry &each : *entries)
            text += each.address + ' ' + std::to_string(static_cast<std::int64_t>(each.name)) +
                    ' ' + std::to_string(each.count) + ' ' + std::to_string(each.last.count()) +
                    '\n';
    if (!replaceFile(appliancePath(table_path), text, 0600, Durable::no))
        logRecord(Priority::error, "Failed logins can not be counted: %s: %s", table_path,
                  std::strerror(errno));
}

bool LoginGuard::Table::knows(const std::string &address, std::uint64_t name) const {
    return std::any_of(successes.begin(), successes.end(), [&](const Entry &each) {
        return each.address == address && each.name == name;
    });
}

seconds LoginGuard::waitFor(const Table &table, const std::string &address, std::uint64_t name,
                            bool known) const {
    struct Sum {
        std::uint64_t count = 0;
        seconds last = seconds::min();
        void add(const Entry &more) {
            count += more.count;
            last = std::max(last, more.last);
        }
    } ofAddress, ofName;
    for (const Entry &each : table.failures) {
        if (each.address == address)
            ofAddress.add(each);
        if (each.name == name && !table.knows(each.address, name))
            ofName.add(each);
    }
    seconds end = now_;
    if (ofAddress.count >= limit_)
        end = ofAddress.last + lockout_;
    if (!known && ofName.count >= std::uint64_t{limit_} * name_factor)
        end = std::max(end, ofName.last + std::max(lockout_ / 10, least_pause));
    return std::max(end - now_, seconds(0));
}

seconds LoginGuard::admit(const std::string &address, std::string_view name) const {
    const UniqueFd lock = lockTable();
    if (!lock)
        return seconds(0);
    Table table = load();
    std::vector<Entry> &failures = table.failures;
    const std::string key = addressKey(address);
    const std::uint64_t hash = hashOf(name);
    const bool known = table.knows(key, hash) || isInNetworks(address, networks_);
    if (const seconds wait = waitFor(table, key, hash, known); wait > seconds(0))
        return wait;
    const auto own = std::find_if(failures.begin(), failures.end(), [&](const Entry &each) {
        return each.address == key && each.name == hash;
    });
    // The newest stand last, so that the oldest are the first to go.
    Entry next = {key, hash, 1, now_};
    if (own != failures.end()) {
        next.count += own->count;
        failures.erase(own);
    } else if (failures.size() == most_lines) {
        failures.erase(failures.begin());
    }
    failures.push_back(std::move(next));
    store(table);
    return seconds(0);
}

void LoginGuard::succeeded(const std::string &address, std::string_view name) const {
    const UniqueFd lock = lockTable();
    if (!lock)
        return;
    Table table = load();
    const std::string key = addressKey(address);
    const std::uint64_t hash = hashOf(name);
    const auto isOwn = [&](const Entry &each) { return each.address == key && each.name == hash; };
    std::erase_if(table.failures, isOwn);
    std::vector<Entry> &successes = table.successes;
    std::erase_if(successes, isOwn);
    // The oldest of its own name goes first: whoever has an account pushes nobody else's out.
    const auto isOfName = [hash](const Entry &each) { return each.name == hash; };
    if (std::count_if(successes.begin(), successes.end(), isOfName) == most_known_of_name)
        successes.erase(std::find_if(successes.begin(), successes.end(), isOfName));
    else if (successes.size() == most_known)
        successes.erase(successes.begin());
    successes.push_back({key, hash, 0, now_});
    store(table);
}

} // namespace zandorin
