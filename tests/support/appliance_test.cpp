#include "tests/support/appliance_test.h"

#include "util/files.h"
#include "util/paths.h"

#include <cstdlib>

#include <crypt.h>
#include <stdlib.h>
#include <sys/stat.h>

namespace zandorin::test {

void ApplianceTest::clear() {
    ASSERT_FALSE(applianceRoot().empty());
    for (const auto &entry : fs::directory_iterator(applianceRoot()))
        fs::remove_all(entry);
}

std::string ApplianceTest::onHost(std::string_view path) {
    return appliancePath(path);
}

void ApplianceTest::put(std::string_view path, std::string_view contents, mode_t mode) {
    const fs::path file = onHost(path);
    fs::create_directories(file.parent_path());
    ASSERT_TRUE(replaceFile(file.string(), contents, mode, Durable::no)) << path;
}

void ApplianceTest::putProgram(std::string_view path, std::string_view script) {
    remove(path);
    put(path, "#!/bin/sh\n" + std::string(script) + "\n", 0755);
}

void ApplianceTest::makeFolder(std::string_view path) {
    fs::create_directories(onHost(path));
}

void ApplianceTest::remove(std::string_view path) {
    fs::remove_all(onHost(path));
}

std::string ApplianceTest::read(std::string_view path) {
    return readFile(onHost(path)).value_or("(missing)");
}

bool ApplianceTest::exists(std::string_view path) {
    return fs::exists(onHost(path));
}

mode_t ApplianceTest::modeOf(std::string_view path) {
    struct stat status = {};
    return ::stat(onHost(path).c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

std::string ApplianceTest::account(const std::string &name) {
    std::istringstream lines(read(passwd));
    std::string line;
    while (std::getline(lines, line))
        if (line.starts_with(name + ":"))
            return line;
    return "";
}

std::string ApplianceTest::hashOf(const std::string &name) {
    const std::string line = account(name);
    const auto start = line.find(':') + 1;
    return line.substr(start, line.find(':', start) - start);
}

bool ApplianceTest::hasPassword(const std::string &name, const std::string &password) {
    const std::string hash = hashOf(name);
    const char *made = ::crypt(password.c_str(), hash.c_str());
    return made != nullptr && hash == made;
}

void ConfigTest::configure(const std::string &inside) {
    put(config_file, "<config>" + inside + "</config>");
    ASSERT_TRUE(config.read());
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
