// GUIDs and their text.
#pragma once

#include "HLX.h"
#include "protocol/WireTypes.h"

struct GUID {
    tuint32 Data1;
    tuint16 Data2;
    tuint16 Data3;
    tuint8 Data4[8];

    friend bool operator==(const GUID&, const GUID&) = default;
};
HLX_WIRE_RECORD(GUID, 16);

/// Bytes of a GUID's text with its terminator.
constexpr size_t GUID_TEXT_SIZE = 39;

/// Makes a new GUID. Always true.
BOOL CreateGUID(GUID& guid);

/// Prints "{00000001-0002-0003-0405-060708090A0B}" to `pText`, which has room for GUID_TEXT_SIZE bytes. False for a
/// null pointer.
BOOL GuidToString(const GUID& guid, char* pText);

/// Reads the form that GuidToString prints, as sscanf takes it: braces and dashes required, small letters and fewer
/// digits in a field allowed, as are spaces, a sign or "0x" before them; what follows the closing brace is not looked
/// at. The zero GUID for anything else.
GUID GetGuidFromString(const char* pText);
