#include "util/paths.h"

#include <cstdlib>

namespace zandorin {

namespace {

std::string readRoot() {
    const char *value = std::getenv("ZANDORIN_ROOT");
    std::string root = value == nullptr ? "" : value;
    while (!root.empty() && root.back() == '/')
        root.pop_back();
    return root;
}

} // namespace

const std::string &applianceRoot() {
    static const std::string root = readRoot();
    return root;
}

std::string appliancePath(std::string_view path) {
    std::string result = applianceRoot();
    result += path;
    return result;
}

} // namespace zandorin
