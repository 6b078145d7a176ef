#include "platform/ports/port_log.h"
#include "platform/ports/port_settings.h"
#include "services/autoresponse/check.h"
#include "services/autoresponse/line_match.h"
#include "util/paths.h"
#include "util/split.h"
#include "util/strings.h"

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <set>

#include <unistd.h>

// Checks of serial ports: who is on them and their modem signals, as the port service knows them,
// their logs, and whether their devices are there.

namespace zandorin::responder {

namespace {

using namespace std::chrono_literals;

constexpr auto state_interval = 5s;
constexpr const char *no_answer = "the service of the serial ports does not answer";

/// The check of several ports.
class PortCheck : public Check {
  public:
    PortCheck(Sources &sources, const std::string &key, const std::string &list)
        : sources_(sources) {
        for (const std::string &reference :
             sources.settings.list(key + list + ".dev_refs", "dev_ref"))
            if (const unsigned number = portNumber(reference); number > 0)
                ports_.push_back(number);
    }

  protected:
    std::string labelOf(unsigned port) const { return portLabel(sources_.settings, port); }
    /// Null where the port service does not answer for that port.
    const PortState *stateOf(unsigned port) {
        return zandorin::stateOf(sources_.portStates(), port);
    }
    const std::vector<unsigned> &ports() const { return ports_; }

  private:
    Sources &sources_;
    std::vector<unsigned> ports_;
};

class SerialLogin : public PortCheck {
  public:
    SerialLogin(Sources &sources, const std::string &key)
        : PortCheck(sources, key, ".serial.login"),
          onLogin_(sources.settings.isOn(key + ".serial_login.trigger_login")),
          onLogout_(sources.settings.isOn(key + ".serial_login.trigger_logout")) {}

    std::chrono::seconds interval() const override { return state_interval; }
    Readings look() override {
        Readings readings;
        for (const unsigned port : ports()) {
            const PortState *state = stateOf(port);
            if (state == nullptr)
                return {failed(no_answer)};
            std::multiset<std::string> now;
            for (const PortUser &user : state->users)
                now.insert(user.user.empty() ? user.from : user.user);
            const bool isFirst = !seen_.contains(port);
            const auto before = std::exchange(seen_[port], now);
            if (isFirst)
                readings.push_back(eventIf(false, {labelOf(port), usersOn(now), ""}));
            else
                compare(before, now, labelOf(port), readings);
        }
        return readings;
    }

  private:
    using Users = std::multiset<std::string>;

    static std::string usersOn(const Users &users) {
        return std::to_string(users.size()) + (users.size() == 1 ? " user" : " users");
    }
    void compare(const Users &before, const Users &now, const std::string &label,
                 Readings &readings) const {
        const auto add = [&](const Users &from, const Users &without, const char *value,
                             bool isSo) {
            std::vector<std::string> users;
            std::set_difference(from.begin(), from.end(), without.begin(), without.end(),
                                std::back_inserter(users));
            for (const std::string &user : users)
                readings.push_back(eventIf(isSo, {label, value, user}));
        };
        add(before, now, "logout", onLogout_);
        add(now, before, "login", onLogin_);
    }

    bool onLogin_;
    bool onLogout_;
    std::map<unsigned, Users> seen_;
};

class SerialSignal : public PortCheck {
  public:
    SerialSignal(Sources &sources, const std::string &key)
        : PortCheck(sources, key, ".serial.signal"),
          signal_(sources.settings.get(key + ".serial_signal.signal")),
          onChange_(sources.settings.isOn(key + ".serial_signal.trigger_change")),
          level_(sources.settings.get(key + ".serial_signal.trigger_value") == "1") {}

    std::chrono::seconds interval() const override { return state_interval; }
    Readings look() override {
        Readings changes;
        std::optional<Reading> shown;
        for (const unsigned port : ports()) {
            const PortState *state = stateOf(port);
            if (state == nullptr)
                return {failed(no_answer)};
            // Pseudo-terminals count nothing and raise nothing.
            if (!state->received && state->signals.empty())
                return {failed("the line has no modem signals", labelOf(port))};
            const bool isOn = contains(utilities::split(state->signals, " "), signal_);
            const Occasion what = {labelOf(port), signal_ + (isOn ? " on" : " off"), ""};
            const auto seen = seen_.insert({port, isOn});
            if (onChange_)
                changes.push_back(eventIf(seen.first->second != isOn, what));
            else if (!shown || isOn == level_)
                shown = yesOrNo(isOn == level_, what);
            seen.first->second = isOn;
        }
        return shown ? Readings{*shown} : changes;
    }

  private:
    std::string signal_;
    bool onChange_;
    bool level_;
    std::map<unsigned, bool> seen_;
};

class SerialPattern : public PortCheck {
  public:
    SerialPattern(Sources &sources, const std::string &key)
        : PortCheck(sources, key, ".serial.pattern"),
          pattern_(sources.settings.get(key + ".serial_pattern.pattern")),
          onTyped_(sources.settings.isOn(key + ".serial_pattern.trigger_tx")),
          onReceived_(sources.settings.isOn(key + ".serial_pattern.trigger_rx")),
          disconnects_(sources.settings.isOn(key + ".serial_pattern.disconnect")) {}

