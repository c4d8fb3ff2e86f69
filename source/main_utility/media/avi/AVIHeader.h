// The head of an AVI file: all that stands in front of the first chunk.
#pragma once

#include <array>

#include "HLX.h"
#include "main_utility/media/avi/AVIFile.h"
#include "main_utility/media/avi/AVILayout.h"

/// The head's fields, and the one table that says where each stands. They are written and read through that table.
struct AVI_HEADER {
    tuint32 m_flagRIFF[3];
    tuint32 m_flagList[2];
    tuint32 m_flagHeadList[1];
    AVIMAINHEADER m_aviHeader;
    tuint32 m_flagStrList[4][3];
    tuint32 m_flagStrFormat[3][2];  // of video, audio and text
    AVISTREAMHEADER m_strvhdr;
    BITMAPINFOHEADER bmpInfo;
    AVISTREAMHEADER m_strahdr;
    WAVEFORMATEX wFormat;
    AVISTREAMHEADER m_strvTimehdr;  // the two text streams; zero in AVI_TYPE_STD
    AVISTREAMHEADER m_straTimehdr;
    tuint8 m_TextFormat[8];
    tuint32 m_flagTotalFrame[6];  // the last is the count
    tuint32 m_flagJunk[2];
    tuint32 m_flagMark[2];  // AVI_HEAD_VERSION, the mark
    tuint32 m_flagMovie[3];

    /// Fills all for a file without chunks. `pFormat` is null without audio. False when the format's extra bytes have
    /// no room in the head.
    bool Make(const BITMAPINFOHEADER& bmp, const WAVEFORMATEX* pFormat, bool isPal, AVI_TYPE aviType);

    /// Gives a file without audio an audio stream of a format without extra bytes; false for any other.
    bool AddAudio(const WAVEFORMATEX& format);

    /// Writes all. What no field stands for stays in the file as it is.
    bool Write(CAVIFile& file);

    /// Reads all. False when that is not the head of a file that Make has filled.
    bool Read(const CAVIFile& file);

    bool WriteMark(CAVIFile& file, tuint32 mark);

    /// Sets the sizes of the file and of its chunk list to those of the 64 MiB layout.
    void SetDefSize();

private:
    struct ROW {
        size_t offset;  // without extra bytes of the audio format
        void* pField;
        size_t size;
    };
    std::array<ROW, 24> Rows();
    size_t PlaceOf(const ROW& row) const;
    void MakeVideo(const BITMAPINFOHEADER& bmp, bool isPal);
    void MakeAudio(const WAVEFORMATEX& format);
    size_t ExtraBytes() const { return m_flagStrFormat[1][1] - sizeof(WAVEFORMATEX); }
    bool IsOurs() const;

    bool m_bHasAudio;
};
