// Rebuilding of messages that the recorder sends in pieces.
#pragma once

#include <list>
#include <span>
#include <vector>

#include "protocol/ClassicProtocol.h"

/// One message under way. Records and their buffers are kept for the next message.
struct NET_COMBINED_INFO_EX {
    tuint32 dwUsed = 0;
    tuint32 dwDataID = 0;
    tuint32 dwTotalPack = 0;
    tuint32 dwTotalLen = 0;
    tuint32 dwNextPack = 0;          // index that the next piece must have
    tuint32 streamId = 0;            // of the frame in the message
    std::vector<std::byte> pBuffer;  // the bytes so far; grows with them, whatever dwTotalLen promises
};

/// Puts pieces together in their order; pieces of different messages may come mixed. A piece that is out of order, too
/// long or contradicts its first piece drops its message, and a first piece drops an unfinished message of the same
/// stream or id. One thread.
class CPackedCombiner {
public:
    /// Messages under way at once: far more than a recorder has streams on one link.
    static constexpr size_t MAX_MESSAGES = 64;

    /// Bytes held in all buffers together, and thus the longest message.
    static constexpr size_t MAX_HELD_BYTES = 64 * 1024 * 1024;

    /// Takes a piece: PACKED_HEAD and its bytes. With the last piece of a message it returns the whole message, valid
    /// until the next call; else an empty span. May throw std::bad_alloc, with nothing kept.
    std::span<const std::byte> AddPiece(std::span<const std::byte> piece);

    /// Forgets all messages under way and gives their memory back.
    void Clear() { m_lstCombinedInfo.clear(); }

    /// Bytes that the buffers occupy.
    size_t HeldBytes() const;

private:
    NET_COMBINED_INFO_EX* BeginMessage(const PACKED_HEAD& head, std::span<const std::byte> bytes);
    NET_COMBINED_INFO_EX* FindUsed(const PACKED_HEAD& head);
    NET_COMBINED_INFO_EX* TakeRecord();
    void DropOlder(tuint32 dwDataID, tuint32 streamId);
    bool Append(NET_COMBINED_INFO_EX& message, std::span<const std::byte> bytes);
    /// Empties the buffers of unused records other than `keep` if `length` bytes more would pass the bound.
    bool MakeRoom(size_t length, const NET_COMBINED_INFO_EX& keep);

    std::list<NET_COMBINED_INFO_EX> m_lstCombinedInfo;
};
