#include "netservice/BufferPool.h"
#include "support/Test.h"

#include <climits>

namespace {

std::string Waiting(CBufferPool& pool) {
    const int size = pool.GetDataSize();
    const char* pData = pool.GetDataBuffer(size);
    return pData ? std::string(pData, size) : "?";
}

}  // namespace

TEST(BufferPool, SenselessSizesChangeNothing) {
    CBufferPool pool;
    EXPECT_FALSE(pool.Init(0));
    pool.FreeBuffer(3);
    pool.FillBuffer(3);
    ASSERT_TRUE(pool.Init(8) && pool.PushData("abc", 3));
    for (const int len : {-1, INT_MIN, INT_MAX, 8})
        EXPECT_FALSE(pool.PushData("abcdefghijkl", len) || pool.GetDataBuffer(len) || pool.GetFreeBuffer(len)) << len;
    EXPECT_FALSE(pool.IncreaseSize(INT_MAX) || pool.IncreaseSize(-1));
    pool.FillBuffer(INT_MAX);
    EXPECT_EQ(pool.GetDataSize(), 7);
    pool.FreeBuffer(INT_MAX);
    EXPECT_EQ(pool.GetDataSize(), 0);
}

TEST(BufferPool, EqualsAQueueUnderRandomUse) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        std::mt19937 random(seed);
        CBufferPool pool;
        ASSERT_TRUE(pool.Init(40));
        std::string model;
        char next = 0;
        for (int step = 0; step < 2000; ++step) {
            const int len = static_cast<int>(random() % 25);
            const unsigned action = random() % 12;
            std::string bytes(len, '\0');
            for (char& byte : bytes) byte = ++next;
            const bool bFits = static_cast<int>(model.size()) + len <= pool.GetTotalSize();
            if (action < 5) {
                ASSERT_EQ(pool.PushData(bytes.data(), len), bFits);
                if (bFits) model += bytes;
            } else if (action < 7) {
                char* pFree = pool.GetFreeBuffer(len);
                ASSERT_EQ(pFree != nullptr, bFits);
                if (pFree) {
                    bytes.copy(pFree, len);
                    pool.FillBuffer(len);
                    model += bytes;
                }
            } else if (action < 11) {
                const int count = std::min<int>(len, static_cast<int>(model.size()));
                pool.FreeBuffer(count);
                model.erase(0, count);
            } else if (step % 50 == 0) {
                ASSERT_TRUE(pool.IncreaseSize(len + 1));
            }
            ASSERT_EQ(pool.GetDataSize(), static_cast<int>(model.size())) << seed << " " << step;
            if (random() % 4 == 0) {
                ASSERT_EQ(Waiting(pool), model) << seed << " " << step;
            }
        }
    }
}
