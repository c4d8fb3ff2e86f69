// The table of device sessions and its three locks.
#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <mutex>
#include <vector>

#include "device_base/NetDevice.h"
#include "sdk_common/PubLock.h"

/// The parent's session and the further session that was made for one more stream of it.
struct EXTRA_STREAM_ID {
    int lLoginID;
    int lExtraStreamID;
};

/// All sessions by user id. A change of the lists holds m_deviceReconnLock and m_callbackLock, so a reader needs only
/// one of them. Neither is ever held while a device is waited for: requests are serial under m_deviceCommLock, which
/// guards no list, and work on a pin. Order: m_deviceReconnLock, m_deviceCommLock, m_callbackLock.
class CDeviceTable {
    /// Holds m_callbackLock for anyone but the engine's thread, which lets it go first.
    class CallbackTurn {
    public:
        explicit CallbackTurn(CDeviceTable& table) : m_table(table) {
            ++m_table.m_waitingForCallbackLock;
            m_table.m_callbackLock.Lock();
            --m_table.m_waitingForCallbackLock;
        }
        ~CallbackTurn() { m_table.m_callbackLock.UnLock(); }
        CallbackTurn(const CallbackTurn&) = delete;
        CallbackTurn& operator=(const CallbackTurn&) = delete;

    private:
        CDeviceTable& m_table;
    };

public:
    using Session = std::shared_ptr<NET_DEVICE_RES>;

    /// Puts a new session in. With `lParent` not 0 it is a further session of that parent; false when the parent is
    /// gone.
    bool Append(const Session& session, LONG lParent);

    /// Takes a session out, which from then on gets no callback and no forwarded call.
    void Take(const Session& session);

    /// The same by id, only if it has logged in; null otherwise. The caller holds what is now maybe the last pin.
    Session TakeLoggedIn(LONG lUserID);

    /// Takes the pair of a further session out of the extra list.
    void ForgetExtra(LONG lExtraStreamID);

    /// Takes one pair of a parent out and gives the further session's id; 0 when none is left.
    LONG TakeExtra(LONG lParent);

    /// Marks a session as logged in, once it is still wanted: false for a further session whose parent left meanwhile.
    bool Confirm(const Session& session, LONG lParent);

    /// Pins on all sessions.
    std::vector<Session> Snapshot();

    /// Runs `action` on each session under m_callbackLock; needs no memory. `action` may take only leaf locks.
    template <class Action>
    void ForEach(Action action) {
        CallbackTurn turn(*this);
        for (const Session& session : m_deviceList) action(*session);
    }

    /// True while the session stands in the table.
    bool IsListed(const Session& session);

    /// Takes everything out.
    std::list<Session> TakeAll();

    /// A pin on a session, null for an unknown id. Short: does not wait for requests.
    Session Pin(LONG lUserID);

    /// The session of an id, null for an unknown one. The caller holds m_callbackLock, or m_deviceReconnLock.
    NET_DEVICE_RES* Find(LONG lUserID) const;

    /// Tells a session's device that its link is broken, as the engine would. The session may have left the table.
    void TellBroken(NET_DEVICE_RES& session);

    /// Holds m_callbackLock for one message. Lets a waiting change go first: the engine's thread takes the lock again
    /// at once after each message, and while a full ring makes it slow a change would hardly ever come in.
    class CallbackGuard {
    public:
        explicit CallbackGuard(CDeviceTable& table);
        ~CallbackGuard();
        CallbackGuard(const CallbackGuard&) = delete;
        CallbackGuard& operator=(const CallbackGuard&) = delete;

    private:
        CDeviceTable& m_table;
    };

    CPUB_Lock m_deviceReconnLock;
    CPUB_Lock m_deviceCommLock;
    CPUB_Lock m_callbackLock;

private:
    class Change;

    std::list<Session> m_deviceList;
    std::list<EXTRA_STREAM_ID> m_extraStreamIdList;
    std::atomic<int> m_waitingForCallbackLock{0};  // threads other than the engine's that want m_callbackLock
};
