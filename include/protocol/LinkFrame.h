// Framing of every message on a link. All integers of the wire are little-endian.
#pragma once

#include "protocol/WireTypes.h"

/// The four bytes "1111" that start a link frame.
constexpr tuint32 LINK_FRAME_MARKER = 0x31313131;

/// "PACK": first word of a packed message as it is handed to the receiver.
constexpr tuint32 PACKED_DATA_FLAG = 0x4B434150;

/// "head": first word of PRE_SEND_DATA.
constexpr tuint32 SWL_HEADFLAG = 0x64616568;

#pragma pack(push, 1)
struct LINK_FRAME_HEAD {
    tuint32 marker;  //  0  LINK_FRAME_MARKER
    tint32 length;   //  4  payload bytes; 0 is a heartbeat; below 0 a PACKED_HEAD follows instead of a counted payload
};
HLX_WIRE_RECORD(LINK_FRAME_HEAD, 8);

/// Head of one piece of a message that was too big for one frame; dwLen bytes of the message follow it.
struct PACKED_HEAD {
    tuint32 dwDataID;     //  0  id of the whole message
    tuint32 dwTotalPack;  //  4  number of pieces
    tuint32 dwTotalLen;   //  8  bytes of the whole message
    tuint32 dwPackIndex;  // 12  1 for the first piece, dwTotalPack for the last
    tint32 dwLen;         // 16  bytes in this piece; a negative value breaks the link
    tuint32 dwReserved;   // 20
};
HLX_WIRE_RECORD(PACKED_HEAD, 24);
HLX_WIRE_OFFSET(PACKED_HEAD, dwLen, 16);

/// The 64 bytes that a device sends first on a new link, without a link frame around them.
struct PRE_SEND_DATA {
    tuint32 dwFlag;               //  0  SWL_HEADFLAG
    tuint32 dwDevType;            //  4  family: 0 classic recorder, 2 camera, 3 newer recorder
    tuint32 dwProductType;        //  8
    tuint32 dwProtocolVer;        // 12
    tuint32 dwConfigVer;          // 16
    tuint32 dwID;                 // 20  register id of a device that calls in
    tuint32 dwEncryptType;        // 24
    tuint32 dwEncryptParam;       // 28
    tuint8 MAC[8];                // 32
    tuint32 dwSoftwareVer;        // 40
    tuint8 loginEncrypt;          // 44
    tuint8 loginNonce[3];         // 45
    tuint32 bSuportSoftEncrypt;   // 48  the spelling is the interface's
    tuint8 transportEncryptType;  // 52
    tuint8 byReserve[3];          // 53
    tuint8 byReserve2[6];         // 56
    tint16 wProductSubID;         // 62  custom product sub-id
};
#pragma pack(pop)
HLX_WIRE_RECORD(PRE_SEND_DATA, 64);
HLX_WIRE_OFFSET(PRE_SEND_DATA, MAC, 32);
HLX_WIRE_OFFSET(PRE_SEND_DATA, loginEncrypt, 44);
HLX_WIRE_OFFSET(PRE_SEND_DATA, wProductSubID, 62);
