#include "main_utility/device/classic/PackedCombiner.h"

#include <algorithm>

#include "sdk_common/WireReader.h"

std::span<const std::byte> CPackedCombiner::AddPiece(std::span<const std::byte> piece) {
    CWireReader reader(piece);
    const auto head = reader.Read<PACKED_HEAD>();
    const bool bWhole = reader.Good() && head.dwLen >= 0 && static_cast<size_t>(head.dwLen) <= reader.Left();
    const auto bytes = bWhole ? reader.Bytes(static_cast<size_t>(head.dwLen)) : std::span<const std::byte>{};

    auto* pMessage = head.dwPackIndex == 1 ? BeginMessage(head, bytes) : FindUsed(head);
    if (!pMessage) return {};
    const bool bFits = bWhole && head.dwPackIndex == pMessage->dwNextPack &&
                       head.dwTotalPack == pMessage->dwTotalPack && head.dwTotalLen == pMessage->dwTotalLen;
    pMessage->dwUsed = 0;  // dropped, unless the piece is taken
    if (!bFits || !Append(*pMessage, bytes)) return {};
    if (head.dwPackIndex < head.dwTotalPack) {
        pMessage->dwUsed = 1;
        ++pMessage->dwNextPack;
        return {};
    }
    if (pMessage->pBuffer.size() != pMessage->dwTotalLen) return {};
    return pMessage->pBuffer;
}

NET_COMBINED_INFO_EX* CPackedCombiner::BeginMessage(const PACKED_HEAD& head, std::span<const std::byte> bytes) {
    CWireReader reader(bytes);
    reader.Skip(sizeof(PACKCMD));
    const auto frame = reader.Read<FRAME_INFO>();
    if (!reader.Good() || head.dwTotalPack == 0 || head.dwTotalLen > MAX_HELD_BYTES) return nullptr;
    DropOlder(head.dwDataID, frame.streamID);
    auto* pMessage = TakeRecord();
    if (!pMessage) return nullptr;
    pMessage->dwDataID = head.dwDataID;
    pMessage->dwTotalPack = head.dwTotalPack;
    pMessage->dwTotalLen = head.dwTotalLen;
    pMessage->dwNextPack = 1;
    pMessage->streamId = frame.streamID;
    pMessage->pBuffer.clear();
    return pMessage;
}

NET_COMBINED_INFO_EX* CPackedCombiner::FindUsed(const PACKED_HEAD& head) {
    for (auto& message : m_lstCombinedInfo) {
        if (message.dwUsed && message.dwDataID == head.dwDataID) return &message;
    }
    return nullptr;
}

void CPackedCombiner::DropOlder(tuint32 dwDataID, tuint32 streamId) {
    for (auto& message : m_lstCombinedInfo) {
        if (message.dwDataID == dwDataID || message.streamId == streamId) message.dwUsed = 0;
    }
}

NET_COMBINED_INFO_EX* CPackedCombiner::TakeRecord() {
    const auto it = std::ranges::find(m_lstCombinedInfo, 0u, &NET_COMBINED_INFO_EX::dwUsed);
    if (it != m_lstCombinedInfo.end()) return &*it;
    if (m_lstCombinedInfo.size() >= MAX_MESSAGES) return nullptr;
    return &m_lstCombinedInfo.emplace_back();
}

bool CPackedCombiner::Append(NET_COMBINED_INFO_EX& message, std::span<const std::byte> bytes) {
    auto& buffer = message.pBuffer;
    if (bytes.size() > message.dwTotalLen - buffer.size()) return false;
    const size_t length = buffer.size() + bytes.size();
    if (length > buffer.capacity()) {
        const size_t grown = std::min<size_t>(std::max(length, buffer.capacity() * 2), message.dwTotalLen);
        if (!MakeRoom(grown - buffer.capacity(), message)) return false;
        buffer.reserve(grown);
    }
    buffer.insert(buffer.end(), bytes.begin(), bytes.end());
    return true;
}

bool CPackedCombiner::MakeRoom(size_t length, const NET_COMBINED_INFO_EX& keep) {
    if (HeldBytes() + length <= MAX_HELD_BYTES) return true;
    for (auto& message : m_lstCombinedInfo) {
        if (!message.dwUsed && &message != &keep) message.pBuffer = {};
    }
    return HeldBytes() + length <= MAX_HELD_BYTES;
}

size_t CPackedCombiner::HeldBytes() const {
    size_t held = 0;
    for (const auto& message : m_lstCombinedInfo) held += message.pBuffer.capacity();
    return held;
}
