#pragma once

#include "platform/libzandorin/config_manager.h"
#include "tests/support/testing.h"

#include <sys/types.h>

namespace zandorin::test {

namespace fs = std::filesystem;

inline constexpr const char *config_file = "/etc/config/config.xml";
inline constexpr const char *passwd = "/etc/config/passwd";
inline constexpr const char *group_file = "/etc/config/group";

/// False when the condition did not come true within ten seconds.
template <typename Condition> bool waitFor(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

/// A test on an empty appliance root: ZANDORIN_ROOT names a folder of this process, emptied before
/// each test. Paths are the appliance's.
class ApplianceTest : public ::testing::Test {
  protected:
    void SetUp() override { clear(); }
    static void clear();

    static std::string onHost(std::string_view path);
    /// Writes a file and the folders it lies in.
    static void put(std::string_view path, std::string_view contents, mode_t mode = 0600);
    /// A script of the shell, in the place of a program.
    static void putProgram(std::string_view path, std::string_view script);
    static void makeFolder(std::string_view path);
    static void remove(std::string_view path);
    /// The file's bytes; "(missing)" when it is not there.
    static std::string read(std::string_view path);
    static bool exists(std::string_view path);
    /// Permission bits, 0 when the file is not there.
    static mode_t modeOf(std::string_view path);

    /// The line of a login account; "" when there is none.
    static std::string account(const std::string &name);
    /// The second field of the account's line.
    static std::string hashOf(const std::string &name);
    static bool hasPassword(const std::string &name, const std::string &password);
};

/// The same with a configuration, which holds nothing at first.
class ConfigTest : public ApplianceTest {
  protected:
    void SetUp() override {
        clear();
        configure("");
    }
    /// Puts these elements into it; what was changed and not written is gone.
    void configure(const std::string &inside);

    ConfigManager config{config_file, "/etc/config"};
};

/// Sets an environment variable for the life of the object (null unsets it), then restores it.
class ScopedEnvironment {
  public:
    ScopedEnvironment(std::string name, const char *value);
    ~ScopedEnvironment();
    ScopedEnvironment(const ScopedEnvironment &) = delete;
    ScopedEnvironment &operator=(const ScopedEnvironment &) = delete;

  private:
    std::string name_;
    std::optional<std::string> before_;
};

} // namespace zandorin::test
