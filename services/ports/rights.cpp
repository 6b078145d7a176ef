#include "services/ports/rights.h"

#include "cgi/session.h"
#include "cgi/session_activity.h"
#include "cgi/session_file.h"
#include "platform/libzdsupport/roles.h"
#include "platform/ports/port_access.h"
#include "platform/ports/port_settings.h"
#include "settings/records.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>
#include <chrono>
#include <ctime>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zandorin::ports {

namespace {

constexpr const char *config_path = "/etc/config/config.xml";

std::string stampOf(const std::string &path) {
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0)
        return "";
    return std::to_string(status.st_ino) + " " + std::to_string(status.st_size) + " " +
           std::to_string(status.st_mtim.tv_sec) + "." + std::to_string(status.st_mtim.tv_nsec);
}

/// The number in "port3"; 0 for what is none.
unsigned portIn(std::string_view target) {
    constexpr std::string_view prefix = "port";
    if (!target.starts_with(prefix))
        return 0;
    const auto number = parseWhole(target.substr(prefix.size()));
    return number && *number > 0 && *number < 10000 ? static_cast<unsigned>(*number) : 0;
}

/// What is handed to a command as an address is none of its options.
bool isHost(std::string_view text) {
    return !text.empty() && text.front() != '-' &&
           std::all_of(text.begin(), text.end(), [](char c) {
               return isAlphanumeric(c) || c == '.' || c == '-' || c == ':';
           });
}

} // namespace

Rights::Rights() : config_(config_path, ".") {
    refresh();
}

bool Rights::refresh() {
    const std::string stamp = stampOf(appliancePath(config_path));
    if (stamp == stamp_)
        return false;
    stamp_ = stamp;
    config_.readCommitted();
    return true;
}

std::string Rights::refusal(Grant &grant) const {
    utilities::Roles roles;
    if (roles_add_from_user(roles.handle(), grant.user.c_str(), config_) != 0)
        return "This account is not in use.";
    if (grant.target == "shell")
        return roles_has(roles.get(), "admin") ? "" : "The shell is for administrators.";
    if (const auto slash = grant.target.find('/'); slash != std::string::npos) {
        const settings::RecordList slaves("config.slaves", "slave");
        const auto slave = slaves.find(config_, ".name", grant.target.substr(0, slash));
        grant.console = grant.target.substr(slash + 1);
        grant.master = slave ? config_.getElement(slaves.keyOf(*slave) + ".address") : "";
        const bool mayUse = roles_has(roles.get(), "admin") || roles_has(roles.get(), "ports");
        return mayUse && isHost(grant.master) && portIn(grant.console) > 0
                   ? ""
                   : "There is no such port.";
    }
    grant.console = grant.target;
    grant.port = portIn(grant.target);
    if (!mayUsePort(config_, grant.user, grant.port))
        return "There is no such port among yours.";
    const PortSettings port = portSettings(config_, grant.port);
    grant.logsTyped = port.log == PortLog::both;
    grant.logsEvents = port.log == PortLog::connections;
    grant.idleMinutes = port.idleMinutes;
    return port.mode == PortMode::console ? "" : "This port has no terminal in its present mode.";
}

bool isLive(const Grant &grant) {
    if (grant.session.empty())
        return true;
    const auto session = readSessionRecord(grant.session, std::chrono::milliseconds(0));
    // One that is being written at this moment is there.
    if (!session)
        return ::access(sessionPath(grant.session).c_str(), F_OK) == 0;
    const auto activity = SessionActivity::load();
    const std::int64_t end = activity ? activity->expiryOf(*session) : session->expiryTime;
    return session->authState == Session::state_authenticated && session->username == grant.user &&
           end > std::time(nullptr);
}

bool maySpeakFor(uid_t uid, const std::string &user) {
    if (uid == 0 || uid == ::geteuid())
        return true;
    const passwd *account = ::getpwnam(user.c_str());
    return account != nullptr && account->pw_uid == uid;
}

} // namespace zandorin::ports
