#include "services/journal.h"

#include "util/files.h"
#include "util/paths.h"
#include "util/split.h"

#include <cerrno>

#include <unistd.h>

namespace zandorin::services {

namespace {

// A line of the journal: whether there was a file before, and its path of the appliance.
constexpr char was_there = '+';
constexpr char was_not = '-';

std::string keptPath(const std::string &path) {
    return path + ".before";
}

bool keep(const std::string &path) {
    ::unlink(keptPath(path).c_str());
    return ::link(path.c_str(), keptPath(path).c_str()) == 0;
}

} // namespace

Journal::Journal(const std::string &service)
    : path_(appliancePath("/etc/service/.journal-" + service)), closedPath_(path_ + "-closed") {}

bool Journal::swap(const std::vector<File> &files) {
    std::string lines;
    for (const File &file : files) {
        const std::string path = appliancePath(file.path);
        const bool isThere = ::access(path.c_str(), F_OK) == 0;
        if (isThere && !keep(path))
            return false;
        lines += (isThere ? was_there : was_not) + file.path + '\n';
    }
    // From here on whoever comes next takes the change back.
    if (!replaceFile(path_, lines, 0600))
        return false;
    for (const File &file : files)
        if (!moveFile(candidatePath(file), appliancePath(file.path))) {
            undo();
            return false;
        }
    return true;
}

void Journal::close() {
    moveFile(path_, closedPath_); // from here on the change is made
    tidy();
}

void Journal::tidy() {
    const auto lines = readFile(closedPath_);
    if (!lines)
        return;
    for (const std::string &line : utilities::split(*lines, "\n"))
        ::unlink(keptPath(appliancePath(line.substr(1))).c_str());
    removeFile(closedPath_);
}

bool Journal::undo() {
    tidy();
    const auto lines = readFile(path_);
    if (!lines)
        return false;
    for (const std::string &line : utilities::split(*lines, "\n")) {
        const std::string path = appliancePath(line.substr(1));
        ::unlink((path + ".candidate").c_str());
        if (line.front() == was_there)
            moveFile(keptPath(path), path); // not there any more: it was put back already
        else
            removeFile(path);
    }
    removeFile(path_);
    return true;
}

} // namespace zandorin::services
