#include <Common/String/VQStringId.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <type_traits>

TEST(VQStringId, KeepsItsNumber)
{
    for (const long nId : {0L, 1L, -1L, 70000L, 2147483647L})
        EXPECT_EQ(CVQStringId(nId).GetId(), nId);
}

TEST(VQStringId, CopiesAndAssigns)
{
    const CVQStringId oFirst(7);
    CVQStringId oSecond(oFirst);
    EXPECT_EQ(oSecond.GetId(), 7);

    CVQStringId& oReturned = oSecond = 12;
    EXPECT_EQ(&oReturned, &oSecond);
    EXPECT_EQ(oSecond.GetId(), 12);
    EXPECT_EQ(oFirst.GetId(), 7);

    oSecond = oFirst;
    EXPECT_EQ(oSecond.GetId(), 7);
}

TEST(VQStringId, HoldsOneNumberBehindItsTable)
{
    EXPECT_TRUE(std::has_virtual_destructor_v<CVQStringId>);
    EXPECT_EQ(sizeof(CVQStringId), 2 * sizeof(void*));

    const CVQStringId oId(0x12345678);
    std::int32_t nStored = 0;
    std::memcpy(&nStored, reinterpret_cast<const char*>(&oId) + sizeof(void*), sizeof nStored);
    EXPECT_EQ(nStored, 0x12345678);
}
