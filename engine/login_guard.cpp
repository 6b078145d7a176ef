#include "engine/login_guard.h"

#include "platform/libzandorin/config_manager.h"
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

#include <arpa/inet.h>

namespace zandorin {

namespace {

using std::chrono::seconds;

constexpr const char *table_path = "/var/run/.logins";
constexpr const char *lock_path = "/var/run/.logins.lock";
constexpr std::size_t most_lines = 512;
constexpr std::size_t file_limit = most_lines * 100; // bytes; a line has at most 87
constexpr seconds patience(5);

constexpr unsigned default_limit = 3;
constexpr unsigned default_minutes = 60;
constexpr unsigned most = 1000000; // of both: minutes, that is two years
/// How many times the limit of an address a name has, over all addresses.
constexpr unsigned name_factor = 10;
constexpr seconds least_pause(60);

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

/// What stands for a client's address: one word. Of an IPv6 address its network of 64 bits, since
/// each client has as many addresses in it as it likes.
std::string addressKey(const std::string &address) {
    in6_addr v6 = {};
    std::string text(INET6_ADDRSTRLEN, '\0');
    if (::inet_pton(AF_INET6, address.c_str(), &v6) == 1 && !IN6_IS_ADDR_V4MAPPED(&v6)) {
        std::fill(std::begin(v6.s6_addr) + 8, std::end(v6.s6_addr), std::uint8_t{0});
        ::inet_ntop(AF_INET6, &v6, text.data(), INET6_ADDRSTRLEN);
        return text.c_str();
    }
    in_addr v4 = {};
    const auto last = address.rfind(':'); // of a mapped one
    const std::string dotted = last == std::string::npos ? address : address.substr(last + 1);
    return ::inet_pton(AF_INET, dotted.c_str(), &v4) == 1 ? dotted : "unknown";
}

/// 64-bit FNV-1a (draft-eastlake-fnv).
std::uint64_t hashOf(std::string_view text) {
    std::uint64_t hash = 0xcbf29ce484222325U;
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
    return hash;
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
          sinceStart()) {}

bool LoginGuard::isEnabled(const ConfigManager &config) {
    return config.getBoolean("config.bfprotection.enabled");
}

/// What still counts: the failures of an address until its newest is over. A line that is damaged
/// or of the future does not, it would count for ever.
std::vector<LoginGuard::Failures> LoginGuard::load() const {
    std::vector<Failures> failures;
    std::map<std::string, seconds> newest;
    const std::string text = readFile(appliancePath(table_path), file_limit).value_or("");
    for (const std::string &line : utilities::split(text, "\n")) {
        const std::vector<std::string> words = utilities::split(line, " ");
        if (words.size() != 4 || failures.size() == most_lines)
            continue;
        const auto name = parseWhole(words[1]);
        const auto count = parseWhole(words[2]);
        const auto last = parseWhole(words[3]);
        if (!name || !count || *count < 1 || *count > most || !last || *last < 0 ||
            *last > now_.count())
            continue;
        failures.push_back({words[0], static_cast<std::uint64_t>(*name),
                            static_cast<unsigned>(*count), seconds(*last)});
        seconds &latest = newest[words[0]];
        latest = std::max(latest, seconds(*last));
    }
    std::erase_if(failures,
                  [&](const Failures &each) { return newest[each.address] + lockout_ <= now_; });
    return failures;
}

void LoginGuard::store(const std::vector<Failures> &failures) {
    std::string text;
    for (const Failures &each : failures)
        text += each.address + ' ' + std::to_string(static_cast<std::int64_t>(each.name)) + ' ' +
                std::to_string(each.count) + ' ' + std::to_string(each.last.count()) + '\n';
    if (!replaceFile(appliancePath(table_path), text, 0600, Durable::no))
        logRecord(Priority::error, "Failed logins can not be counted: %s: %s", table_path,
                  std::strerror(errno));
}

seconds LoginGuard::waitFor(const std::vector<Failures> &failures, const std::string &address,
                            std::uint64_t name) const {
    struct Sum {
        std::uint64_t count = 0;
        seconds last = seconds::min();
        void add(const Failures &more) {
            count += more.count;
            last = std::max(last, more.last);
        }
    } ofAddress, ofName;
    for (const Failures &each : failures) {
        if (each.address == address)
            ofAddress.add(each);
        if (each.name == name)
            ofName.add(each);
    }
    seconds end = now_;
    if (ofAddress.count >= limit_)
        end = ofAddress.last + lockout_;
    if (ofName.count >= std::uint64_t{limit_} * name_factor)
        end = std::max(end, ofName.last + std::max(lockout_ / 10, least_pause));
    return std::max(end - now_, seconds(0));
}

seconds LoginGuard::admit(const std::string &address, std::string_view name) const {
    const UniqueFd lock = lockTable();
    if (!lock)
        return seconds(0);
    std::vector<Failures> failures = load();
    const std::string key = addressKey(address);
    const std::uint64_t hash = hashOf(name);
    if (const seconds wait = waitFor(failures, key, hash); wait > seconds(0))
        return wait;
    const auto known = std::find_if(failures.begin(), failures.end(), [&](const Failures &each) {
        return each.address == key && each.name == hash;
    });
    // The newest stand last, so that the oldest are the first to go.
    Failures own = {key, hash, 1, now_};
    if (known != failures.end()) {
        own.count += known->count;
        failures.erase(known);
    } else if (failures.size() == most_lines) {
        failures.erase(failures.begin());
    }
    failures.push_back(std::move(own));
    store(failures);
    return seconds(0);
}

void LoginGuard::succeeded(const std::string &address, std::string_view name) const {
    const UniqueFd lock = lockTable();
    if (!lock)
        return;
    std::vector<Failures> failures = load();
    const auto before = failures.size();
    std::erase_if(failures, [key = addressKey(address), hash = hashOf(name)](const Failures &each) {
        return each.address == key && each.name == hash;
    });
    if (failures.size() != before)
        store(failures);
}

} // namespace zandorin
