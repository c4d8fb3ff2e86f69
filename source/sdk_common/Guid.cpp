#include "sdk_common/Guid.h"

#include <uuid/uuid.h>

#include <algorithm>
#include <cstdio>

BOOL CreateGUID(GUID& guid) {
    // libuuid gives the bytes in the order of the text, most significant first.
    uuid_t bytes;
    uuid_generate(bytes);
    guid.Data1 = tuint32{bytes[0]} << 24 | tuint32{bytes[1]} << 16 | tuint32{bytes[2]} << 8 | bytes[3];
    guid.Data2 = static_cast<tuint16>(bytes[4] << 8 | bytes[5]);
    guid.Data3 = static_cast<tuint16>(bytes[6] << 8 | bytes[7]);
    std::copy_n(bytes + 8, sizeof(guid.Data4), guid.Data4);
    return true;
}

BOOL GuidToString(const GUID& guid, char* pText) {
    if (!pText) return false;
    const tuint8* p = guid.Data4;
    snprintf(pText, GUID_TEXT_SIZE, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", guid.Data1, guid.Data2,
             guid.Data3, p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7]);
    return true;
}

GUID GetGuidFromString(const char* pText) {
    GUID guid{};
    tuint8* p = guid.Data4;
    int end = 0;
    const int fields = pText
                           ? sscanf(pText, "{%8X-%4hX-%4hX-%2hhX%2hhX-%2hhX%2hhX%2hhX%2hhX%2hhX%2hhX}%n", &guid.Data1,
                                    &guid.Data2, &guid.Data3, p, p + 1, p + 2, p + 3, p + 4, p + 5, p + 6, p + 7, &end)
                           : 0;
    return fields == 11 && end > 0 ? guid : GUID{};
}
