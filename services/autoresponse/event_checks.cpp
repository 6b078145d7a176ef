#include "services/autoresponse/check.h"
#include "services/autoresponse/line_match.h"
#include "util/fd.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/split.h"
#include "util/strings.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <set>

#include <fcntl.h>
#include <unistd.h>
#include <utmp.h>

// Checks of what people and other programs do: logins, short messages, and scripts of the
// administrator's own.

namespace zandorin::responder {

namespace {

using namespace std::chrono_literals;

/// The three boxes of both kinds of logins.
struct LoginEvents {
    LoginEvents(const Sources &sources, const std::string &key)
        : login(sources.settings.isOn(key + ".trigger_login")),
          logout(sources.settings.isOn(key + ".trigger_logout")),
          error(sources.settings.isOn(key + ".trigger_auth_error")) {}
    bool login;
    bool logout;
    bool error;
};

/// The console's own pages push their logins.
class WebLogin : public Check {
  public:
    WebLogin(Sources &sources, const std::string &key) : events_(sources, key + ".webui_login") {}

    Readings look() override {
        const auto count = namesIn(appliancePath("/var/run/.sessions"), "session-").size();
        return {eventIf(
            false, {"web", std::to_string(count) + (count == 1 ? " session" : " sessions"), ""})};
    }
    Readings hear(std::string_view key, std::string_view text) override {
        struct Event {
            std::string_view key;
            const char *words;
            bool isMeant;
        };
        const std::array events = {
            Event{"config.webui.auth_event.login", "login", events_.login},
            Event{"config.webui.auth_event.logout", "logout", events_.logout},
            Event{"config.webui.auth_event.auth_error", "authentication error", events_.error}};
        for (const Event &event : events)
            if (event.key == key) // "anna:192.0.2.7:40112"
                return {eventIf(event.isMeant,
                                {"web", event.words, std::string(text.substr(0, text.find(':')))})};
        return {};
    }

  private:
    LoginEvents events_;
};

/// The records of login(1) and sshd(8), wtmp(5), and of what they turned down, btmp.
class CliLogin : public Check {
  public:
    CliLogin(Sources &sources, const std::string &key) : events_(sources, key + ".cli_login") {}

    std::vector<std::string> watched() const override {
        return {appliancePath("/var/log/"), appliancePath(logins), appliancePath(failures)};
    }
    Readings look() override {
        Readings readings;
        const bool isFirst = std::exchange(isFirst_, false);
        for (const utmp &record : newRecords(logins, logins_, isFirst)) {
            const std::string line = textOf(record.ut_line);
            if (record.ut_type == USER_PROCESS)
                readings.push_back(
                    eventIf(events_.login, {line, "login", users_[line] = textOf(record.ut_user)}));
            else if (record.ut_type == DEAD_PROCESS && users_.contains(line))
                readings.push_back(
                    eventIf(events_.logout,
                            {line, "logout", std::exchange(users_[line], textOf(record.ut_user))}));
            if (record.ut_type == DEAD_PROCESS)
                users_.erase(line);
        }
        if (isFirst)
            readings = {eventIf(false, {"command line",
                                        std::to_string(users_.size()) +
                                            (users_.size() == 1 ? " session" : " sessions"),
                                        ""})};
        for (const utmp &record : newRecords(failures, failures_, false))
            if (!isFirst)
                readings.push_back(
                    eventIf(events_.error, {textOf(record.ut_line), "authentication error",
                                            textOf(record.ut_user)}));
        return readings;
    }

  private:
    static constexpr const char *logins = "/var/log/wtmp";
    static constexpr const char *failures = "/var/log/btmp";

    template <std::size_t size> static std::string textOf(const char (&text)[size]) {
        return {text, ::strnlen(text, size)};
    }
    /// Those after the first `seen`; with `isBegin`, the last ones of the file: of these sessions
    /// some may be open still.
    static std::vector<utmp> newRecords(const char *path, off_t &seen, bool isBegin) {
        constexpr off_t most = 1000;
        constexpr off_t length = sizeof(utmp);
        const UniqueFd file(::open(appliancePath(path).c_str(), O_RDONLY | O_CLOEXEC));
        const off_t count = file ? ::lseek(file.get(), 0, SEEK_END) / length : 0;
        if (count < seen)
            seen = 0;
        if (isBegin || count - seen > most)
            seen = std::max<off_t>(count - most, 0);
        std::vector<utmp> records;
        utmp record = {};
        for (; seen < count; ++seen)
            if (::pread(file.get(), &record, sizeof record, seen * length) == length)
                records.push_back(record);
        return records;
    }

