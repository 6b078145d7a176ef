#pragma once

#include "platform/libzandorin/config_changes.h"
#include "platform/libzandorin/config_file.h"
#include "platform/libzandorin/config_manager.h"

namespace zandorin {

/// What stands behind a ConfigManager: its files, what was read from them, this request's changes
/// and the configurators that wait. Operations are those of ConfigManager.
/// docs/configuration-store.md tells how saving works and why no update is lost.
class ConfigManager::Store {
  public:
    /// `path` is the committed file on this machine.
    explicit Store(std::string path);

    bool read(bool committedOnly);
    bool write();
    bool doDelayedCommit();
    bool discardDelayedCommit();
    std::vector<std::string> queuedConfigurators() const { return platform::readQueue(queue_); }

    std::vector<ConfigChange> newValues() const;

    /// The values that were read, null before read() has succeeded.
    const platform::XmlImage *base() const { return state_ ? &state_->values : nullptr; }
    bool delayedMode() const { return state_ && state_->delayedMode; }
    const std::string &folder() const { return folder_; }
    const std::string &path() const { return committed_; }

    platform::ConfigChanges changes;
    std::vector<std::string> scheduled;
    ConfigManagerListener *listener = nullptr;

  private:
    struct State {
        platform::XmlImage values;
        bool delayedMode; // the committed file's
        platform::FileStamp committed;
        std::optional<platform::FileStamp> delayed; // none when there was no delayed file
    };

    std::optional<State> load() const;
    bool save();
    bool isCurrent(const State &state) const;
    /// Null when only the scheduled configurators are to be queued.
    bool saveDelayed(const platform::XmlDocument *document);
    bool saveCommitted(const platform::XmlImage &before, const platform::XmlDocument &document,
                       bool delayedFromNowOn, const std::vector<platform::ConfigEdit> &edits);
    /// Makes the edits in the delayed file too, each where that file still has the value of
    /// `before`: committing it must not bring the old value back.
    bool carryOver(const platform::XmlImage &before,
                   const std::vector<platform::ConfigEdit> &edits);

    std::string committed_;
    std::string folder_;
    std::string area_; // folder of the delayed files
    std::string delayed_;
    std::string queue_;
    std::string lock_;
    std::optional<State> state_;
    std::vector<ConfigChange> written_; // by the last write to the committed file
    bool committedOnly_ = false;
};

} // namespace zandorin
