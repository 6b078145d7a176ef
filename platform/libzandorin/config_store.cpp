#include "platform/libzandorin/config_store.h"

#include "platform/libzandorin/config_diff.h"
#include "platform/libzandorin/config_text.h"
#include "platform/libzandorin/config_tree.h"
#include "util/files.h"
#include "util/log.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace zandorin {

using namespace platform;

namespace {

bool isDelayedOn(const XmlImage &values) {
    return isTrue(valueOf(values, "config.delayed"));
}

void makeEdits(XmlNode &root, const std::vector<ConfigEdit> &edits) {
    for (const ConfigEdit &edit : edits) {
        if (edit.text)
            setElementText(root, edit.key, utf8FromLatin1(*edit.text));
        else
            removeElement(root, edit.key);
    }
}

/// True also when it cannot be told, so that opening the file tells why.
bool isThere(const std::string &path) {
    return ::access(path.c_str(), F_OK) == 0 || errno != ENOENT;
}

/// Answers `done`, with a log record when it is false.
bool logged(bool done, const char *what, const std::string &path) {
    if (!done)
        logRecord(Priority::error, "Failed to %s: %s: %s", what, path.c_str(),
                  std::strerror(errno));
    return done;
}

} // namespace

ConfigManager::Store::Store(std::string path)
    : committed_(std::move(path)), folder_(committed_.substr(0, committed_.rfind('/'))),
      area_(folder_ + "/delayed"), delayed_(area_ + "/config.xml"),
      queue_(area_ + "/configurators"), lock_(folder_ + "/.config.lock") {}

std::optional<ConfigManager::Store::State> ConfigManager::Store::load() const {
    // Readers take no lock. A commit between the two files makes the first one stale: start again.
    for (int attempt = 0; attempt < 10; ++attempt) {
        auto committed = loadConfigFile(committed_, "config");
        if (!committed)
            return std::nullopt;
        const bool delayedMode = !committedOnly_ && isDelayedOn(committed->image);
        State state{std::move(committed->image), delayedMode, std::move(committed->stamp), {}};
        if (!delayedMode)
            return state;
        if (isThere(delayed_)) {
            auto delayed = loadConfigFile(delayed_, "config-delayed");
            if (delayed) {
                state.values = std::move(delayed->image);
                state.delayed = std::move(delayed->stamp);
                return state;
            }
            if (errno != ENOENT)
                return std::nullopt;
        } else if (state.committed.holds(committed_)) {
            return state;
        }
    }
    logRecord(Priority::error, "The configuration does not come to rest: %s", committed_.c_str());
    return std::nullopt;
}

bool ConfigManager::Store::isCurrent(const State &state) const {
    if (!state.committed.holds(committed_))
        return false;
    if (!state.delayedMode)
        return true;
    return state.delayed ? state.delayed->holds(delayed_) : !isThere(delayed_);
}

bool ConfigManager::Store::read(bool committedOnly) {
    committedOnly_ = committedOnly;
    changes.clear();
    state_ = load();
    return state_.has_value();
}

bool ConfigManager::Store::write() {
    const bool done = save();
    if (!done && delayedMode())
        scheduled.clear();
    return done;
}

bool ConfigManager::Store::save() {
    if (!state_)
        return false;
    const UniqueFd lock = lockStore(lock_);
    if (!lock)
        return false;
    // The edits are this request's own, told against what it has seen; they go into what stands
    // in the file by now. What was read is kept until the new file stands.
    const std::vector<ConfigEdit> edits = changes.edits(state_->values);
    std::optional<State> fresh;
    if (!isCurrent(*state_)) {
        fresh = load();
        if (!fresh)
            return false;
    }
    const State &before = fresh ? *fresh : *state_;
    const bool delayedMode = before.delayedMode;
    std::optional<XmlImage> after;
    if (edits.empty()) {
        if (delayedMode && !saveDelayed(nullptr))
            return false;
    } else {
        auto document = loadConfigDocument(before.delayed ? delayed_ : committed_);
        if (!document)
            return false;
        makeEdits(document->root, edits);
        after.emplace(document->root);
        if (delayedMode ? !saveDelayed(&*document)
                        : !saveCommitted(before.values, *document, isDelayedOn(*after), edits))
            return false;
    }

    std::vector<std::string_view> keys;
    keys.reserve(edits.size());
    for (const ConfigEdit &edit : edits)
        keys.push_back(edit.key);
    written_ = after ? differences(before.values, *after, keys) : std::vector<ConfigChange>();
    if (fresh)
        state_ = std::move(fresh);
    if (after)
        state_->values = std::move(*after);
    changes.clear();
    if (delayedMode)
        state_->delayed = FileStamp::take(delayed_);
    else if (isDelayedOn(state_->values))
        state_->committed = FileStamp(); // the next write is a delayed one and must load again
    else
        state_->committed = FileStamp::take(committed_).value_or(FileStamp());
    return true;
}

