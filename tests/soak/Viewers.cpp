#include "tests/soak/Viewers.h"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

CViewers::CViewers(unsigned count, CLASSIC_RECORDER_CONFIG config) : m_config(std::move(config)) {
    for (unsigned i = 0; i < count; ++i) {
        CLASSIC_RECORDER_CONFIG one = m_config;
        one.bKeepDigests = true;
        m_recorders.push_back(std::make_unique<CClassicRecorder>(std::move(one)));
        std::string sError;
        if (m_recorders.back()->Start(sError)) continue;
        std::fprintf(stderr, "%s\n", sError.c_str());
        std::abort();
    }
}

CViewers::~CViewers() { Stop(); }

bool CViewers::Start() {
    for (unsigned i = 0; i < m_recorders.size(); ++i) {
        const LONG id =
            HLX_Login("127.0.0.1", m_recorders[i]->Port(), m_config.sUser.c_str(), m_config.sPassword.c_str(), nullptr);
        if (id <= 0) return false;
        m_sessions.push_back(id);
        if (!Play(i, id)) return false;
    }
    return true;
}

bool CViewers::Play(unsigned recorder, LONG lUserID) {
    for (unsigned channel = 0; channel < m_config.channels; ++channel) {
        m_streams.push_back(std::make_unique<STREAM>(STREAM{this, recorder, channel, 0, 0}));
        HLX_CLIENTINFO info{};
        info.lChannel = channel;
        info.streamType = HLX_MAIN_STREAM;
        m_streams.back()->handle = HLX_LivePlay(lUserID, &info, OnFrame, m_streams.back().get());
        if (m_streams.back()->handle <= 0) return false;
    }
    return true;
}

void CViewers::Stop() {
    for (const auto& pStream : m_streams) HLX_StopLivePlay(pStream->handle);
    for (const LONG id : m_sessions) HLX_Logout(id);
    m_streams.clear();
    m_sessions.clear();
    Settle();
}

void CViewers::OnFrame(POINTERHANDLE, HLX_FRAME_INFO frame, BYTE* pData, void* pUser) {
    const auto& stream = *static_cast<const STREAM*>(pUser);
    stream.pOwner->m_ledger.Received(stream.recorder, frame, pData);
}

void CViewers::Settle() {
    for (unsigned i = 0; i < m_recorders.size(); ++i) m_ledger.Settle(i, *m_recorders[i]);
}

void CViewers::Mark() {
    for (const auto& pStream : m_streams) pStream->mark = m_ledger.Delivered(pStream->recorder, pStream->channel);
}

bool CViewers::AllRun(std::uint64_t count) const {
    return std::all_of(m_streams.begin(), m_streams.end(), [&](const auto& pStream) {
        return m_ledger.Delivered(pStream->recorder, pStream->channel) >= pStream->mark + count;
    });
}

double ResidentBytes() {
    malloc_trim(0);
    std::ifstream file("/proc/self/statm");
    double total = 0, resident = 0;
    file >> total >> resident;
    return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
}

std::uint64_t DroppedAsLogged(const std::filesystem::path& folder) {
    std::uint64_t dropped = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        std::ifstream file(entry.path());
        for (std::string sLine; std::getline(file, sLine);) {
            const size_t at = sLine.find(" was full: ");
            if (at != std::string::npos) dropped += std::strtoull(sLine.c_str() + at + 11, nullptr, 10);
        }
    }
    return dropped;
}
