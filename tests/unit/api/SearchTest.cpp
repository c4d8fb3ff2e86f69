// The six families of searches: what they have in common and in what they differ.

#include "ApiTestSupport.h"
#include "main_utility/device/NetDeviceMan.h"
#include "RecordingDevice.h"
#include "unit/device/ScriptedPeer.h"

namespace {

struct FAMILY {
    std::function<POINTERHANDLE(LONG)> find;
    std::function<LONG(POINTERHANDLE)> next;  // the code, and 1000 for each number that the record bears
    BOOL (*close)(POINTERHANDLE);
    bool bMasks = false;
    bool bNumbers = false;  // of find-next and close
    DWORD openError = HLX_NETWORK_RECV_TIMEOUT, unknownUser = HLX_PARAMETER_ERROR;
};

template <class Record>
std::function<LONG(POINTERHANDLE)> Next(LONG (*next)(POINTERHANDLE, Record*)) {
    return [next](POINTERHANDLE lHandle) {
        Record record{};
        const LONG code = next(lHandle, &record);
        return code + 1000 * *reinterpret_cast<const char*>(&record);
    };
}

const DD_TIME TIME{};
const FAMILY FAMILIES[] = {
    {HLX_FindRecDate, Next(HLX_FindNextRecDate), HLX_FindRecDateClose, true, true},
    {[](LONG id) { return HLX_FindFile(id, 0, &TIME, &TIME); }, Next(HLX_FindNextFile), HLX_FindClose, true, false,
     HLX_FILE_NOFIND, HLX_FILE_NOFIND},
    {[](LONG id) { return HLX_FindTime(id, 0, &TIME, &TIME); }, Next(HLX_FindNextTime), HLX_FindTimeClose},
    {[](LONG id) { return HLX_FindEvent(id, 0, 1, &TIME, &TIME); }, Next(HLX_FindNextEvent), HLX_FindEventClose},
    {[](LONG id) { return HLX_FindDVRLog(id, 1, &TIME, &TIME); }, Next(HLX_FindNextLog), HLX_FindLogClose},
    {[](LONG id) { return HLX_FindEventInfo(id, 1, 1, &TIME, &TIME); }, Next(HLX_FindNextEventInfo),
     HLX_FindEventInfoClose},
};

TEST(Searches, SixFamilies) {
    CNetDeviceMan::Instance()->SetDeviceMaker(CRecordingDevice::Make);
    ASSERT_TRUE(HLX_Init());
    CScriptedPeer peer([&peer](int sock) {
        SendAll(sock, FirstBlock(0, 4));
        peer.AwaitClose(sock, [] { return false; });
    });
    const LONG user = HLX_Login("127.0.0.1", peer.Port(), "admin", "", nullptr);
    const auto findSome = [&](const FAMILY& family, int found) {
        CRecordingDevice::s_found = found;
        return family.find(user);
    };
    std::vector<POINTERHANDLE> left;
    for (const FAMILY& family : FAMILIES) {
        SCOPED_TRACE(&family - FAMILIES);
        const auto next = [&](POINTERHANDLE lHandle, LONG code) {
            EXPECT_EQ(family.next(lHandle), code);
            EXPECT_EQ(HLX_GetLastError(), static_cast<DWORD>(family.bNumbers ? code % 1000 : 0));
        };
        const POINTERHANDLE empty = findSome(family, 0), full = findSome(family, 3);
        EXPECT_NE(empty, -1);
        next(empty, HLX_FILE_NOFIND);
        next(full, family.bMasks ? HLX_FILE_NOFIND : HLX_FILE_SUCCESS);
        EXPECT_TRUE(family.close(empty));
        if (family.bMasks) next(full, HLX_FILE_SUCCESS);
        next(full, 1000 + HLX_FILE_SUCCESS);
        next(empty, HLX_FILE_EXCEPTION);
        EXPECT_FALSE(family.close(empty));
        EXPECT_EQ(HLX_GetLastError(), DWORD{family.bNumbers ? HLX_PARAMETER_ERROR : HLX_SUCCESS});
        for (const FAMILY& other : FAMILIES) EXPECT_TRUE(&other == &family || other.next(full) == HLX_FILE_EXCEPTION);
        EXPECT_EQ(findSome(family, -1), -1);
        EXPECT_EQ(HLX_GetLastError(), family.openError);
        EXPECT_EQ(family.find(user + 1), -1);
        EXPECT_EQ(HLX_GetLastError(), family.unknownUser);
        left.push_back(full);
    }
    EXPECT_TRUE(HLX_Logout(user));
    for (size_t i = 0; i < left.size(); ++i)  // freed with the library
        for (const LONG code : {2000 + HLX_FILE_SUCCESS, int{HLX_NOMOREFILE}, int{HLX_NOMOREFILE}})
            EXPECT_EQ(FAMILIES[i].next(left[i]), code);
    HLX_Cleanup();
    CNetDeviceMan::Instance()->SetDeviceMaker(MakeDevice);
}

}  // namespace
