#include "main_utility/device/DeviceTable.h"

#include <algorithm>
#include <utility>

#include "sdk_common/PubTime.h"

/// Holds both table locks in their order for one change of the lists.
class CDeviceTable::Change {
public:
    explicit Change(CDeviceTable& table) : m_reconn(table.m_deviceReconnLock), m_callback(table) {}

private:
    std::lock_guard<CPUB_Lock> m_reconn;
    CallbackTurn m_callback;
};

CDeviceTable::CallbackGuard::CallbackGuard(CDeviceTable& table) : m_table(table) {
    if (m_table.m_waitingForCallbackLock.load() > 0)
        PUB_Sleep(1);  // once: a crowd of callers must not keep the frames out
    m_table.m_callbackLock.Lock();
}

CDeviceTable::CallbackGuard::~CallbackGuard() { m_table.m_callbackLock.UnLock(); }

bool CDeviceTable::Append(const Session& session, LONG lParent) {
    std::list<Session> entry{session};  // what may fail comes before the first change
    std::list<EXTRA_STREAM_ID> extra;
    if (lParent != 0) extra.push_back({static_cast<int>(lParent), session->lHandle});
    Change change(*this);
    if (lParent != 0 && !Find(lParent)) return false;
    m_extraStreamIdList.splice(m_extraStreamIdList.end(), extra);
    m_deviceList.splice(m_deviceList.end(), entry);
    return true;
}

void CDeviceTable::Take(const Session& session) {
    Change change(*this);
    m_deviceList.remove(session);
}

CDeviceTable::Session CDeviceTable::TakeLoggedIn(LONG lUserID) {
    Change change(*this);
    const auto found = std::find_if(m_deviceList.begin(), m_deviceList.end(), [&](const Session& session) {
        return session->lHandle == lUserID && session->wCanReconnect;
    });
    if (found == m_deviceList.end()) return nullptr;
    Session session = std::move(*found);
    m_deviceList.erase(found);
    return session;
}

void CDeviceTable::ForgetExtra(LONG lExtraStreamID) {
    Change change(*this);
    m_extraStreamIdList.remove_if([&](const EXTRA_STREAM_ID& extra) { return extra.lExtraStreamID == lExtraStreamID; });
}

LONG CDeviceTable::TakeExtra(LONG lParent) {
    Change change(*this);
    const auto found = std::ranges::find(m_extraStreamIdList, lParent, &EXTRA_STREAM_ID::lLoginID);
    if (found == m_extraStreamIdList.end()) return 0;
    const LONG extra = found->lExtraStreamID;
    m_extraStreamIdList.erase(found);
    return extra;
}

bool CDeviceTable::Confirm(const Session& session, LONG lParent) {
    Change change(*this);
    const bool bWanted =
        lParent == 0 || std::any_of(m_extraStreamIdList.begin(), m_extraStreamIdList.end(), [&](const auto& extra) {
            return extra.lLoginID == lParent && extra.lExtraStreamID == session->lHandle;
        });
    if (bWanted) session->wCanReconnect = 1;
    return bWanted;
}

std::vector<CDeviceTable::Session> CDeviceTable::Snapshot() {
    CallbackTurn turn(*this);
    return {m_deviceList.begin(), m_deviceList.end()};
}

bool CDeviceTable::IsListed(const Session& session) {
    CallbackTurn turn(*this);
    return std::find(m_deviceList.begin(), m_deviceList.end(), session) != m_deviceList.end();
}

std::list<CDeviceTable::Session> CDeviceTable::TakeAll() {
    Change change(*this);
    m_extraStreamIdList.clear();
    return std::exchange(m_deviceList, {});
}

CDeviceTable::Session CDeviceTable::Pin(LONG lUserID) {
    CallbackTurn turn(*this);
    const auto found = std::find_if(m_deviceList.begin(), m_deviceList.end(),
                                    [&](const Session& session) { return session->lHandle == lUserID; });
    return found == m_deviceList.end() ? nullptr : *found;
}

NET_DEVICE_RES* CDeviceTable::Find(LONG lUserID) const {
    for (const auto& session : m_deviceList)
        if (session->lHandle == lUserID) return session.get();
    return nullptr;
}

void CDeviceTable::TellBroken(NET_DEVICE_RES& session) {
    CallbackTurn turn(*this);
    session.pNetDevice->OnReceiveData(nullptr, -1);
}
