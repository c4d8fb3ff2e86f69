#include "simulator/replay/ReplayServer.h"

#include <random>
#include <set>

namespace {

class CReplaySession : public CSimSession {
public:
    CReplaySession(CSimLink& link, const REPLAY_CONFIG& config, const REPLAY_LINK& steps)
        : m_link(link),
          m_config(config),
          m_steps(steps),
          m_random(config.mutationSeed + config.pieceSeed + link.Id()) {}

    void OnOpen(SIM_TIME now) override {
        m_stepTime = now;
        if (m_link.Id() == m_config.cutLink) m_link.CutAfter(m_config.cutAfter, m_config.cutHow);
        if (m_link.Id() == m_config.cutLink && m_config.cutAfter == 0) m_link.Cut(m_config.cutHow);
    }
    void OnSpoken() override {}
    void OnMessage(SIM_BYTE_VIEW message, SIM_TIME) override {
        if (const auto cmdType = ReadRecord<std::uint32_t>(message)) m_received.insert(*cmdType);
    }
    void OnBadInput() override {}
    SIM_TIME OnDue(SIM_TIME now) override;
    bool IsBlocked() const override { return m_bBlocked; }
    void OnClosed() override {}

private:
    bool Play(const REPLAY_STEP& step);
    bool SendPiece(const SIM_BYTES& bytes);
    void Mutate(SIM_BYTES& bytes);

    CSimLink& m_link;
    const REPLAY_CONFIG& m_config;
    const REPLAY_LINK& m_steps;
    size_t m_at = 0;
    size_t m_sent = 0;  // bytes of the step
    SIM_TIME m_stepTime{};
    std::multiset<std::uint32_t> m_received;  // command ids that no step has asked for yet
    bool m_bBlocked = false;
    std::minstd_rand m_random;
};

SIM_TIME CReplaySession::OnDue(SIM_TIME now) {
    while (m_at < m_steps.size() && m_link.IsUsable()) {
        const REPLAY_STEP& step = m_steps[m_at];
        if (m_config.speed > 0 && step.kind != REPLAY_STEP_KIND::EXPECT) {
            const auto pause = std::chrono::duration<double, std::micro>(step.pause) / m_config.speed;
            const SIM_TIME due = m_stepTime + std::chrono::duration_cast<SIM_CLOCK::duration>(pause);
            if (now < due) return due;
        }
        if (!Play(step)) return SIM_TIME::max();
        ++m_at;
        m_stepTime = now;
    }
    return SIM_TIME::max();
}

/// False while the step is not done.
bool CReplaySession::Play(const REPLAY_STEP& step) {
    switch (step.kind) {
        case REPLAY_STEP_KIND::SEND:
            return SendPiece(step.bytes);
        case REPLAY_STEP_KIND::EXPECT: {
            const auto found = m_received.find(step.cmdType);
            if (found == m_received.end()) return false;
            m_received.erase(found);
            return true;
        }
        case REPLAY_STEP_KIND::END:
            m_link.CutWhenSent(SIM_CUT::CLOSE);
            return true;
        case REPLAY_STEP_KIND::RESET:
            m_link.CutWhenSent(SIM_CUT::RESET);
            return true;
    }
    return true;
}

/// The next piece once the one before has gone.
bool CReplaySession::SendPiece(const SIM_BYTES& bytes) {
    m_bBlocked = m_config.pieceSize != 0 && m_link.Queued() > 0;
    if (m_bBlocked) return false;
    const size_t left = bytes.size() - m_sent;
    size_t size = m_config.pieceSize == 0 ? left : std::min(left, m_config.pieceSize);
    if (m_config.pieceSeed != 0 && size > 1) size = 1 + m_random() % size;
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(m_sent);
    SIM_BYTES piece(begin, begin + static_cast<std::ptrdiff_t>(size));
    Mutate(piece);
    m_link.SendRaw(piece);
    m_sent += size;
    m_bBlocked = m_sent < bytes.size();
    if (m_bBlocked) return false;
    m_sent = 0;
    return true;
}

void CReplaySession::Mutate(SIM_BYTES& bytes) {
    if (m_config.mutationSeed == 0) return;
    for (std::byte& byte : bytes) {
        if (m_random() % m_config.mutationRate == 0) byte = static_cast<std::byte>(m_random());
    }
}

}  // namespace

bool CReplayServer::Start(std::string& sError) {
    if (m_config.links.empty()) {
        sError = "The record has no link.";
        return false;
    }
    const auto maker = [this](CSimLink& link) {
        static const REPLAY_LINK OVER{REPLAY_STEP{REPLAY_STEP_KIND::END, {}, {}, 0}};
        const size_t index = link.Id() - 1;
        const size_t count = m_config.links.size();
        const REPLAY_LINK& steps = m_config.bLoop || index < count ? m_config.links[index % count] : OVER;
        return std::make_unique<CReplaySession>(link, m_config, steps);
    };
    return m_server.Start(m_config.sBind, m_config.port, maker, sError);
}