    std::vector<std::string> watched() const override {
        std::vector<std::string> paths = {appliancePath("/var/log/ports/")};
        for (const unsigned port : ports())
            paths.push_back(portLogPath(port));
        return paths;
    }
    Readings look() override {
        if (!pattern_.problem().empty())
            return {failed(pattern_.problem())};
        Readings readings;
        for (const unsigned port : ports()) {
            if (const auto at = read_.find(port); at != read_.end())
                follow(port, at->second, readings);
            else
                begin(port, readings);
        }
        return readings;
    }

  private:
    /// From the end of the log on: what is in it has been so before.
    void begin(unsigned port, Readings &readings) {
        constexpr std::size_t most = 4096;
        const auto end =
            readLogBefore(portLogPath(port), std::numeric_limits<std::uint64_t>::max(), most);
        read_[port] = end ? end->size : 0;
        readings.push_back(
            end ? eventIf(false, {labelOf(port), "waiting for the pattern", ""})
                : eventIf(false, {labelOf(port), "nothing has been logged of this port", ""}));
    }
    void follow(unsigned port, std::uint64_t &from, Readings &readings) {
        constexpr std::size_t most = std::size_t{64} * 1024;
        constexpr int pieces = 16; // more is left out: a device that puts out so much says nothing
        for (int piece = 0; piece < pieces; ++piece) {
            const auto part = readLogAfter(portLogPath(port), from, most);
            if (!part)
                return;
            const auto end = part->text.rfind('\n');
            const bool isLong = part->text.size() == most && end == std::string::npos;
            const std::size_t taken = isLong ? most : end == std::string::npos ? 0 : end + 1;
            from = part->from + taken;
            for (const std::string &line :
                 utilities::split(readableLog(part->text.substr(0, taken), false), "\n"))
                read(port, line, readings);
            if (part->to == part->size)
                return;
        }
        if (const auto end =
                readLogBefore(portLogPath(port), std::numeric_limits<std::uint64_t>::max(), 1))
            from = end->size;
    }
    void read(unsigned port, const std::string &line, Readings &readings) const {
        std::string text = line;
        std::string user;
        const bool isNotice = line.starts_with("[-- ");
        if (isNotice) { // "[-- anna typed `reboot' -- Tue Nov 24 ..."
            constexpr std::string_view before = " typed `";
            const auto typed = line.find(before);
            const auto end = line.rfind("' -- ");
            if (typed == std::string::npos || end == std::string::npos ||
                end < typed + before.size())
                return;
            user = line.substr(4, typed - 4);
            text = line.substr(typed + before.size(), end - typed - before.size());
        }
        if (!(isNotice ? onTyped_ : onReceived_) || !pattern_.matches(text))
            return;
        constexpr std::size_t most = 200;
        readings.push_back(eventIf(true, {labelOf(port), text.substr(0, most), user}));
        if (disconnects_)
            disconnect(port);
    }
    static void disconnect(unsigned port) {
        const auto states = zandorin::portStates();
        const PortState *state = zandorin::stateOf(states, port);
        if (state == nullptr)
            return;
        for (const PortUser &user : state->users)
            if (!user.user.empty())
                disconnectPortUser(user.user, port);
    }

    LineMatch pattern_;
    bool onTyped_;
    bool onReceived_;
    bool disconnects_;
    std::map<unsigned, std::uint64_t> read_; ///< bytes of the logs
};

class UsbConsole : public PortCheck {
  public:
    UsbConsole(Sources &sources, const std::string &key)
        : PortCheck(sources, key, ".usb_console_status"),
          onConnect_(sources.settings.isOn(key + ".usb_console_status.trigger_connect")),
          onDisconnect_(sources.settings.isOn(key + ".usb_console_status.trigger_disconnect")) {}

    std::vector<std::string> watched() const override {
        return ports().empty()
                   ? std::vector<std::string>{}
                   : std::vector{serialDevice(1).substr(0, serialDevice(1).rfind('/')) + "/"};
    }
    Readings look() override {
        using Kind = Reading::Kind;
        Readings readings;
        for (const unsigned port : ports()) {
            const bool isThere = ::access(serialDevice(port).c_str(), F_OK) == 0;
            const bool isMeant = isThere ? onConnect_ : onDisconnect_;
            const auto seen = seen_.insert({port, isThere});
            const bool hasChanged = std::exchange(seen.first->second, isThere) != isThere;
            if (seen.second ? isMeant : hasChanged && isMeant)
                meant_.insert(port);
            else if (hasChanged)
                meant_.erase(port);
            if (!seen.second && !hasChanged)
                continue;
            Reading reading{.what = {labelOf(port), isThere ? "connected" : "disconnected", ""}};
            if (hasChanged && isMeant) {
                reading.kind = Kind::no; // what was so before is over
                readings.push_back(reading);
                reading.kind = Kind::yes;
            }
            readings.push_back(reading);
        }
        if (!readings.empty() && meant_.empty())
            readings.back().kind = Kind::no;
        return readings;
    }

  private:
    bool onConnect_;
    bool onDisconnect_;
    std::map<unsigned, bool> seen_;
    std::set<unsigned> meant_; ///< ports in a state that triggers
};

} // namespace

std::span<const CheckType> portChecks() {
    static constexpr std::array types = {
        CheckType{"serial_login", make<SerialLogin>},
        CheckType{"serial_signal", make<SerialSignal>},
        CheckType{"serial_pattern", make<SerialPattern>},
        CheckType{"usb_console_status", make<UsbConsole>},
    };
    return types;
}

} // namespace zandorin::responder
