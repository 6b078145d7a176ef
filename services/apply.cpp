#include "services/apply.h"

#include "platform/libzandorin/config_manager.h"
#include "platform/libzandorin/service_state.h"
#include "services/journal.h"
#include "services/supervisor.h"
#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/process_pipe.h"
#include "util/split.h"
#include "util/strings.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <ctime>
#include <istream>
#include <iterator>
#include <thread>

#include <sys/stat.h>
#include <unistd.h>

namespace zandorin::services {

namespace {

using namespace std::chrono_literals;

constexpr mode_t folder_mode = 0755;
constexpr auto health_patience = 10s;
constexpr auto ending_patience = 3s;
constexpr auto pause = 50ms;

bool makeFolders(const std::string &path) {
    for (auto slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1))
        if (::access(path.substr(0, slash).c_str(), F_OK) != 0 &&
            !makeFolder(path.substr(0, slash), folder_mode))
            return false;
    return true;
}

/// Where the daemon's script and its output are. runit's logger keeps a few small files.
std::vector<File> supervisionFiles(const Service &service, const ConfigManager &config) {
    constexpr mode_t executable = 0755;
    if (service.run == nullptr)
        return {};
    const std::string folder = std::string("/etc/service/") + service.name;
    const std::string log = appliancePath(std::string("/var/log/services/") + service.name);
    return {{.path = folder + "/run",
             .text = "#!/bin/sh\nexec 2>&1\n" + service.run(config),
             .mode = executable},
            {.path = folder + "/log/run",
             .text = "#!/bin/sh\nmkdir -p " + shellQuote(log) + "\nexec svlogd " + shellQuote(log) +
                     "\n",
             .mode = executable}};
}

/// Everything but what is in place already.
std::vector<File> changedFiles(std::vector<File> files) {
    std::erase_if(files, [](const File &file) {
        struct stat status = {};
        const std::string path = appliancePath(file.path);
        return readFile(path) == file.text && ::stat(path.c_str(), &status) == 0 &&
               (status.st_mode & 07777) == file.mode;
    });
    return files;
}

bool writeCandidates(const std::vector<File> &files) {
    return std::all_of(files.begin(), files.end(), [](const File &file) {
        const std::string path = candidatePath(file);
        return makeFolders(path) && replaceFile(path, file.text, file.mode);
    });
}

void removeCandidates(const std::vector<File> &files) {
    for (const File &file : files)
        ::unlink(candidatePath(file).c_str());
}

bool isHealthy(const Service &service, const ConfigManager &config, pid_t process) {
    const auto end = std::chrono::steady_clock::now() + health_patience;
    do {
        const pid_t now = processOf(service.name);
        // A daemon that ends at once is started again each second, under another number.
        const bool lasts = now > 0 && now == process;
        process = now;
        if (lasts && (service.isHealthy == nullptr || service.isHealthy(config)))
            return true;
        std::this_thread::sleep_for(service.isHealthy == nullptr ? 4 * pause : pause);
    } while (std::chrono::steady_clock::now() < end);
    return false;
}

/// The daemon takes the files that are in place.
bool takeFiles(const Service &service, const ConfigManager &config, bool isNewScript) {
    const pid_t before = processOf(service.name);
    enable(service.name);
    if (before == 0)
        return isHealthy(service, config, 0);
    if (service.reload != 0 && !isNewScript)
        return signalService(service.name, service.reload) && isHealthy(service, config, before);
    return restart(service.name) && isHealthy(service, config, 0);
}

bool take(const Service &service, const ConfigManager &config, bool isNewScript) {
    const bool isTaken = takeFiles(service, config, isNewScript);
    if (isTaken && service.settle != nullptr)
        service.settle(config);
    return isTaken;
}

bool isElsewhere(const Service &service) {
    return service.isMachines && !applianceRoot().empty();
}

/// False for files alone, and for what another machine than this appliance has to do.
bool hasDaemon(const Service &service) {
    return service.run != nullptr && !isElsewhere(service);
}

/// Has the supervisor know a service that is off: it takes its time to find a new one.
void prepareFolder(const Service &service, const ConfigManager &config) {
    if (!hasDaemon(service) || ::access(serviceFolder(service.name).c_str(), F_OK) == 0)
        return;
    for (const File &file : supervisionFiles(service, config))
        if (makeFolders(appliancePath(file.path)))
            replaceFile(appliancePath(file.path), file.text, file.mode, Durable::no);
    if (disable(service.name))
        introduce(service.name);
}

/// A daemon that does not want to end is killed.
void end(const Service &service) {
    disable(service.name);
    const auto end = std::chrono::steady_clock::now() + ending_patience;
    while (processOf(service.name) > 0 && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(pause);
    signalService(service.name, SIGKILL);
}

/// The last lines that the daemon has put out.
std::string lastWords(const Service &service) {
    const auto text =
        readFile(appliancePath(std::string("/var/log/services/") + service.name + "/current"));
    const auto lines = utilities::split(text.value_or(""), "\n");
    std::string words;
    for (std::size_t i = lines.size() - std::min<std::size_t>(lines.size(), 3); i < lines.size();
         ++i)
        words += (words.empty() ? "" : "; ") + lines[i];
    return words;
}

Result judge(const Service &service, const std::vector<File> &files) {
    if (service.checker == nullptr || files.empty())
        return {.outcome = Outcome::applied};
    const std::vector<std::string> command = service.checker(files);
    if (command.empty())
        return {.outcome = Outcome::applied};
    std::string line = "exec 2>&1;";
    for (const std::string &word : command)
        line += " " + shellQuote(word);
    constexpr int patience = 10000; // milliseconds
    ipipestream checker(line, patience);
    std::string words(std::istreambuf_iterator<char>(checker), {});
    return {.outcome = checker.success() ? Outcome::applied : Outcome::refused,
            .words = std::string(trim(words))};
}

Result change(const Service &service, const ConfigManager &config, Daemons daemons) {
    Journal journal(service.name);
    const bool wasBroken = journal.undo();
    if (service.prepare != nullptr && !service.prepare(config))
        return {.outcome = Outcome::failed, .words = "Its keys could not be made."};
    if (service.isOn != nullptr && !service.isOn(config)) {
        prepareFolder(service, config);
        end(service);
        return {.outcome = Outcome::off};
    }
    std::vector<File> own = service.files(config);
    const std::vector<File> scripts = changedFiles(supervisionFiles(service, config));
    std::vector<File> files = changedFiles(own);
    files.insert(files.end(), scripts.begin(), scripts.end());
    const bool runs = !hasDaemon(service) || processOf(service.name) > 0;
    if (files.empty() && runs && !wasBroken)
        return {.outcome = Outcome::unchanged};
    // A checker may want all of them, also those that stay as they are.
    Result result{.outcome = Outcome::failed, .words = "Its files could not be written."};
    if (writeCandidates(own) && writeCandidates(scripts))
        result = judge(service, own);
    const bool isSwapped = result.outcome == Outcome::applied && journal.swap(files);
    removeCandidates(own);
    removeCandidates(scripts);
    if (result.outcome != Outcome::applied)
        return result;
    if (!isSwapped)
        return {.outcome = Outcome::failed, .words = "Its files could not be replaced."};
    if (!hasDaemon(service)) {
        if (!isElsewhere(service) && service.settle != nullptr)
            service.settle(config);
        journal.close();
        return {.outcome = isElsewhere(service) ? Outcome::elsewhere : Outcome::applied};
    }
    if (daemons == Daemons::later || ::access(appliancePath("/var/service").c_str(), W_OK) != 0) {
        enable(service.name); // without a supervisor the files are all there is
        journal.close();
        return {.outcome = Outcome::applied};
    }
    const bool isNewScript = !scripts.empty() || !runs;
    if (take(service, config, isNewScript)) {
        journal.close();
        return {.outcome = Outcome::applied};
    }
    const std::string words = lastWords(service);
    journal.undo();
    take(service, config, true);
    return {.outcome = Outcome::refused,
            .words = words.empty() ? "It did not come up." : "It did not come up: " + words};
}

void keep(const std::string &name, const Result &result) {
    ServiceHistory history = serviceHistory(name);
    const auto now = static_cast<std::int64_t>(std::time(nullptr));
    const bool isRefused = result.outcome == Outcome::refused || result.outcome == Outcome::failed;
    if (isRefused)
        history.refused = now;
    else if (result.outcome == Outcome::applied || result.outcome == Outcome::elsewhere) {
        history.changed = now;
        history.isElsewhere = result.outcome == Outcome::elsewhere;
    }
    history.words = isRefused ? result.words : "";
    keepServiceHistory(name, history);
}

} // namespace

std::string candidatePath(const File &file) {
    return appliancePath(file.path) + ".candidate";
}

Result apply(const Service &service, const ConfigManager &config, Daemons daemons) {
    const std::string lockPath = appliancePath(std::string("/etc/service/.lock-") + service.name);
    makeFolders(lockPath);
    const UniqueFd lock = lockFile(lockPath);
    if (!lock)
        return {.outcome = Outcome::failed, .words = "Another change of it does not end."};
    Result result = change(service, config, daemons);
    keep(service.name, result);
    if (result.outcome == Outcome::refused || result.outcome == Outcome::failed)
        logRecord(Priority::error, "Service '%s' did not take its settings: %s", service.name,
                  result.words.c_str());
    return result;
}

} // namespace zandorin::services