    LoginEvents events_;
    bool isFirst_ = true;
    off_t logins_ = 0; ///< records that were seen
    off_t failures_ = 0;
    std::map<std::string, std::string> users_; ///< by their lines
};

/// Files that the SMS service puts into its folder: header lines, of which one is "From: <number>",
/// an empty line, the text.
class ShortMessage : public Check {
  public:
    ShortMessage(Sources &sources, const std::string &key)
        : senders_(utilities::split(sources.settings.get(key + ".sms.phone_number"), ", ")),
          pattern_(sources.settings.get(key + ".sms.message_pattern")) {
        for (std::string &sender : senders_)
            sender = digitsOf(sender);
    }

    std::vector<std::string> watched() const override { return {appliancePath(folder) + "/"}; }
    Readings look() override {
        if (::access(appliancePath(folder).c_str(), R_OK) != 0)
            return {failed(std::string("there is no modem: no SMS service has made ") + folder)};
        if (!pattern_.problem().empty())
            return {failed(pattern_.problem())};
        const auto names = namesIn(appliancePath(folder), "");
        Readings readings;
        if (std::exchange(isFirst_, false))
            readings.push_back(eventIf(false, {"messages", std::to_string(names.size()), ""}));
        else
            for (const std::string &name : names)
                if (!seen_.contains(name) && !name.starts_with('.'))
                    read(name, readings);
        seen_ = {names.begin(), names.end()};
        return readings;
    }

  private:
    static constexpr const char *folder = "/var/spool/sms/incoming";

    static std::string digitsOf(std::string_view number) {
        std::string digits;
        for (const char c : number)
            if (c >= '0' && c <= '9')
                digits += c;
        return digits;
    }
    void read(const std::string &name, Readings &readings) const {
        constexpr std::size_t most = 65536;
        std::string text = readFile(concat({appliancePath(folder), "/", name}), most).value_or("");
        std::erase(text, '\r');
        const auto end = text.find("\n\n");
        std::string sender;
        for (const std::string &line : utilities::split(text.substr(0, end), "\n"))
            if (line.starts_with("From:"))
                sender = trim(std::string_view(line).substr(5));
        const std::string message(trim(
            end == std::string::npos ? std::string_view() : std::string_view(text).substr(end)));
        const bool isFromThem = senders_.empty() || contains(senders_, digitsOf(sender));
        readings.push_back(eventIf(isFromThem && pattern_.matches(message),
                                   {"message", message.substr(0, 160), sender}));
    }

    std::vector<std::string> senders_;
    LineMatch pattern_;
    bool isFirst_ = true;
    std::set<std::string> seen_;
};

class Script : public Check {
  public:
    Script(Sources &sources, const std::string &key)
        : path_(sources.settings.get(key + ".custom.script")),
          interval_(sources.settings.number(key + ".custom.check_delta")),
          code_(sources.settings.number(key + ".custom.trigger_code")) {
        command_.words = {appliancePath(path_)};
        for (const std::string &argument : sources.settings.list(key + ".custom.args", "arg"))
            command_.words.push_back(argument);
        if (const int limit = sources.settings.number(key + ".custom.timeout"); limit > 0)
            command_.limit = std::chrono::seconds(limit);
    }

    std::chrono::seconds interval() const override { return interval_ > 0s ? interval_ : 60s; }
    Command command() const override { return command_; }
    Readings judge(const Ended &ended) override {
        if (ended.status < 0)
            return {failed(ended.words, path_)};
        return {yesOrNo(ended.status == code_,
                        {path_, "exit status " + std::to_string(ended.status), ended.words})};
    }

  private:
    std::string path_;
    std::chrono::seconds interval_;
    int code_;
    Command command_;
};

} // namespace

std::span<const CheckType> eventChecks() {
    static constexpr std::array types = {
        CheckType{"webui_login", make<WebLogin>},
        CheckType{"cli_login", make<CliLogin>},
        CheckType{"sms", make<ShortMessage>},
        CheckType{"custom", make<Script>},
    };
    return types;
}

} // namespace zandorin::responder
