#pragma once

#include <span>
#include <string>
#include <vector>

#include <sys/types.h>

namespace zandorin {
class ConfigManager;
}

// A service: a daemon that acts on what is stored. One file of this folder each; main.cpp has them
// in one table. docs/services.md has the road that a change takes.

namespace zandorin::services {

/// A file that a service's daemon reads, written from the configuration.
struct File {
    std::string path; ///< of the appliance, as in "/etc/conserver/conserver.cf"
    std::string text;
    mode_t mode = 0600;
};

/// Where a new file is while it is being judged: a path of this machine.
std::string candidatePath(const File &file);

/// What came of an attempt.
struct Tried {
    bool isGood = false;
    std::string words; ///< what the other side said; raw
};

/// Something that is tried with a page's settings, which need not be stored yet: a test mail.
struct Attempt {
    const char *name;
    /// What the page asked for besides is below "config.try". Answers within ten seconds.
    Tried (*run)(const ConfigManager &config);
};

struct Service {
    const char *name; ///< of its folder below /etc/service, and in messages
    /// Configurators, by page ids, that run it, separated by blanks.
    const char *pages;
    /// False while nothing needs the daemon: it is ended then. Null: it is always needed.
    bool (*isOn)(const ConfigManager &config) = nullptr;
    /// Everything that it reads, its run script excepted. Throws nothing; an empty list is fine.
    std::vector<File> (*files)(const ConfigManager &config);
    /// Commands for a shell, each on a line, that the supervisor runs as the daemon: in the
    /// foreground, with its output on standard output. Null: files alone, that others read.
    std::string (*run)(const ConfigManager &config) = nullptr;
    /// The daemon's own check of the new files; {} when it has none. Exit status 0 is yes, what it
    /// prints otherwise is the refusal.
    std::vector<std::string> (*checker)(const std::vector<File> &files) = nullptr;
    /// The signal that has it read its files again; 0: it is started again.
    int reload = 0;
    /// False while it does not answer yet; null: running is enough.
    bool (*isHealthy)(const ConfigManager &config) = nullptr;
    /// Done once the daemon has taken its files, for what they cannot say to it; null: nothing.
    void (*settle)(const ConfigManager &config) = nullptr;
    /// Done before anything else, such as making keys.
    bool (*prepare)(const ConfigManager &config) = nullptr;
    /// It is the machine's own, as addresses are: below another appliance root its files are made
    /// and judged, and nothing else is done.
    bool isMachines = false;
    std::span<const Attempt> attempts = {};
};

/// All of them, in the order in which they are started.
std::span<const Service *const> all();

} // namespace zandorin::services
