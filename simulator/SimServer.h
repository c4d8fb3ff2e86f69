// The socket loop of a simulated device: one thread serves the listening socket, calls of its own and all links.
#pragma once

#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "simulator/SimCaller.h"
#include "simulator/SimLink.h"
#include "simulator/SimTime.h"

/// One link's protocol, as a device family speaks it. Everything runs on the server's thread.
class CSimSession {
public:
    virtual ~CSimSession() = default;

    /// The link was accepted, or the device's own call was.
    virtual void OnOpen(SIM_TIME now) = 0;

    /// The client's first bytes came.
    virtual void OnSpoken() = 0;

    /// One message came, without its link head. Valid during the call.
    virtual void OnMessage(SIM_BYTE_VIEW message, SIM_TIME now) = 0;

    /// The client sent bytes that are no link frame. The link is closed after it.
    virtual void OnBadInput() = 0;

    /// Does what is due and says when to come back; messages that come earlier bring it back earlier.
    virtual SIM_TIME OnDue(SIM_TIME now) = 0;

    /// True when OnDue() left work undone because the link's queue is full. It is called again when bytes have gone.
    virtual bool IsBlocked() const = 0;

    /// The link ends. Nothing comes after it.
    virtual void OnClosed() = 0;
};

class CSimServer {
public:
    using SESSION_MAKER = std::function<std::unique_ptr<CSimSession>(CSimLink&)>;

    CSimServer() = default;
    ~CSimServer() { Stop(); }
    CSimServer(const CSimServer&) = delete;
    CSimServer& operator=(const CSimServer&) = delete;

    /// Gives the server a client that it calls by itself from Start() to Stop(). Before Start() only.
    void SetCaller(std::unique_ptr<CSimCaller> pCaller) { m_pCaller = std::move(pCaller); }

    /// Listens on the numeric IPv4 or IPv6 address and port (0: any free one) and starts the thread. `maker` is called
    /// on it for each link. A server that runs already gives true. False with a sentence in `sError`.
    bool Start(const std::string& sBind, std::uint16_t port, SESSION_MAKER maker, std::string& sError);

    /// Closes all links and ends the thread. May be called repeatedly; not from the thread itself.
    void Stop();

    /// The port listened on; 0 when not started.
    std::uint16_t Port() const { return m_port; }

    /// Runs `job` on the server's thread, soon. Without effect when it is not started; not while Stop() runs.
    void Post(std::function<void()> job);

    /// Ends every link. For jobs given to Post().
    void CutAllLinks(SIM_CUT how);

    /// Calls `visit` for each link's session. For jobs given to Post().
    void ForEachSession(const std::function<void(CSimSession&)>& visit);

private:
    struct PEER {
        std::unique_ptr<CSimLink> pLink;
        std::unique_ptr<CSimSession> pSession;  // uses *pLink
        SIM_TIME due{};
        bool bReadable = false;
    };

    bool Listen(const std::string& sBind, std::uint16_t port, std::string& sError);
    void Run();
    void Wait();
    void RunJobs();
    void AcceptAll();
    void CallOut();
    void AddPeer(int sock, SIM_LINK_WAY way);
    void Serve(PEER& peer);
    void TakeMessages(PEER& peer, SIM_TIME now);
    void DropEnded();
    void CloseSockets();

    int m_listenSock = -1;
    int m_wakeSock = -1;  // eventfd, written by Stop() and Post()
    std::uint16_t m_port = 0;
    SESSION_MAKER m_maker;
    std::thread m_thread;

    std::mutex m_jobLock;
    std::vector<std::function<void()>> m_jobs;  // m_jobLock
    bool m_bStop = false;                       // m_jobLock

    // The thread's own.
    std::list<PEER> m_peers;
    unsigned m_lastLinkId = 0;
    bool m_bAccept = false;   // the listening socket has links to be taken
    SIM_TIME m_acceptFrom{};  // no sooner: descriptors ran out
    std::unique_ptr<CSimCaller> m_pCaller;
    bool m_bCallDecided = false;  // its socket is writable: the call came through or failed
};
