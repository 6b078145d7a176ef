#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/service_history.h"
#include "services/apply.h"
#include "services/supervisor.h"
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
//

namespace zandorin::services {

extern const Service auto_response;
extern const Service conserver;
extern const Service login;
extern const Service ser2net;
extern const Service sshd;
extern const Service port_service;

std::span<const Service *const> all() {
    static constexpr std::array services = {&conserver, &port_service, &ser2net,
                                            &sshd,      &login,        &auto_response};
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
                        seconds < 0 ? "off" : ("up " + std::to_string(seconds) + " s").c_str(),
                        history.words.empty() ? "" : ", refused: ", history.words.c_str());
    }
    return 0;
}

int usage() {
    std::fputs("usage: zandorin-services apply [NAME...] | write [NAME...] | page PAGE | status "
               "[--json]\n",
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
