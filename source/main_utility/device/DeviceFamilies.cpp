#include "main_utility/device/DeviceFamilies.h"

#include <algorithm>
#include <memory>

#include "main_utility/device/classic/DVRNetDevice_V3.h"

namespace {

constexpr tuint32 MAX_CLASSIC_PROTOCOL = 4000000000U;

struct DEVICE_FAMILY {
    tuint32 dwDevType;
    DEVICE_VERSION eDVRVer;
    bool (*fServes)(const PRE_SEND_DATA& pre);
    std::unique_ptr<CNetDevice> (*fMakeDevice)();
};

constexpr DEVICE_FAMILY FAMILIES[] = {
    {0, DVR_VER_V3, [](const PRE_SEND_DATA& pre) { return pre.dwProtocolVer <= MAX_CLASSIC_PROTOCOL; },
     []() -> std::unique_ptr<CNetDevice> { return std::make_unique<CDVRNetDevice_V3>(); }},
};

}  // namespace

bool MakeDevice(const PRE_SEND_DATA& pre, NET_DEVICE_RES& res) {
    const auto family = std::find_if(std::begin(FAMILIES), std::end(FAMILIES),
                                     [&](const DEVICE_FAMILY& row) { return row.dwDevType == pre.dwDevType; });
    if (family == std::end(FAMILIES) || !family->fServes(pre)) return false;
    res.pNetDevice = family->fMakeDevice();
    res.eDVRVer = family->eDVRVer;
    return true;
}
