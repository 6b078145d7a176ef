#include "platform/libzandorin/config_manager.h"

#include "platform/libzandorin/config_store.h"
#include "platform/libzandorin/config_text.h"
#include "platform/libzandorin/configurator.h"
#include "platform/libzandorin/configurator_status.h"
#include "util/exception.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>
#include <limits>

#include <sys/stat.h>

namespace zandorin {

namespace {

constexpr std::chrono::seconds configurator_limit{60};

} // namespace

ConfigManager::ConfigManager(std::string path, const std::string &directory) {
    if (!path.starts_with('/'))
        path = directory + "/" + path;
    store_ = std::make_unique<Store>(appliancePath(path));
}

ConfigManager::~ConfigManager() = default;

bool ConfigManager::isBroken() const {
    struct stat status = {};
    return ::stat(store_->folder().c_str(), &status) != 0 || !S_ISDIR(status.st_mode);
}

bool ConfigManager::read() {
    return store_->read(false);
}

bool ConfigManager::readCommitted() {
    return store_->read(true);
}

std::string ConfigManager::getElement(std::string_view key) const {
    const platform::XmlImage *base = store_->base();
    return base != nullptr && platform::isConfigKey(key) ? store_->changes.value(*base, key) : "";
}

bool ConfigManager::getBoolean(std::string_view key) const {
    return platform::isTrue(getElement(key));
}

unsigned ConfigManager::getSize(std::string_view key) const {
    const auto number = parseWhole(getElement(key));
    const bool fits = number && *number >= 0 && *number <= std::numeric_limits<unsigned>::max();
    return fits ? static_cast<unsigned>(*number) : 0;
}

std::vector<std::string> ConfigManager::getSubElements(std::string_view key) const {
    const platform::XmlImage *base = store_->base();
    if (base == nullptr || !platform::isConfigKey(key))
        return {};
    return store_->changes.children(*base, key);
}

bool ConfigManager::canHold(std::string_view value) {
    // What XML 1.0 leaves out.
    return std::none_of(value.begin(), value.end(), [](char c) {
        return static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r';
    });
}

void ConfigManager::setElement(std::string_view key, std::string_view value) {
    // The root element is no value.
    if (!platform::isConfigKey(key) || key == "config")
        throw utilities::Exception("Invalid configuration key");
    if (!canHold(value))
        throw utilities::Exception("Control character in the value of " + std::string(key));
    if (store_->base() != nullptr)
        store_->changes.set(*store_->base(), key, value);
}

void ConfigManager::delElement(std::string_view key) {
    if (store_->base() != nullptr && platform::isConfigKey(key) && key != "config")
        store_->changes.remove(*store_->base(), key);
}

bool ConfigManager::isDirty() const {
    return store_->base() != nullptr && store_->changes.alterValues(*store_->base());
}

bool ConfigManager::write() {
    return store_->write();
}

std::vector<ConfigChange> ConfigManager::getChanges() const {
    return store_->newValues();
}

bool ConfigManager::getDelayedConfigMode() const {
    return store_->delayedMode();
}

bool ConfigManager::hasPlainTextPasswords() const {
    const std::string password = getElement("config.system.password");
    return !password.empty() && !password.starts_with('$');
}

std::string ConfigManager::getFactoryOption(std::string_view name) const {
    return getElement("config.system." + std::string(name));
}

std::vector<std::string> ConfigManager::getInterfaces() const {
    return getSubElements("config.interfaces");
}

unsigned ConfigManager::getSerialPortCount() const {
    return getSize("config.ports.total");
}

bool ConfigManager::hasConfigurator(const std::string &name) const {
    return platform::configuratorExists(name);
}

void ConfigManager::schedule(const std::string &name) {
    if (platform::isConfiguratorName(name))
        platform::addOnce(store_->scheduled, name);
    else
        logRecord(Priority::error, "Not the name of a configurator: '%s'", name.c_str());
}

bool ConfigManager::hasConfiguratorsScheduled() const {
    return !store_->scheduled.empty();
}

bool ConfigManager::run() {
    bool allDone = true;
    ConfigManagerListener *listener = store_->listener;
    const std::vector<std::string> names = std::exchange(store_->scheduled, {});
    ConfiguratorStatus status(names);
    for (const std::string &name : names) {
        const std::time_t started = status.started();
        if (listener != nullptr)
            listener->configuratorStarted(name);
        const bool done = platform::runConfigurator(name, store_->path(), configurator_limit);
        allDone = allDone && done;
        const std::time_t ended = status.ended(done);
        if (listener != nullptr)
            listener->configuratorEnded(name, started, ended);
    }
    return allDone;
}

std::vector<std::string> ConfigManager::getConfigurators() const {
    return store_->queuedConfigurators();
}

bool ConfigManager::doDelayedCommit() {
    return store_->doDelayedCommit();
}

bool ConfigManager::discardDelayedCommit() {
    return store_->discardDelayedCommit();
}

void ConfigManager::setListener(ConfigManagerListener *listener) {
    store_->listener = listener;
}

} // namespace zandorin
