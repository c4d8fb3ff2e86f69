// Numbers of the public configuration items.
#pragma once

#include "HLX.h"

/// A public configuration item, as HLX_GetDVRConfig and HLX_SetDVRConfig take it (DWORD dwCommand).
enum DD_CONFIG_ITEM_ID : DWORD {};