std::vector<ConfigChange> ConfigManager::Store::newValues() const {
    if (!state_ || !state_->delayed)
        return written_;
    const auto committed = loadConfigFile(committed_, "config");
    return committed ? differences(committed->image, state_->values, {"config"}) : written_;
}

bool ConfigManager::Store::saveCommitted(const XmlImage &before, const XmlDocument &document,
                                         bool delayedFromNowOn,
                                         const std::vector<ConfigEdit> &edits) {
    if (delayedFromNowOn) {
        // What is queued stays queued, but a delayed file left over from earlier would come to life
        // with the mode.
        const bool ready = isDelayedOn(before) ? carryOver(before, edits)
                                               : logged(removeFile(delayed_), "remove", delayed_);
        if (!ready)
            return false;
    }
    return saveConfigFile(committed_, document);
}

bool ConfigManager::Store::carryOver(const XmlImage &before, const std::vector<ConfigEdit> &edits) {
    // A damaged file is refused by whoever wants to commit it.
    auto queued = isThere(delayed_) ? loadConfigDocument(delayed_) : std::nullopt;
    if (!queued)
        return true;
    const XmlImage values(queued->root);
    std::vector<ConfigEdit> inherited;
    for (const ConfigEdit &edit : edits)
        if (valueOf(values, edit.key) == valueOf(before, edit.key))
            inherited.push_back(edit);
    makeEdits(queued->root, inherited);
    return inherited.empty() || saveConfigFile(delayed_, *queued);
}

bool ConfigManager::Store::saveDelayed(const XmlDocument *document) {
    if (document == nullptr && scheduled.empty())
        return true;
    std::vector<std::string> names = readQueue(queue_);
    for (const std::string &name : scheduled)
        addOnce(names, name);
    // Every queued change has a name, or the user would not be told that something waits.
    if (scheduled.empty())
        addOnce(names, "config");
    // The names come first: a crash in between leaves one too many, which does no harm.
    const bool done = logged(makeFolder(area_, 0700), "make", area_) && saveQueue(queue_, names) &&
                      (document == nullptr || saveConfigFile(delayed_, *document));
    // Queued or lost with the change: nothing runs before a commit.
    scheduled.clear();
    return done;
}

bool ConfigManager::Store::doDelayedCommit() {
    const UniqueFd lock = lockStore(lock_);
    if (!lock)
        return false;
    // A delayed file that is damaged does not load, and so never becomes the committed one.
    if (!state_ || !isCurrent(*state_))
        state_ = load();
    if (!state_)
        return false;
    if (!state_->delayedMode)
        return true; // another request has committed and ended the mode
    if (state_->delayed) {
        if (!logged(moveFile(delayed_, committed_), "commit", delayed_))
            return false;
        state_->committed = std::move(*state_->delayed);
        state_->delayed.reset();
        state_->delayedMode = isDelayedOn(state_->values);
    }
    // The list goes last: after a crash before that, the next commit runs what it names.
    for (const std::string &name : readQueue(queue_))
        addOnce(scheduled, name);
    logged(removeFile(queue_), "remove", queue_);
    return true;
}

bool ConfigManager::Store::discardDelayedCommit() {
    {
        const UniqueFd lock = lockStore(lock_);
        if (!lock || !logged(removeFile(delayed_), "remove", delayed_) ||
            !logged(removeFile(queue_), "remove", queue_))
            return false;
    }
    return read(committedOnly_);
}

} // namespace zandorin
