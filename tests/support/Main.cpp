#include <gtest/gtest.h>

int main(int nArguments, char** ppArguments)
{
    testing::InitGoogleTest(&nArguments, ppArguments);
    return RUN_ALL_TESTS();
}
