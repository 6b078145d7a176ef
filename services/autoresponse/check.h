#pragma once

#include "platform/ports/port_status.h"
#include "services/autoresponse/child.h"
#include "services/autoresponse/engine.h"
#include "services/autoresponse/rule_file.h"

#include <chrono>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin::responder {

using Readings = std::vector<Reading>;

/// What one rule watches. The first look of a check that waits for something to happen answers what
/// is so now, as Kind::nothing: only a change after that is an event.
class Check {
  public:
    virtual ~Check() = default;

    /// Between two looks; 0 for a check that has to look only when what it watches has changed.
    virtual std::chrono::seconds interval() const { return std::chrono::seconds(0); }
    /// Paths of this machine (inotify(7)): a look is due when a file's contents change, or, of a
    /// path that ends with a slash, when names come or go in that folder.
    virtual std::vector<std::string> watched() const { return {}; }
    /// The program that reads it, in place of look(); no words for none.
    virtual Command command() const { return {}; }
    virtual Readings judge(const Ended & /*ended*/) { return {}; }
    /// Never waits for more than a second.
    virtual Readings look() { return {}; }
    /// A text that another program of the appliance has pushed (platform/libzdsupport/infod.h).
    virtual Readings hear(std::string_view /*key*/, std::string_view /*text*/) { return {}; }
    /// What a restart must not forget of what was measured; raw.
    virtual std::string memory() const { return ""; }
    virtual void recall(const std::string & /*memory*/) {}
};

/// What checks share.
struct Sources {
    Settings settings = {};
    std::optional<std::vector<PortState>> ports = {};
    std::chrono::steady_clock::time_point asked = {};
    bool isDaemon =
        true; ///< false for a look beside the daemon, which must leave its counters alone

    /// The states of all serial ports, asked for at most once a second; none when the port service
    /// does not answer.
    const std::optional<std::vector<PortState>> &portStates();
};

/// The check of the rule at `key`, "config.autoresponse.autoresponse<N>"; null for a type that
/// there is not. `sources` must outlive it.
std::unique_ptr<Check> makeCheck(Sources &sources, const std::string &key);

/// A reading as a sentence.
std::string sentence(const Reading &reading);

/// How checks of one type are made: `key` is that of the rule and the beginning of theirs.
struct CheckType {
    const char *name;
    std::unique_ptr<Check> (*make)(Sources &sources, const std::string &key);
};
template <typename Made> std::unique_ptr<Check> make(Sources &sources, const std::string &key) {
    return std::make_unique<Made>(sources, key);
}
// By the file that has them.
std::span<const CheckType> portChecks();
std::span<const CheckType> networkChecks();
std::span<const CheckType> deviceChecks();
std::span<const CheckType> eventChecks();

inline Reading failed(std::string why, std::string subject = "") {
    return {.kind = Reading::Kind::failed, .what = {std::move(subject), std::move(why), ""}};
}
inline Reading yesOrNo(bool isSo, Occasion what) {
    return {.kind = isSo ? Reading::Kind::yes : Reading::Kind::no, .what = std::move(what)};
}
inline Reading eventIf(bool isSo, Occasion what) {
    return {.kind = isSo ? Reading::Kind::event : Reading::Kind::nothing, .what = std::move(what)};
}

/// The number of the serial port that a key of its settings, or a reference to it, is about; 0 when
/// it is about none.
unsigned portNumber(std::string_view key);
/// What people call the port.
std::string portLabel(const Settings &settings, unsigned port);

/// The role of the interface that a text refers to, "config.interfaces.<role>"; "" for another one.
std::string interfaceRole(const std::string &reference);
/// The network device of an interface's role; "" for "any" and for none.
std::string networkDevice(const Settings &settings, const std::string &role);
/// The first line of a file below the appliance root, trimmed; none when it cannot be read.
std::optional<std::string> firstLine(const std::string &path);

} // namespace zandorin::responder
