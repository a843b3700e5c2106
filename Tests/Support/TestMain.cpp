#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>

int main(int argc, char** argv) {
    if (std::setlocale(LC_ALL, "C.UTF-8") == nullptr) {
        std::fputs("The locale C.UTF-8 is missing on this system.\n", stderr);
        return 2;
    }
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
