// The core's tests run under the regional settings the environment names, as the desktop window
// does (its toolkit calls setlocale from the environment at start): the suite's second pass under
// LC_ALL=es_ES.UTF-8 then checks that no number depends on them.

#include <gtest/gtest.h>

#include <clocale>

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "");
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
