#pragma once

#include <concepts>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin {

/// Told about every configurator that a store runs.
class ConfigManagerListener {
  public:
    virtual ~ConfigManagerListener() = default;
    virtual void configuratorStarted(const std::string &name) = 0;
    /// `started` and `ended` are seconds since the epoch.
    virtual void configuratorEnded(const std::string &name, std::time_t started,
                                   std::time_t ended) = 0;
};

/// A value that differs between two configurations; "" where there is none.
struct ConfigChange {
    std::string key;
    std::string before;
    std::string after;
};

/// The configuration store: a tree of values under dotted keys such as "config.system.name", kept
/// in one XML file (root element "config", one element a segment, the value its text).
///
/// Driven as: construct, isBroken(), read(), then look values up, set and delete, write().
/// Values are bytes of ISO-8859-1 here and UTF-8 in the file; a character above U+00FF reads as its
/// numeric reference ("&#x20ac;") and stays as it is in the file unless its key is set.
/// Until read() has succeeded every key is empty and write() fails.
class ConfigManager {
  public:
    /// `path` is the appliance's path of the committed file, "/etc/config/config.xml".
    /// The delayed area is the folder "delayed" beside it. `directory` is the folder that a
    /// relative `path` starts from.
    ConfigManager(std::string path, const std::string &directory);
    ~ConfigManager();
    ConfigManager(const ConfigManager &) = delete;
    ConfigManager &operator=(const ConfigManager &) = delete;

    /// True when the folder of the file is not there, so that nothing can be read or written.
    bool isBroken() const;

    /// Loads the delayed file when there is one and delayed mode is on, else the committed file.
    /// Sets and deletes that were not written are dropped. False when a file is missing, damaged or
    /// has another root element; nothing can be written then.
    bool read();

    /// As read(), but always the committed file, which write() then saves to at once, whatever the
    /// mode: for what acts on the committed configuration, such as configurators. A change is made
    /// in the queued configuration too where that still has the old value.
    bool readCommitted();

    /// The value of `key`; "" when there is none. A key is "config" and up to 63 segments more,
    /// joined by "."; a segment holds letters, digits, "_" and "-" and begins with a letter or "_".
    /// Any other key has no value.
    std::string getElement(std::string_view key) const;

    /// True for "on", "true", "yes" and "1" in any letter case.
    bool getBoolean(std::string_view key) const;

    /// The value as a whole number at or above 0; 0 when missing, negative, no number, or more than
    /// an unsigned holds.
    unsigned getSize(std::string_view key) const;

    /// The names of the child elements of `key`, in file order, each once.
    std::vector<std::string> getSubElements(std::string_view key) const;

    /// False when `value` has a control character that XML cannot hold: all but tab, line feed and
    /// carriage return.
    static bool canHold(std::string_view value);

    /// Sets a value; an empty one for a key that has none makes no element. Throws
    /// utilities::Exception, changing nothing, when the key is no key of the store or the store
    /// cannot hold the value (see canHold).
    void setElement(std::string_view key, std::string_view value);
    void setElement(std::string_view key, const char *value) {
        setElement(key, std::string_view(value));
    }
    /// Sets "on" or "off".
    template <std::same_as<bool> Bool> void setElement(std::string_view key, Bool value) {
        setElement(key, std::string_view(value ? "on" : "off"));
    }

    /// Deletes the element of `key` with everything below it; nothing happens when there is none.
    void delElement(std::string_view key);

    /// True when a value differs from what was read: setting what is there already, or deleting
    /// what is not there, changes nothing.
    bool isDirty() const;

    /// Saves this request's own sets and deletes, nothing else: under an exclusive lock they are
    /// applied to the file as it is by then, so two requests that change different keys both keep
    /// their change. In delayed mode (see getDelayedConfigMode) into the delayed area, together
    /// with the names scheduled so far. False when it is not known to be saved: the file is then as
    /// it was, unless only its folder could not be synced; in delayed mode, the names are
    /// forgotten.
    bool write();

    /// What is new: in delayed mode every value that the queued configuration would change; else
    /// what the last write() of this request has changed, others' changes in the same file left
    /// out. Passwords are among them. In the order of the keys.
    std::vector<ConfigChange> getChanges() const;

    /// True when the committed file's "config.delayed" was true when it was last loaded. What turns
    /// the mode on is itself saved at once; the mode holds from the next read() or write() on.
    bool getDelayedConfigMode() const;

    /// True when login passwords are kept in clear: "config.system.password" holds something that
    /// does not begin with "$".
    bool hasPlainTextPasswords() const;

    /// A factory option of the appliance by name: the value of "config.system.<name>", such as
    /// "factory_opts", a comma separated list. "" when absent.
    std::string getFactoryOption(std::string_view name) const;

    /// Role names of the network interfaces: the children of "config.interfaces" in file order.
    std::vector<std::string> getInterfaces() const;

    /// Number of serial ports: "config.ports.total".
    unsigned getSerialPortCount() const;

    /// True when /usr/lib/zandorin/configurators/<name> is an executable file; a name is letters,
    /// digits, ".", "_", "-" and does not begin with ".".
    bool hasConfigurator(const std::string &name) const;

    /// Marks a configurator to be run, once however often it is scheduled, in order of scheduling.
    void schedule(const std::string &name);

    /// True when a configurator waits to be run by this request. In delayed mode those that
    /// write() has queued do not.
    bool hasConfiguratorsScheduled() const;

    /// Runs the scheduled configurators one after the other and forgets them. Each is a child in a
    /// session of its own with /dev/null for standard input, output and error, no other descriptor,
    /// the file's path on this machine as its one argument and ZANDORIN_ROOT in its environment; it
    /// is killed after 60 seconds. Goes on after one that failed; false when any did.
    bool run();

    /// Names queued for a delayed commit, in order, each once.
    std::vector<std::string> getConfigurators() const;

    /// Makes the delayed file the committed one, schedules the queued names for this request and
    /// empties the delayed area. True also when there was nothing to commit. False when that
    /// failed; the names stay queued then, and the delayed file too, unless only a folder could not
    /// be synced: a second try runs what is left to be run.
    bool doDelayedCommit();

    /// Drops the delayed file and the queued names; the committed values are read again. False when
    /// that failed; what could not be removed is still queued.
    bool discardDelayedCommit();

    /// `listener` is not owned and must outlive the store; null for none.
    void setListener(ConfigManagerListener *listener);

  private:
    class Store;
    std::unique_ptr<Store> store_;
};

} // namespace zandorin
