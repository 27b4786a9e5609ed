// A source that was compiled without assertions.

#define COMMON_NO_ASSERT
#include <Common/Debug/Log.h>

#include <gtest/gtest.h>

TEST(LogWithoutAssertions, AnExpressionIsNotEvaluated)
{
    int nEvaluated = 0;
    VQ_ASSERT(++nEvaluated == 2);
    VQ_ASSERT(++nEvaluated == 2, "with a comment");
    EXPECT_EQ(nEvaluated, 0);
}
