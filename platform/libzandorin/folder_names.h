#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zandorin::platform {

/// The names in a folder, at the price of reading one small file.
class FolderNames {
  public:
    /// Of the folder `path` (of this machine), from the snapshot /var/run/<snapshot>.snapshot when
    /// that is one of this very state of the folder; otherwise the folder is read, and a snapshot
    /// left for the next process. No names when it cannot be read.
    FolderNames(const std::string &path, const std::string &snapshot);

    bool contains(std::string_view name) const;

    FolderNames(const FolderNames &) = delete;
    FolderNames &operator=(const FolderNames &) = delete;

  private:
    std::string text_; // a state of the folder, and its names, each with an end
    std::vector<std::string_view> names_;
};

} // namespace zandorin::platform
