#include <cstdlib>
#include <filesystem>
#include <iostream>

#include <gtest/gtest.h>
#include <stdlib.h>

#include "util/log.h"

// Every run has an appliance root of its own, set before anything asks for it.
int main(int argc, char **argv) {
    ::testing::InitGoogleTest(&argc, argv);
    std::string root = (std::filesystem::temp_directory_path() / "zandorin-unit-XXXXXX").string();
    if (::mkdtemp(root.data()) == nullptr) {
        std::cerr << "cannot make " << root << "\n";
        return 1;
    }
    ::setenv("ZANDORIN_ROOT", root.c_str(), 1);
    zandorin::openLog("zandorin-tests");
    const int result = RUN_ALL_TESTS();
    std::error_code ignored;
    std::filesystem::remove_all(root, ignored);
    return result;
}
