#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <sys/types.h>

namespace zandorin::test {

/// A test on an empty appliance root: ZANDORIN_ROOT names a folder of this process, emptied before
/// each test. Paths are the appliance's.
class ApplianceTest : public ::testing::Test {
  protected:
    void SetUp() override;

    /// Writes a file and the folders it lies in.
    static void put(std::string_view path, std::string_view contents, mode_t mode = 0644);
    static void makeFolder(std::string_view path);
    /// The file's bytes; "(missing)" when it is not there.
    static std::string get(std::string_view path);
    static bool exists(std::string_view path);
    /// Permission bits, 0 when the file is not there.
    static mode_t modeOf(std::string_view path);
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
