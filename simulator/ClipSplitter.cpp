#include "simulator/ClipSplitter.h"

#include <algorithm>

#include "protocol/ClassicProtocol.h"

namespace {

/// What a NAL unit means for cutting.
struct NAL_ROLE {
    bool bPicture = false;    // part of a coded picture
    bool bOpensUnit = false;  // the first NAL unit of an access unit when a picture came before it
    bool bKeyFrame = false;
};

unsigned ByteAt(SIM_BYTE_VIEW stream, size_t at) { return at < stream.size() ? static_cast<unsigned>(stream[at]) : 0; }

NAL_ROLE RoleH264(SIM_BYTE_VIEW stream, size_t at) {
    const unsigned type = ByteAt(stream, at) & 0x1F;
    const bool bSlice = type >= 1 && type <= 5;
    // first_mb_in_slice is 0 when its Exp-Golomb code is the single bit 1.
    const bool bFirstSlice = bSlice && (ByteAt(stream, at + 1) & 0x80);
    const bool bAhead = (type >= 6 && type <= 9) || (type >= 14 && type <= 18);
    return {bSlice, bFirstSlice || bAhead, type == 5};
}

NAL_ROLE RoleH265(SIM_BYTE_VIEW stream, size_t at) {
    const unsigned type = (ByteAt(stream, at) >> 1) & 0x3F;
    const bool bSlice = type < 32;
    const bool bFirstSlice = bSlice && (ByteAt(stream, at + 2) & 0x80);
    const bool bAhead = (type >= 32 && type <= 35) || type == 39 || (type >= 41 && type <= 44) || type >= 48;
    return {bSlice, bFirstSlice || bAhead, type >= 16 && type <= 21};
}

/// Position of the next start code 00 00 01 from `from` on, or the end of the stream.
size_t NextStartCode(SIM_BYTE_VIEW stream, size_t from) {
    // Ones are rarer than zeros, so that they are what is looked for.
    for (size_t at = from + 2; at < stream.size(); ++at) {
        const void* pOne = std::memchr(stream.data() + at, 1, stream.size() - at);
        if (!pOne) break;
        at = static_cast<size_t>(static_cast<const std::byte*>(pOne) - stream.data());
        if (ByteAt(stream, at - 1) == 0 && ByteAt(stream, at - 2) == 0) return at - 2;
    }
    return stream.size();
}

std::vector<SIM_FRAME> SplitAccessUnits(SIM_BYTE_VIEW stream, NAL_ROLE (*pfRole)(SIM_BYTE_VIEW, size_t)) {
    std::vector<SIM_FRAME> frames;
    size_t unitStart = 0;
    NAL_ROLE unit;
    for (size_t code = NextStartCode(stream, 0); code < stream.size(); code = NextStartCode(stream, code + 3)) {
        const NAL_ROLE nal = pfRole(stream, code + 3);
        // A start code may be written with four bytes; the zero in front belongs to it.
        const size_t start = code > unitStart && ByteAt(stream, code - 1) == 0 ? code - 1 : code;
        if (unit.bPicture && nal.bOpensUnit) {
            frames.push_back({stream.subspan(unitStart, start - unitStart), unit.bKeyFrame});
            unitStart = start;
            unit = {};
        }
        unit.bPicture |= nal.bPicture;
        unit.bKeyFrame |= nal.bKeyFrame;
    }
    if (unit.bPicture) frames.push_back({stream.subspan(unitStart), unit.bKeyFrame});
    return frames;
}

/// The byte behind the picture whose SOI marker stands at `at`; 0 when it does not end.
size_t EndOfJpeg(SIM_BYTE_VIEW stream, size_t at) {
    constexpr unsigned SOS = 0xDA;
    // The segments before the scan have lengths and may hold any bytes.
    for (at += 2; at + 4 <= stream.size() && ByteAt(stream, at) == 0xFF;) {
        const unsigned marker = ByteAt(stream, at + 1);
        at += 2 + (ByteAt(stream, at + 2) << 8 | ByteAt(stream, at + 3));
        if (marker == SOS) break;
    }
    for (; at + 2 <= stream.size(); ++at) {
        if (ByteAt(stream, at) == 0xFF && ByteAt(stream, at + 1) == 0xD9) return at + 2;
    }
    return 0;
}

std::vector<SIM_FRAME> SplitPictures(SIM_BYTE_VIEW stream) {
    std::vector<SIM_FRAME> frames;
    size_t at = 0;
    while (at + 2 <= stream.size()) {
        if (ByteAt(stream, at) != 0xFF || ByteAt(stream, at + 1) != 0xD8) {
            ++at;
            continue;
        }
        const size_t end = EndOfJpeg(stream, at);
        if (end == 0) break;
        frames.push_back({stream.subspan(at, end - at), true});
        at = end;
    }
    return frames;
}

std::vector<SIM_FRAME> SplitSound(SIM_BYTE_VIEW stream) {
    std::vector<SIM_FRAME> frames;
    for (size_t at = 0; at + AUDIO_BLOCK_DATA <= stream.size(); at += AUDIO_BLOCK_DATA) {
        frames.push_back({stream.subspan(at, AUDIO_BLOCK_DATA), true});
    }
    return frames;
}

std::vector<SIM_FRAME> Split(SIM_CODEC codec, SIM_BYTE_VIEW stream) {
    switch (codec) {
        case SIM_CODEC::H264:
            return SplitAccessUnits(stream, RoleH264);
        case SIM_CODEC::H265:
            return SplitAccessUnits(stream, RoleH265);
        case SIM_CODEC::MJPEG:
            return SplitPictures(stream);
        case SIM_CODEC::ALAW:
            return SplitSound(stream);
    }
    return {};
}

}  // namespace

std::vector<SIM_FRAME> SplitClip(SIM_CODEC codec, SIM_BYTE_VIEW stream) {
    auto frames = Split(codec, stream);
    const auto firstKey =
        std::find_if(frames.begin(), frames.end(), [](const SIM_FRAME& frame) { return frame.bKeyFrame; });
    frames.erase(frames.begin(), firstKey);
    return frames;
}
