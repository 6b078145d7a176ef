#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zandorin {

class ConfigManager;

/// Slows the guessing of passwords down. Counts failed web logins by address and name, in
/// /var/run/.logins, which every login's process reads and writes under a lock. Other ways to log
/// in, the serial console first of all, know nothing of it.
///
/// - An address with `limit` failed logins, under whatever names, is shut out until `lockout` has
///   gone by since the last of them. Of an IPv6 address the network (/64) counts.
/// - A name with ten times as many, from whatever addresses, gets one try in a tenth of that time
///   (a minute at least): guesses from many addresses are slow, and whoever makes them can not
///   shut the name's owner out for good.
/// - An address from which the name logged in within the last seven days, and the networks of
///   `networks`, are not counted with the others of that name: only what fails from the address
///   itself shuts it out. Eight addresses of a name are remembered, until the system starts again.
/// - A login that succeeds takes back the failures of its name from its address, and no others:
///   an account of one's own does not buy guesses at another.
///
/// What is refused is not counted. Time is that since the start of the system, so that nothing
/// depends on the clock. A name is kept as a hash, since what is typed there may be a password. The
/// file holds at most 512 lines of failures and 256 of successes; the oldest go first.
class LoginGuard {
  public:
    using seconds = std::chrono::seconds;

    /// `now` is the time since the system started.
    LoginGuard(unsigned limit, seconds lockout, seconds now, std::string networks = "")
        : limit_(limit), lockout_(lockout), now_(now), networks_(std::move(networks)) {}
    /// As the configuration (config.bfprotection) and the system say.
    explicit LoginGuard(const ConfigManager &config);

    /// True when the configuration asks for protection at all.
    static bool isEnabled(const ConfigManager &config);

    /// Asks for a try. 0: it may be made, and counts as failed until it succeeds, so that several
    /// at once do not get past the limit. Otherwise the time until one may be made. Where the file
    /// can not be used, that is logged, and every try may be made.
    seconds admit(const std::string &address, std::string_view name) const;
    /// The try succeeded.
    void succeeded(const std::string &address, std::string_view name) const;

  private:
    struct Entry {
        std::string address;
        std::uint64_t name; ///< hash
        unsigned count;     ///< of failures; 0 of a success
        seconds last;
    };
    struct Table {
        std::vector<Entry> failures;
        std::vector<Entry> successes;
        bool knows(const std::string &address, std::uint64_t name) const;
    };

    Table load() const;
    static void store(const Table &table);
    seconds waitFor(const Table &table, const std::string &address, std::uint64_t name,
                    bool known) const;

    unsigned limit_;
    seconds lockout_;
    seconds now_;
    std::string networks_; ///< as isInNetworks takes them
};

} // namespace zandorin
