#include "platform/libzandorin/folder_names.h"

#include "platform/libzandorin/file_stamp.h"
#include "util/files.h"
#include "util/paths.h"

#include <algorithm>
#include <ctime>

namespace zandorin::platform {

namespace {

constexpr char end = '/'; // stands in no name

/// The folder's state, and its names in order.
std::string snapshotOf(const std::string &path, std::string_view state) {
    std::string text(state);
    for (const std::string &name : namesIn(path, ""))
        (text += name) += end;
    return text;
}

} // namespace

FolderNames::FolderNames(const std::string &path, const std::string &snapshot) {
    const auto folder = FileIdentity::of(path);
    if (!folder)
        return;
    const std::string snapshotPath = appliancePath("/var/run/" + snapshot + ".snapshot");
    const std::string_view state(reinterpret_cast<const char *>(&*folder), sizeof *folder);
    text_ = readFile(snapshotPath).value_or("");
    if (!text_.starts_with(state)) {
        const std::time_t now = std::time(nullptr);
        text_ = snapshotOf(path, state);
        // A change right after the last one may look the same: then the next process looks, too.
        if (folder->isSettled(now))
            replaceFile(snapshotPath, text_, 0600, Durable::no);
    }
    for (auto rest = std::string_view(text_).substr(state.size()); !rest.empty();) {
        names_.push_back(rest.substr(0, rest.find(end)));
        rest.remove_prefix(std::min(names_.back().size() + 1, rest.size()));
    }
}

bool FolderNames::contains(std::string_view name) const {
    return std::binary_search(names_.begin(), names_.end(), name);
}

} // namespace zandorin::platform
