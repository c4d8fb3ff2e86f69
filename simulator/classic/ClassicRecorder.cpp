#include "simulator/classic/ClassicRecorder.h"

#include <utility>

#include "simulator/classic/ClassicSession.h"

CClassicRecorder::CClassicRecorder(CLASSIC_RECORDER_CONFIG config) : m_pState(std::make_unique<CLASSIC_STATE>()) {
    m_pState->sPassword = config.sPassword;
    m_pState->faults.Set(config.faults);
    m_pState->config = std::move(config);
}

CClassicRecorder::~CClassicRecorder() { Stop(); }

bool CClassicRecorder::CheckConfig(std::string& sError) const {
    struct RULE {
        bool bKept;
        const char* pSentence;
    };
    const CLASSIC_RECORDER_CONFIG& config = m_pState->config;
    // The fields of a login hold 36 bytes with the end of the text.
    const RULE rules[] = {
        {config.sUser.size() <= 35, "A user name has at most 35 bytes."},
        {config.sPassword.size() <= 35, "A password has at most 35 bytes."},
        {config.channels >= 1 && config.channels <= 64, "A recorder has 1 to 64 channels."},
        {config.soundUnits >= 1 && config.soundUnits <= 25, "A sound frame has 1 to 25 units."},
        {config.packLimit >= 1024, "Pieces of less than 1024 bytes are not sent."},
        {config.diskCount <= 16, "A recorder has at most 16 disks."},
        {config.cameraCount <= 64, "A recorder has at most 64 connected cameras."},
        {config.speed >= 0, "The speed cannot be negative."},
        {config.sCallIn.empty() || CSimCaller::IsTarget(config.sCallIn), "Whom to call is no HOST:PORT."},
        {config.callAgain.count() > 0, "The time between calls must be above 0."},
        {config.rebootDelay.count() >= 0 && config.rebootTime.count() >= 0, "A restart cannot take less than no time."},
        {config.recordings.days <= 3650, "Recordings go back 3650 days at most."},
        {config.recordings.fileLength >= 60 && config.recordings.fileLength <= 86400,
         "A file has 60 to 86400 seconds."},
        {config.talkDelay.count() >= 0, "An echo cannot come before its sound."},
        {!config.recordings.firstClips.empty() && !config.recordings.secondClips.empty(), "Recordings need clips."},
        {config.heartbeat.count() > 0, "The time between heartbeats must be above 0."},
        {!config.firstClips.empty() && !config.secondClips.empty(), "Each stream needs a clip."},
    };
    for (const RULE& rule : rules) {
        if (rule.bKept) continue;
        sError = rule.pSentence;
        return false;
    }
    return true;
}

bool CClassicRecorder::LoadClips(const std::vector<std::string>& names, bool bSound,
                                 std::vector<std::shared_ptr<const CSimClip>>& clips, std::string& sError) const {
    clips.clear();
    for (const std::string& sName : names) {
        auto pClip = CSimClip::Load(std::filesystem::path(m_sMediaFolder) / sName, sError);
        if (!pClip) return false;
        if ((pClip->Codec() == SIM_CODEC::ALAW) != bSound) {
            sError = "The clip " + sName + (bSound ? " is no sound." : " is no picture.");
            return false;
        }
        clips.push_back(std::move(pClip));
    }
    return true;
}

bool CClassicRecorder::LoadSources(std::string& sError) {
    const CLASSIC_RECORDER_CONFIG& config = m_pState->config;
    CLASSIC_SOURCES& sources = m_pState->sources;
    m_sMediaFolder = FindMediaFolder(config.sMediaFolder).string();
    std::vector<std::shared_ptr<const CSimClip>> sound;
    if (!LoadClips(config.firstClips, false, sources.first, sError)) return false;
    if (!LoadClips(config.secondClips, false, sources.second, sError)) return false;
    if (!LoadClips({config.sSoundClip}, true, sound, sError)) return false;
    sources.pSound = sound.front();
    std::vector<std::shared_ptr<const CSimClip>> pictures;
    if (!LoadClips({config.sJpegClip}, false, pictures, sError)) return false;
    if (pictures.front()->Codec() != SIM_CODEC::MJPEG) {
        sError = "The clip " + config.sJpegClip + " holds no JPEG pictures.";
        return false;
    }
    sources.pJpeg = pictures.front();
    sources.soundUnits = config.soundUnits;
    return true;
}

bool CClassicRecorder::MakeArchive(std::string& sError) {
    ARCHIVE_CONFIG config = m_pState->config.recordings;
    if (config.days == 0 || !m_pState->archive.Files().empty()) return true;
    if (config.end == 0) config.end = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    CArchiveMedia::SOURCES sources;
    std::vector<std::shared_ptr<const CSimClip>> change;
    if (!LoadClips(config.firstClips, false, sources.first, sError)) return false;
    if (!LoadClips(config.secondClips, false, sources.second, sError)) return false;
    if (!config.sChangeClip.empty() && !LoadClips({config.sChangeClip}, false, change, sError)) return false;
    if (!change.empty()) sources.pChange = change.front();
    sources.pSound = m_pState->sources.pSound;
    sources.soundUnits = m_pState->config.soundUnits;
    m_pState->media = CArchiveMedia(std::move(sources));
    m_pState->archive = CSimArchive(config, m_pState->config.channels);
    return true;
}

