// What a device sees of the engine that serves its links, whatever they run on.
#pragma once

#include <atomic>

#include "HLX.h"
#include "netservice/BufferPool.h"
#include "netservice/SWLSocket.h"

/// Handles of the engines for links through NAT.
using NatSocket = void*;
using TNatSocketHandle = tuint32;
struct NAT_LINK_RESOURCE;
struct NAT2_LINK_RESOURCE;

/// Told on the engine's thread, with no engine lock held: it may call any operation of the engine but Destroy, for its
/// own link or another. One whole message without its frame head; the buffer is the engine's and valid during the call
/// only. A packed message starts with PACKED_DATA_FLAG and its PACKED_HEAD. `pBuf` null with `iLen` -1: the link has
/// broken; this may come more than once. A slow receiver delays all links of the engine. The result is ignored.
using RECVASYN_CALLBACK = int (*)(int deviceID, void* pParam, const char* pBuf, int iLen);

/// The message of a link that is only partly there.
struct RECV_DATA_BUFFER {
    int dataSize = 0;       // bytes expected of the current message; 0 when none is under way
    char* pData = nullptr;  // owned; made by malloc
    int recvSize = 0;       // bytes received so far
    int dataType = 0;       // 1 while the block under way is the head of a packed message
    int buffSize = 0;       // capacity of pData; grows with the bytes that arrive, not with what was promised
};

/// A link as its engine keeps it. Times are milliseconds of the wall clock.
struct NET_LINK_RESOURCE {
    SWL_socket_t sock = SWL_INVALID_SOCKET;
    int deviceID = 0;
    int bufferMaxLen = 0;  // limit of bytes in sendBuffer; guarded by the engine's m_listLinkSendLock, as sendBuffer is
    CBufferPool sendBuffer;
    RECV_DATA_BUFFER recvBuffer;                 // the engine thread's, under m_lstLinkLock
    RECVASYN_CALLBACK pfRecvCallBack = nullptr;  // with pParam guarded by m_lstLinkLock
    LONGLONG prevRecvTime = 0;                   // guarded by m_lstLinkLock
    LONGLONG prevSendTime = 0;                   // guarded by m_listLinkSendLock
    LONGLONG prevSystemTime = 0;                 // the engine thread's
    void* pParam = nullptr;
    std::atomic<bool> bBroken{false};
    std::atomic<bool> bAutoRecv{false};
    bool bSendIdle = true;  // false while a message of SendDataSync is only partly sent; guarded by m_listLinkSendLock
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-parameter"
/// Links to devices, each known by its link id. One engine per kind of transport implements it. Results of sends and
/// receives: count of bytes, -1 failed or broken, -2 no such link. All operations from any thread. The defaults do
/// nothing.
class CSWL_MultiNet {
public:
    virtual ~CSWL_MultiNet() = default;

    /// Starts the engine. `sendBufSize`: bytes of each link's send buffer; `bSendSync`: sends go out in the caller's
    /// thread.
    virtual bool Init(int sendBufSize, bool bSendSync) { return true; }
    /// Stops the engine and closes all links. Ends waits of other threads in its operations. Not from the callback.
    virtual void Destroy() {}

    /// Takes a connected socket over under a link id, in manual mode and without a callback. 0, or -1 when it could not
    /// be taken, for instance because the id has a link: then it still belongs to the caller.
    virtual int AddNewComm(int deviceID, SWL_socket_t sock) { return 0; }
    virtual int AddNewComm(int deviceID, NatSocket sock) { return 0; }
    virtual int AddNewComm(TNatSocketHandle handle) { return 0; }
    virtual int AddNewCommId(int deviceID, TNatSocketHandle handle) { return 0; }

    /// Ends a link: nothing more is received, what is queued gets one try to go out, the socket is closed. No further
    /// message of the link is begun after this returns; one that is being handed to the callback by the engine's thread
    /// may still be running. Always 0. The id may be used again at once.
    virtual int RemoveComm(int deviceID) { return 0; }
    virtual int RemoveAllConnect() { return 0; }

    /// Queues a message, with its frame head put before it unless `bRawData`. 0 when queued, -1 for an unknown or
    /// broken link, a bad argument or a buffer that has no room; with `bBlock` it waits up to 15 s for room. On the
    /// engine's thread it meanwhile writes the queue out itself.
    virtual int SendData(int deviceID, const void* pBuf, int iLen, bool bBlock, bool bRawData) { return -1; }

    /// Sends past the queue in the caller's thread, as is: the caller frames its message and continues a partial send.
    /// With `bBlock` it waits while the link lives, on the engine's thread 30 s at most. Count of bytes sent, also less
    /// than `iLen`.
    virtual int SendDataSync(int deviceID, const void* pBuf, int iLen, bool bBlock) { return -1; }

    /// Reads from a link in manual mode; 0 in automatic mode. `lBlockTime`: seconds to wait for all `iLen` bytes; with
    /// `bBlock` false only once a first byte has come. Count of bytes read.
    virtual int RecvData(int deviceID, char* pData, int iLen, bool bBlock, int lBlockTime) { return 0; }

    /// Automatic: messages go to the callback, once there is one. Manual: bytes wait for RecvData, those that were
    /// already read ahead come first. 0, or -1 for an unknown link.
    virtual int SetRecvMode(int deviceID, bool bAutoRecv) { return -1; }

    /// Sets who is told; replaces the one before. A link that is broken already tells a new receiver so. 0, or -1 for
    /// an unknown link.
    virtual int SetAutoRecvCallback(int deviceID, RECVASYN_CALLBACK pfRecvCallBack, void* pParam) { return 0; }

    /// Limits the bytes that may be queued, at most to the send buffer's size.
    virtual void SetBufferMaxLen(int deviceID, int bufferMaxLen) {}
    virtual void SendHeartBeat() {}

    /// The bare sends and reads under the above, in either mode. `lBlockTime` in seconds; SendBuff with `bBlock` waits
    /// while the link lives, on the engine's thread 30 s at most.
    virtual int SendBuff(int deviceID, const void* pBuf, int iLen, bool bBlock, int lBlockTime) { return 0; }
    virtual int RecvBuff(int deviceID, void* pBuf, int iLen, bool bBlock, int lBlockTime) { return 0; }

    /// The thread's body, and the step of it that closes removed links.
    virtual void RecvThreadRun() {}
    virtual void UpdateRemoveComm() {}

    /// The link's record, borrowed: valid until the link is removed.
    virtual bool GetLinkResourceByLinkID(int deviceID, NET_LINK_RESOURCE*& pLink) { return false; }
    virtual bool GetLinkResourceByLinkID(int deviceID, NAT_LINK_RESOURCE*& pLink) { return false; }
    virtual bool GetLinkResourceByLinkID(int deviceID, NAT2_LINK_RESOURCE*& pLink) { return false; }
};
#pragma GCC diagnostic pop
