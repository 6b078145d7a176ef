#include "util/paths.h"

#include "util/environment.h"

namespace zandorin {

namespace {

std::string readRoot() {
    std::string root(environmentVariable("ZANDORIN_ROOT"));
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
