#include "simulator/FrameFormat.h"

#include "protocol/ClassicProtocol.h"

namespace {

#pragma pack(push, 1)
struct PICTURE_FORMAT {
    tuint32 biSize;          //  0
    tint32 biWidth;          //  4
    tint32 biHeight;         //  8
    tuint16 biPlanes;        // 12
    tuint16 biBitCount;      // 14
    char biCompression[4];   // 16
    tuint32 biSizeImage;     // 20
    tint32 biXPelsPerMeter;  // 24
    tint32 biYPelsPerMeter;  // 28
    tuint32 biClrUsed;       // 32
    tuint32 biClrImportant;  // 36
};
#pragma pack(pop)
HLX_WIRE_RECORD(PICTURE_FORMAT, 40);

const char* FourCC(SIM_CODEC codec) {
    switch (codec) {
        case SIM_CODEC::H264:
            return "H264";
        case SIM_CODEC::H265:
            return "H265";
        case SIM_CODEC::MJPEG:
            return "MJPG";
        case SIM_CODEC::ALAW:
            break;
    }
    return "\0\0\0\0";
}

}  // namespace

SIM_BYTES PictureFormat(const CSimClip& clip) {
    PICTURE_FORMAT format{};
    format.biSize = sizeof(format);
    format.biWidth = static_cast<tint32>(clip.Width());
    format.biHeight = static_cast<tint32>(clip.Height());
    format.biPlanes = 1;
    format.biBitCount = 24;
    std::memcpy(format.biCompression, FourCC(clip.Codec()), sizeof(format.biCompression));
    const SIM_BYTE_VIEW bytes = RecordBytes(format);
    return {bytes.begin(), bytes.end()};
}

SIM_BYTE_VIEW SoundFormat() {
    static constexpr SOUND_FORMAT IN_UNITS = ALawFormat(AUDIO_BLOCK_SIZE);
    return RecordBytes(IN_UNITS);
}

SIM_BYTE_VIEW SoundPrefix() { return RecordBytes(AUDIO_BLOCK_MARK); }
