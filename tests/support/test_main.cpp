// The main function of every test program: GoogleTest plus per-test
// isolation of the environment.

#include <gtest/gtest.h>

namespace kel::test {
void installIsolation();
}

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    kel::test::installIsolation();
    return RUN_ALL_TESTS();
}
