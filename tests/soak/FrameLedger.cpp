#include "tests/soak/FrameLedger.h"

#include <algorithm>
#include <cstdio>

#include "protocol/ClassicProtocol.h"
#include "simulator/SimBytes.h"

namespace {

constexpr size_t MAXIMAL_FINDINGS = 20;

constexpr DWORD Padded(DWORD length) { return (length + 3) / 4 * 4; }

}  // namespace

void CFrameLedger::Received(unsigned recorder, const HLX_FRAME_INFO& frame, const unsigned char* pData) {
    if (frame.frameType != DD_FRAME_TYPE_VIDEO && frame.frameType != DD_FRAME_TYPE_AUDIO) return;
    ARRIVED arrived{frame.frameIndex, frame.length, {}};
    const SIM_BYTE_VIEW bytes(reinterpret_cast<const std::byte*>(pData), frame.length);
    const size_t sure = bytes.size() - std::min<size_t>(bytes.size(), 3);
    std::uint64_t digest = DigestBytes(bytes.first(sure));
    for (size_t used = sure; used <= bytes.size(); ++used) {
        arrived.digests[bytes.size() - used] = digest;
        if (used < bytes.size()) digest = DigestBytes(bytes.subspan(used, 1), digest);
    }
    const std::lock_guard guard(m_lock);
    AccountOf({recorder, frame.channel, frame.frameType}).arrived.push_back(arrived);
    ++m_arrived[{recorder, frame.channel}];
}

bool CFrameLedger::IsSame(const ARRIVED& arrived, const CLASSIC_SENT_FRAME& sent) {
    return arrived.index == sent.frameIndex && arrived.length == Padded(sent.length) &&
           arrived.digests[arrived.length - sent.length] == sent.digest;
}

void CFrameLedger::Settle(unsigned recorder, CClassicRecorder& simulator) {
    const std::lock_guard guard(m_lock);  // first: what is here already was sent before it is taken below
    for (const CLASSIC_SENT_FRAME& frame : simulator.TakeSentFrames()) {
        const bool bVideo = frame.frameType == FRAME_TYPE_VIDEO;
        if (!bVideo && frame.frameType != FRAME_TYPE_AUDIO) continue;
        const DWORD frameType = bVideo ? DD_FRAME_TYPE_VIDEO : DD_FRAME_TYPE_AUDIO;
        AccountOf({recorder, frame.channel, frameType}).sent.push_back(frame);
    }
    for (auto& [stream, account] : m_accounts) {
        if (std::get<0>(stream) == recorder) Match(account);
    }
}

CFrameLedger::ACCOUNT& CFrameLedger::AccountOf(const STREAM& stream) {
    ACCOUNT& account = m_accounts[stream];
    account.stream = stream;
    return account;
}

void CFrameLedger::Note(const ACCOUNT& account, const char* pWhat, DWORD index, unsigned link) {
    if (m_findings.size() >= MAXIMAL_FINDINGS) return;
    char text[128];
    std::snprintf(text, sizeof(text), "recorder %u, channel %u, type %u, link %u (last %u): frame %u %s",
                  std::get<0>(account.stream), unsigned{std::get<1>(account.stream)},
                  unsigned{std::get<2>(account.stream)}, link, account.link, unsigned{index}, pWhat);
    m_findings.push_back(text);
}

std::vector<std::string> CFrameLedger::Findings() const {
    const std::lock_guard guard(m_lock);
    return m_findings;
}

void CFrameLedger::Match(ACCOUNT& account) {
    for (; !account.arrived.empty(); account.arrived.pop_front()) {
        const auto found = std::find_if(account.sent.begin(), account.sent.end(), [&](const CLASSIC_SENT_FRAME& sent) {
            return IsSame(account.arrived.front(), sent);
        });
        if (found == account.sent.end()) {
            ++m_totals.wrong;
            Note(account, "wrong", account.arrived.front().index, account.link);
            continue;
        }
        WriteOff(account, static_cast<size_t>(found - account.sent.begin()));
        account.link = account.sent.front().link;
        account.sent.pop_front();
        ++m_totals.delivered;
    }
}

void CFrameLedger::WriteOff(ACCOUNT& account, size_t overtaken) {
    const unsigned link = account.sent[overtaken].link;
    std::uint64_t gap = 0;
    for (size_t i = 0; i < overtaken; ++i, account.sent.pop_front()) {
        const CLASSIC_SENT_FRAME& lost = account.sent.front();
        if (lost.link != link) {
            ++m_totals.withLink;
            continue;
        }
        Note(account, "missing", lost.frameIndex, link);
        ++(link == account.link ? gap : m_totals.atStart);
    }
    m_totals.missing += gap;
    m_totals.longestGap = std::max(m_totals.longestGap, gap);
}

std::uint64_t CFrameLedger::Delivered(unsigned recorder, unsigned channel) const {
    const std::lock_guard guard(m_lock);
    const auto found = m_arrived.find({recorder, channel});
    return found == m_arrived.end() ? 0 : found->second;
}

LEDGER_TOTALS CFrameLedger::Totals() const {
    const std::lock_guard guard(m_lock);
    LEDGER_TOTALS totals = m_totals;
    for (const auto& [stream, account] : m_accounts) totals.underWay += account.sent.size();
    return totals;
}
