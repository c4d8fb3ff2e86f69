// Any bytes from a caller on a register port: its first block in pieces, its login's replies, and what it says as a session.
// Input: pieces of two bytes of length and that many bytes. The first block is made of pieces; of those behind it each is a message that
// answers a request, and the rest come once the caller is logged in. Behind the last piece the caller hangs up.
#include <algorithm>
#include <vector>

#include "main_utility/device/FirstBlock.h"
#include "main_utility/device/NetDeviceMan.h"
#include "NoWaiting.h"
#include "sdk_common/WireReader.h"

namespace {

constexpr DWORD KNOWN_DEVICE = 0x01010101;
constexpr LONG FIRST_ID = 1;

void Require(bool bHolds) {
    if (!bHolds) __builtin_trap();
}

/// The caller and the engine in one: each request is answered with the next piece at once.
class CCaller : public CSWL_MultiNet {
public:
    CCaller(const uint8_t* pData, size_t size) : m_script(pData, size) {}

    int AddNewComm(int deviceID, SWL_socket_t) override {
        Require(deviceID == FIRST_ID);
        return 0;
    }
    int SetRecvMode(int, bool) override { return 0; }
    int SetAutoRecvCallback(int, RECVASYN_CALLBACK pfCallback, void* pParam) override {
        m_pfCallback = pfCallback;
        m_pParam = pParam;
        return 0;
    }
    int SendData(int, const void*, int, bool, bool) override {
        Speak();
        return 0;
    }

    /// True once the first block is whole.
    bool SendFirstBlock(PRE_SEND_DATA& pre) {
        CFirstBlock block;
        while (m_script.Left() && block.State() == CFirstBlock::STATE::UNFINISHED) {
            auto piece = Piece();
            const auto room = std::as_writable_bytes(block.Room());
            piece.resize(std::min(piece.size(), room.size()));
            std::ranges::copy(piece, room.begin());
            block.Received(piece.size());
        }
        if (block.State() != CFirstBlock::STATE::WHOLE) return false;
        pre = block.Get();
        return true;
    }

    void Speak() {
        if (m_script.Left()) {
            const auto message = Piece();
            m_pfCallback(FIRST_ID, m_pParam, reinterpret_cast<const char*>(message.data()),
                         static_cast<int>(message.size()));
        } else {
            m_pfCallback(FIRST_ID, m_pParam, nullptr, -1);
        }
    }
    bool HasMore() const { return m_script.Left() > 0; }

private:
    /// A copy of just its size, so that a read behind it is seen.
    std::vector<std::byte> Piece() {
        const auto piece = m_script.Bytes(std::min<size_t>(m_script.Read<tuint16>(), m_script.Left()));
        return {piece.begin(), piece.end()};
    }

    CWireReader m_script;
    RECVASYN_CALLBACK m_pfCallback = nullptr;
    void* m_pParam = nullptr;
};

int g_told = 0;

void OnCaller(LONG lUserID, LONG, LPHLX_DEVICEINFO, void*) {
    ++g_told;
    Require(CNetDeviceMan::Instance()->GetDeviceResByUserID(lUserID) != nullptr);
}

CNetDeviceMan& Manager() {
    static CNetDeviceMan& man = *CNetDeviceMan::Instance();
    REG_LOGIN_INFO info{};
    info.deviceId = KNOWN_DEVICE;
    CopyText(info.m_szUserName, "admin");
    CopyText(info.m_szPasswd, "secret");
    man.AddRegisterDeviceInfo(&info, 1);
    man.SetRegisterCallback(OnCaller, nullptr);
    man.SetUnRegisterCallback(OnCaller, nullptr);
    return man;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t size) {
    static CNoWaiting clock;
    static CNetDeviceMan& man = Manager();
    man.SetNextDeviceID(FIRST_ID);
    CCaller caller(pData, size);
    CNetDeviceMan::LINK link;
    link.pEngine = &caller;
    if (!caller.SendFirstBlock(link.pre)) return 0;
    g_told = 0;
    CNetDeviceMan::REGISTER_LISTENER port(man, 0);
    const bool bIn = man.ServeCaller(link, {}, port);
    Require(!bIn || g_told == 1);
    while (bIn && caller.HasMore()) caller.Speak();
    Require(man.RemoveDevice(FIRST_ID) == bIn);
    Require(!man.GetDeviceResByUserID(FIRST_ID));
    return 0;
}
