// The main function of every test program: GoogleTest plus per-test
// isolation of the environment.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace kel::test {
void installIsolation();
}

int main(int argc, char** argv) {
    // The Wine launcher of the cross build (cmake/wine-run.sh) tells a
    // program that Wine could not start from one that started and failed
    // by this file.
    if (const char* started = std::getenv("KEL_TEST_STARTED")) {
        if (std::FILE* file = std::fopen(started, "w"))
            std::fclose(file);
    }
    ::testing::InitGoogleTest(&argc, argv);
    kel::test::installIsolation();
    return RUN_ALL_TESTS();
}