bool CClassicRecorder::MakeCaller(std::string& sError) {
    CLASSIC_STATE* pState = m_pState.get();
    if (pState->config.sCallIn.empty()) return true;
    auto pCaller = CSimCaller::Make({pState->config.sCallIn, pState->config.callAgain,
                                     [pState](SIM_TIME now) { return pState->IsDown(now) ? pState->downUntil : now; },
                                     [pState](const std::string& sWhy) {
                                         pState->Tell({SIM_EVENT_KIND::VAIN_CALL, 0, 0, 0, 0, 0, sWhy});
                                     }},
                                    sError);
    if (!pCaller) return false;
    m_server.SetCaller(std::move(pCaller));
    return true;
}

bool CClassicRecorder::Start(std::string& sError) {
    if (Port() != 0) return true;
    if (!CheckConfig(sError) || !LoadSources(sError) || !MakeArchive(sError) || !MakeCaller(sError)) return false;
    if (!m_pState->config.sTalkFile.empty()) {
        m_pState->pTalkFile = CSimSoundFile::Create(m_pState->config.sTalkFile, sError);
        if (!m_pState->pTalkFile) return false;
    }
    m_pState->downFrom = SIM_TIME::max();
    const auto maker = [pState = m_pState.get()](CSimLink& link) {
        return std::make_unique<CClassicSession>(link, *pState);
    };
    return m_server.Start(m_pState->config.sBind, m_pState->config.port, maker, sError);
}

const CSimArchive& CClassicRecorder::Archive() const { return m_pState->archive; }

ARCHIVE_SEQUENCE CClassicRecorder::RecordedFrames(const ARCHIVE_REQUEST& request) const {
    return ArchiveFrames(m_pState->archive, m_pState->media, request);
}

void CClassicRecorder::Stop() {
    m_server.Stop();
    m_pState->pTalkFile.reset();
}

void CClassicRecorder::SetFaults(std::vector<SIM_FAULT> faults) { m_pState->faults.Set(std::move(faults)); }

void CClassicRecorder::AddFault(const SIM_FAULT& fault) { m_pState->faults.Add(fault); }

void CClassicRecorder::SetPassword(const std::string& sPassword) {
    const std::lock_guard guard(m_pState->lock);
    m_pState->sPassword = sPassword;
}

void CClassicRecorder::SetStatus(const CLASSIC_STATUS& status) {
    {
        const std::lock_guard guard(m_pState->lock);
        m_pState->status = status;
    }
    m_server.Post([] {});  // each turn of the loop looks for news on all links
}

void CClassicRecorder::ChangeStatus(tuint64 CLASSIC_STATUS::*pKind, unsigned number, bool bOn) {
    {
        const std::lock_guard guard(m_pState->lock);
        if (!m_pState->status) m_pState->status.emplace();
        tuint64& mask = *m_pState->status.*pKind;
        const tuint64 bit = tuint64{1} << number;
        mask = bOn ? mask | bit : mask & ~bit;
    }
    m_server.Post([] {});
}

void CClassicRecorder::CutLinks(SIM_CUT how) {
    m_server.Post([this, how] { m_server.CutAllLinks(how); });
}

void CClassicRecorder::StopStreams(unsigned channel) {
    m_server.Post([this, channel] {
        m_server.ForEachSession(
            [channel](CSimSession& session) { static_cast<CClassicSession&>(session).StopStreams(channel); });
    });
}

void CClassicRecorder::StopRecordings() {
    m_server.Post([this] {
        m_server.ForEachSession([](CSimSession& session) { static_cast<CClassicSession&>(session).StopRecordings(); });
    });
}

void CClassicRecorder::Reboot() {
    m_server.Post([this] { m_pState->GoDown(SIM_CLOCK::now(), m_pState->config.rebootTime); });
}

std::uint64_t CClassicRecorder::CommandCount(tuint32 cmdType) const {
    const std::lock_guard guard(m_pState->lock);
    const auto found = m_pState->commands.find(cmdType);
    return found == m_pState->commands.end() ? 0 : found->second;
}

CClassicControl CClassicRecorder::Control() const {
    const std::lock_guard guard(m_pState->lock);
    return m_pState->control;
}

std::uint64_t CClassicRecorder::FramesSent() const {
    const std::lock_guard guard(m_pState->lock);
    return m_pState->framesSent;
}

SIM_BYTES CClassicRecorder::TakeTalkHeard() {
    const std::lock_guard guard(m_pState->lock);
    return std::exchange(m_pState->talkHeard, {});
}

std::vector<CLASSIC_SENT_FRAME> CClassicRecorder::TakeSentFrames() {
    const std::lock_guard guard(m_pState->lock);
    return std::move(m_pState->sent);
}
