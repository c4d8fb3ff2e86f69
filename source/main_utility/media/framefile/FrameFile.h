// Files of frames in the library's own format: heads, each with its payload behind it, and nothing else.
#pragma once

#include "HLX.h"
#include "protocol/WireTypes.h"

HLX_WIRE_RECORD(SDK_FRAME_INFO, 20);
HLX_WIRE_OFFSET(SDK_FRAME_INFO, frameType, 4);
HLX_WIRE_OFFSET(SDK_FRAME_INFO, keyFrame, 6);
HLX_WIRE_OFFSET(SDK_FRAME_INFO, nWidth, 8);
HLX_WIRE_OFFSET(SDK_FRAME_INFO, nHeight, 10);
HLX_WIRE_OFFSET(SDK_FRAME_INFO, nStamp, 12);

/// The head that a frame of a ring gets in a file. What does not fit into 16 bits is cut.
inline SDK_FRAME_INFO FileHead(const HLX_FRAME_INFO& frame) {
    SDK_FRAME_INFO head;
    head.nLength = frame.length;
    head.frameType = static_cast<WORD>(frame.frameType);
    head.keyFrame = frame.keyFrame != 0;
    head.nWidth = static_cast<WORD>(frame.width);
    head.nHeight = static_cast<WORD>(frame.height);
    head.nStamp = frame.time;
    return head;
}
