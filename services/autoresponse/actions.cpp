#include "services/autoresponse/actions.h"

#include "services/autoresponse/check.h"
#include "services/autoresponse/mail.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/split.h"
#include "util/strings.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace zandorin::responder {

namespace {

/// One action that is being started.
struct Started {
    const Settings &settings;
    const std::string &key; ///< with its type: "... .action2.email"
    const std::string &event;

    const std::string &get(const char *field) const { return settings.get(key + field); }
};

Act failedAct(std::string why) {
    return {.failure = std::move(why)};
}

bool isProgram(const std::string &path) {
    return ::access(path.c_str(), X_OK) == 0;
}

/// The first of the texts that is not empty.
std::string firstOf(std::initializer_list<std::string> texts) {
    for (const std::string &text : texts)
        if (!text.empty())
            return text;
    return "";
}

std::string withEvent(const std::string &text, const std::string &event) {
    return text.empty() ? event : text + "\n\n" + event;
}

Act mail(const Started &action) {
    if (action.get(".to_addr").empty())
        return failedAct("it has no recipient");
    return {
        .command = sendMail(
            {.to = action.get(".to_addr"),
             .subject = firstOf({action.get(".subject"),
                                 action.settings.get("config.system.smtp.subject"), action.event}),
             .body = withEvent(action.get(".body"), action.event)})};
}

/// A file for each number in the folder of the SMS service, or a mail to the gateway.
Act shortMessage(const Started &action) {
    const std::string text = firstOf({action.get(".message"), action.event});
    const auto numbers = utilities::split(action.get(".number"), ", ");
    if (const std::string &gateway = action.get(".gateway_email"); !gateway.empty())
        return {.command =
                    sendMail({.to = gateway, .subject = action.get(".number"), .body = text})};
    if (numbers.empty())
        return failedAct("it has no phone number");
    constexpr const char *folder = "/var/spool/sms/outgoing";
    const std::string path = appliancePath(folder);
    if (::access(path.c_str(), W_OK) != 0)
        return failedAct(std::string("there is no modem: no SMS service has made ") + folder);
    for (const std::string &number : numbers) {
        constexpr mode_t forService = 0660;
        const auto id = std::chrono::system_clock::now().time_since_epoch().count();
        const std::string file = concat({path, "/response-", std::to_string(id), "-",
                                         std::to_string(&number - numbers.data())});
        if (!replaceFile(file, concat({"To: ", number, "\nAlphabet: ISO\n\n", text, "\n"}),
                         forService))
            return failedAct(std::string("the message could not be handed over: ") +
                             std::strerror(errno));
    }
    return {};
}

Act trap(const Started &action) {
    const std::string program = appliancePath("/bin/send-trap");
    if (!isProgram(program))
        return failedAct("no program to send traps is installed");
    return {.command = {.words = {program, action.event}}};
}

Act nagios(const Started &action) {
    const Settings &settings = action.settings;
    const auto own = [&](const char *key) {
        return settings.get(std::string("config.system.nagios.") + key);
    };
    const std::string server = firstOf({own("nsca.server"), own("server")});
    const std::string file = appliancePath("/etc/send_nsca.cfg");
    if (!settings.isOn("config.system.nagios.nsca.enabled") || server.empty() ||
        ::access(file.c_str(), R_OK) != 0)
        return failedAct("reports to Nagios (NSCA) are off or have no server");
    const std::string host = firstOf({own("name"), settings.get("config.system.name")});
    std::string words = firstOf({action.get(".message"), action.event});
    std::replace(words.begin(), words.end(), '\t', ' ');
    std::replace(words.begin(), words.end(), '\n', ' ');
    return {.command = {
                .words = {"send_nsca", "-H", server, "-p", firstOf({own("nsca.port"), "5667"}),
                          "-c", file},
                .input = concat({host, "\t", firstOf({action.get(".name"), "auto-response"}), "\t",
                                 firstOf({action.get(".return_code"), "0"}), "\t", words, "\n"})}};
}

Act connection(const Started &action) {
    const std::string device = networkDevice(action.settings, interfaceRole(action.get(".ref")));
    const std::string &word = action.get(".action");
    if (device.empty())
        return failedAct("no network device is known of the interface");
    if (!applianceRoot().empty())
        return failedAct("network interfaces belong to the machine, which is not this appliance's");
    // ifup(8), ifdown(8)
    std::string script = word == "up" || word == "restart" ? "ifup -- \"$1\"" : "";
    if (word == "down" || word == "restart")
        script = "ifdown -- \"$1\"" + (script.empty() ? "" : "; " + script);
    if (script.empty())
        return failedAct("it does not say what to do");
    return {.command = {.words = {"/bin/sh", "-c", script, "sh", device},
                        .limit = std::chrono::seconds(60)}};
}

/// The appliance's program for outlets is the power pages' own.
Act outlet(const Started &action) {
    const std::string program = appliancePath("/bin/outlet");
    const std::string &key = action.get(".outlet");
    if (key.empty() || action.get(".action").empty())
        return failedAct("it names no outlet or does not say what to do");
    if (!isProgram(program))
        return failedAct("no program to switch outlets is installed");
    return {.command = {.words = {program, key, action.get(".action")}}};
}

Act digitalOutput(const Started &action) {
    const std::string &pin = action.get(".pin");
    const std::string &value = action.get(".value");
    const UniqueFd file(pin.empty() || pin.find('/') != std::string::npos
                            ? -1
                            : ::open(appliancePath("/sys/class/gpio/" + pin + "/value").c_str(),
                                     O_WRONLY | O_CLOEXEC));
    if (!file)
        return failedAct("there is no output " + pin + " below /sys/class/gpio");
    const std::string text = (value == "1" ? "1" : "0") + std::string("\n");
    if (::write(file.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        return failedAct(std::strerror(errno));
    return {};
}

Act script(const Started &action) {
    if (action.get(".script").empty())
        return failedAct("it names no script");
    Command command{.words = {appliancePath(action.get(".script"))}};
    for (const std::string &argument : action.settings.list(action.key + ".args", "arg"))
        command.words.push_back(argument);
    if (const int limit = action.settings.number(action.key + ".timeout"); limit > 0)
        command.limit = std::chrono::seconds(limit);
    return {.command = std::move(command)};
}

struct ActionType {
    std::string_view name;
    Act (*start)(const Started &action);
};
constexpr std::array types = {
    ActionType{"email", mail},        ActionType{"sms", shortMessage},  ActionType{"snmp", trap},
    ActionType{"nagios", nagios},     ActionType{"conman", connection}, ActionType{"rpc", outlet},
    ActionType{"dio", digitalOutput}, ActionType{"custom", script},
};

} // namespace

std::string actionKey(std::size_t rule, List list, std::size_t action) {
    return concat({"config.autoresponse.autoresponse", std::to_string(rule + 1),
                   list == List::trigger ? ".trigger_actions.action" : ".resolve_actions.action",
                   std::to_string(action + 1)});
}

std::string actionName(const Settings &settings, const std::string &key) {
    const std::string &type = settings.get(key + ".type");
    const std::string &name = settings.get(concat({key, ".", type, ".name"}));
    return name.empty() ? type : name;
}

Act act(const Settings &settings, const std::string &key, const std::string &event) {
    const std::string &name = settings.get(key + ".type");
    for (const ActionType &type : types)
        if (type.name == name)
            return type.start({settings, concat({key, ".", name}), event});
    return failedAct("there is no such action");
}

} // namespace zandorin::responder
