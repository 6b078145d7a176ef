#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/service_state.h"
#include "services/apply.h"
#include "services/supervisor.h"
#include "util/files.h"
#include "util/json.h"
#include "util/log.h"
#include "util/split.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <sys/stat.h>

// Has the appliance's daemons do what is stored. docs/services.md has how.
//
//     zandorin-services apply            every service
//     zandorin-services apply NAME...    these
//     zandorin-services write            only the files, before the supervisor is started
//     zandorin-services page PAGE        those of a page, as its configurator calls it
//     zandorin-services status [--json]  a line for each
//     zandorin-services try NAME ATTEMPT [FILE]  such as a test mail, with values that are not
//                                        stored: keys and values in turn, each ended by a NUL
//

namespace zandorin::services {

extern const Service auto_response;
extern const Service chrony;
extern const Service conserver;
extern const Service login;
extern const Service ser2net;
extern const Service sshd;
extern const Service port_service;
extern const Service smtp;
extern const Service timezone;

std::span<const Service *const> all() {
    static constexpr std::array services = {&conserver, &port_service,  &ser2net, &sshd,    &login,
                                            &smtp,      &auto_response, &chrony,  &timezone};
    return services;
}

namespace {

using Services = std::vector<const Service *>;

Services ofPage(std::string_view page) {
    Services found;
    for (const Service *service : all()) {
        const auto pages = utilities::split(service->pages, " ");
        if (std::find(pages.begin(), pages.end(), page) != pages.end())
            found.push_back(service);
    }
    return found;
}

/// Services do not wait for each other. 0 when all took what is stored.
int applyAll(const Services &services, Daemons daemons = Daemons::now) {
    std::vector<Result> results(services.size());
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < services.size(); ++i)
        threads.emplace_back([&results, &services, daemons, i] {
            ConfigManager config("/etc/config/config.xml", ".");
            results[i] = config.readCommitted()
                             ? apply(*services[i], config, daemons)
                             : Result{.words = "The configuration could not be read."};
        });
    for (std::thread &thread : threads)
        thread.join();
    int status = 0;
    for (std::size_t i = 0; i < services.size(); ++i)
        if (results[i].outcome == Outcome::refused || results[i].outcome == Outcome::failed) {
            std::fprintf(stderr, "%s: %s\n", services[i]->name, results[i].words.c_str());
            status = 1;
        }
    return status;
}

std::string stateWords(const Service &service, const ServiceHistory &history, long seconds) {
    if (history.isElsewhere)
        return "not applied here";
    if (service.run == nullptr)
        return "files";
    return seconds < 0 ? "off" : "up " + std::to_string(seconds) + " s";
}

int showStatus(bool isJson) {
    for (const Service *service : all()) {
        const ServiceHistory history = serviceHistory(service->name);
        const long seconds = secondsUp(service->name);
        if (isJson)
            std::printf("{\"service\":%s,\"seconds\":%ld,\"changed\":%lld,\"refused\":%lld,"
                        "\"words\":%s}\n",
                        jsonString(service->name).c_str(), seconds,
                        static_cast<long long>(history.changed),
                        static_cast<long long>(history.refused), jsonString(history.words).c_str());
        else
            std::printf("%s: %s%s%s\n", service->name,
                        stateWords(*service, history, seconds).c_str(),
                        history.words.empty() ? "" : ", refused: ", history.words.c_str());
    }
    return 0;
}

/// The values of the file take the places of those that are stored, in memory alone.
bool layOver(ConfigManager &config, const std::string &path) {
    constexpr std::size_t limit = std::size_t{1024} * 1024;
    const auto text = readFile(path, limit);
    for (std::size_t at = 0; text && at < text->size();) {
        const std::string key = text->c_str() + at;
        at += key.size() + 1;
        const std::string value = at < text->size() ? text->c_str() + at : "";
        at += value.size() + 1;
        if (value.empty())
            config.delElement(key);
        else
            config.setElement(key, value);
    }
    return text.has_value();
}

int attempt(const std::string &service, const std::string &name, const std::string &path) {
    ConfigManager config("/etc/config/config.xml", ".");
    if (!config.readCommitted() || (!path.empty() && !layOver(config, path)))
        return 1;
    for (const Service *one : all())
        for (const Attempt &known : one->attempts)
            if (service == one->name && name == known.name) {
                const Tried tried = known.run(config);
                std::puts(tried.words.c_str());
                return tried.isGood ? 0 : 1;
            }
    std::fprintf(stderr, "There is no such attempt.\n");
    return 2;
}

int usage() {
    std::fputs("usage: zandorin-services apply [NAME...] | write [NAME...] | page PAGE | status "
               "[--json] | try NAME ATTEMPT [FILE]\n",
               stderr);
    return 2;
}

int run(const std::vector<std::string> &arguments) {
    if (arguments.size() < 2)
        return usage();
    if (arguments[1] == "page")
        return arguments.size() == 3 ? applyAll(ofPage(arguments[2])) : usage();
    if (arguments[1] == "status")
        return showStatus(arguments.size() > 2 && arguments[2] == "--json");
    if (arguments[1] == "try" && (arguments.size() == 4 || arguments.size() == 5))
        return attempt(arguments[2], arguments[3], arguments.size() == 5 ? arguments[4] : "");
    const Daemons daemons = arguments[1] == "write" ? Daemons::later : Daemons::now;
    if (arguments[1] != "apply" && arguments[1] != "write")
        return usage();
    Services services;
    for (const Service *service : all())
        if (arguments.size() == 2 ||
            std::find(arguments.begin() + 2, arguments.end(), service->name) != arguments.end())
            services.push_back(service);
    return services.size() + 2 < arguments.size() ? usage() : applyAll(services, daemons);
}

} // namespace

} // namespace zandorin::services

int main(int argc, char **argv) {
    ::umask(022);
    zandorin::openLog("zandorin-services");
    return zandorin::services::run({argv, argv + argc});
}
