#pragma once

#include "services/service.h"

#include <string>
#include <vector>

namespace zandorin::services {

/// Files of a service that are replaced together. While that is under way each old file is kept
/// beside the new one, and the journal /etc/service/.journal-<name> names them all; without a
/// journal nothing is under way. One that was closed has "-closed" behind its name until the old
/// files are gone.
class Journal {
  public:
    explicit Journal(const std::string &service);

    /// Puts the candidates of these files (see candidatePath) in their places. False, with all as
    /// it was, when that failed.
    bool swap(const std::vector<File> &files);

    /// What was swapped is what is to be.
    void close();

    /// Puts the old files back. False when there was no journal.
    bool undo();

  private:
    /// Removes the old files of a journal that was closed.
    void tidy();

    std::string path_;
    std::string closedPath_;
};

} // namespace zandorin::services
