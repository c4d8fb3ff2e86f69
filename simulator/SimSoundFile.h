// A sound file that a simulated device keeps what it heard in.
#pragma once

#include <memory>
#include <string>

#include "simulator/SimBytes.h"

struct sf_private_tag;

/// A WAV file of A-law, 8000 samples a second, mono. Its head is kept true, so that a file that was not closed can be
/// played.
class CSimSoundFile {
public:
    /// Null with a sentence in `sError` when the file cannot be made.
    static std::unique_ptr<CSimSoundFile> Create(const std::string& sFile, std::string& sError);
    ~CSimSoundFile();
    CSimSoundFile(const CSimSoundFile&) = delete;
    CSimSoundFile& operator=(const CSimSoundFile&) = delete;

    void Write(SIM_BYTE_VIEW samples);

private:
    explicit CSimSoundFile(sf_private_tag* pFile) : m_pFile(pFile) {}

    sf_private_tag* m_pFile;
};
