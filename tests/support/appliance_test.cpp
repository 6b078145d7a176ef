#include "tests/support/appliance_test.h"

#include "util/files.h"
#include "util/paths.h"

#include <cstdlib>
#include <filesystem>

#include <stdlib.h>
#include <sys/stat.h>

namespace zandorin::test {

namespace fs = std::filesystem;

void ApplianceTest::SetUp() {
    ASSERT_FALSE(applianceRoot().empty());
    for (const auto &entry : fs::directory_iterator(applianceRoot()))
        fs::remove_all(entry);
}

void ApplianceTest::put(std::string_view path, std::string_view contents, mode_t mode) {
    const fs::path file = appliancePath(path);
    fs::create_directories(file.parent_path());
    ASSERT_TRUE(replaceFile(file.string(), contents, mode, Durable::no)) << path;
}

void ApplianceTest::makeFolder(std::string_view path) {
    fs::create_directories(appliancePath(path));
}

std::string ApplianceTest::get(std::string_view path) {
    return readFile(appliancePath(path)).value_or("(missing)");
}

bool ApplianceTest::exists(std::string_view path) {
    return fs::exists(appliancePath(path));
}

mode_t ApplianceTest::modeOf(std::string_view path) {
    struct stat status = {};
    return ::stat(appliancePath(path).c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

namespace {

void setVariable(const std::string &name, const char *value) {
    if (value == nullptr)
        ::unsetenv(name.c_str());
    else
        ::setenv(name.c_str(), value, 1);
}

} // namespace

ScopedEnvironment::ScopedEnvironment(std::string name, const char *value) : name_(std::move(name)) {
    if (const char *before = std::getenv(name_.c_str()))
        before_ = before;
    setVariable(name_, value);
}

ScopedEnvironment::~ScopedEnvironment() {
    setVariable(name_, before_ ? before_->c_str() : nullptr);
}

} // namespace zandorin::test
