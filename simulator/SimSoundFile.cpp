#include "simulator/SimSoundFile.h"

#include <sndfile.h>

std::unique_ptr<CSimSoundFile> CSimSoundFile::Create(const std::string& sFile, std::string& sError) {
    SF_INFO info{};
    info.samplerate = 8000;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_ALAW;
    SNDFILE* pFile = sf_open(sFile.c_str(), SFM_WRITE, &info);
    if (!pFile) {
        sError = sFile + ": " + sf_strerror(nullptr);
        return nullptr;
    }
    sf_command(pFile, SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
    return std::unique_ptr<CSimSoundFile>(new CSimSoundFile(pFile));
}

CSimSoundFile::~CSimSoundFile() { sf_close(m_pFile); }

void CSimSoundFile::Write(SIM_BYTE_VIEW samples) {
    sf_write_raw(m_pFile, samples.data(), static_cast<sf_count_t>(samples.size()));
}
