#include <thread>

#include "EngineFixture.h"
#include "netservice/MultiNetDataBufferMan.h"

TEST(RingRemoval, GivesTheIdFreeAtOnceAndEndsWithQuit) {
    constexpr unsigned int ID = PLAYBACK_BUFFER_ID(9, 4);
    auto& rings = *CMultiNetDataBufferMan::Instance();
    unsigned char* pRun = nullptr;
    int len = 0;
    ASSERT_TRUE(rings.AddBuffer(ID, 65536, false) && rings.PushData(ID, {}, nullptr));
    ASSERT_TRUE(rings.GetDataBuffer(ID, pRun, len));
    std::thread remover([&] { rings.RemoveBuffer(ID); });
    EXPECT_FALSE(rings.WaitForData(ID, CWaitEvent::WAIT_FOREVER)) << "the removal has begun";
    EXPECT_TRUE(rings.AddBuffer(ID, 65536, false) && rings.PushData(ID, {}, nullptr));
    EXPECT_TRUE(rings.GetDataBuffer(ID, pRun, len)) << "a new ring";
    rings.ReleaseDataBuffer(ID, pRun, 65537);  // not the length that was taken
    rings.ReleaseDataBuffer(ID, pRun, len);
    EXPECT_EQ(rings.GetFreeBufferSize(ID), 65536);
    rings.Quit();
    remover.join();
}
