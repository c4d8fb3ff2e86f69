// Cuts the bytes of a link into messages.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "netservice/MultiNet.h"
#include "protocol/LinkFrame.h"

/// Takes pieces of a link's stream of any size and gives whole messages. Knows no socket, lock or clock; its user sees
/// to it that one thread is in it at a time. Bytes are borrowed as long as they can be handed on from where they lie,
/// and copied only when a message is not complete yet or KeepAhead says so.
class CLinkReader {
public:
    enum STEP {
        NEED_BYTES,  // everything given was taken
        MESSAGE,     // Message() has the next one
        HEARTBEAT,   // a frame of length 0 was taken
        BROKEN       // the stream makes no sense or memory is short; the link cannot go on
    };

    /// `partial` is where the message under way is kept; it outlives the reader.
    explicit CLinkReader(RECV_DATA_BUFFER& partial) : m_partial(partial) {}
    ~CLinkReader() { Release(); }
    CLinkReader(const CLinkReader&) = delete;
    CLinkReader& operator=(const CLinkReader&) = delete;

    /// Gives the next bytes, which may be changed. They stay borrowed until KeepAhead is called, or all are taken and
    /// the last Message(), which may lie in them, is done with. Only when all bytes given before are taken; the started
    /// head of a frame may be left. A Message() in bytes that were kept ends with it.
    void GiveAhead(std::span<char> bytes);

    /// Bytes given but not taken yet, or the started head of a frame.
    bool HasAhead() const { return !m_ahead.empty() || m_headSize > 0; }

    /// Goes on to the next message. After BROKEN nothing more comes.
    STEP Next();

    /// The message of the last Next(), valid until the next call of any operation that changes the message under way.
    std::span<char> Message() const { return m_message; }

    /// Place for bytes of a big message under way, so that they need not be copied: at most as many as belong to it.
    /// Empty when there is none, or bytes given are still waiting. Added() says how many came.
    std::span<char> Room();
    void Added(int count) { m_partial.recvSize += count; }

    /// Takes bytes out unseen, for a reader who wants the bare stream: at most `length`. The count.
    int TakeRaw(void* pTarget, int length);

    /// Keeps borrowed bytes as own ones. False if memory is short; the bytes are lost then.
    bool KeepAhead();

    /// Drops everything and frees the memory.
    void Release();

private:
    using RESULT = std::optional<STEP>;  // empty: go on with the next piece
    RESULT TakeHead();
    RESULT StartMessage(const LINK_FRAME_HEAD& head, bool bHeadBeforeAhead);
    RESULT StartPacked(bool bHeadBeforeAhead);
    RESULT TakeBody();
    RESULT EndPackedHead();
    STEP Deliver(std::span<char> message);
    bool Grow(int wanted);
    void FreePartial();
    std::span<char> Take(size_t count);

    RECV_DATA_BUFFER& m_partial;
    char m_head[sizeof(LINK_FRAME_HEAD)] = {};
    size_t m_headSize = 0;
    std::span<char> m_ahead;    // borrowed, or inside m_pKept
    char* m_pKept = nullptr;    // owned; made by malloc
    bool m_bAheadKept = false;  // m_ahead lies in m_pKept
    std::span<char> m_message;  // in the borrowed bytes, m_pKept or m_partial.pData
};
