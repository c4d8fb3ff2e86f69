#include "sdk_common/SystemFault.h"

#ifdef HLX_SYSTEM_FAULTS
#include <atomic>

namespace {
std::atomic<SYSTEM_FAULT_HOOK> g_hook{nullptr};
}

void SetSystemFaultHook(SYSTEM_FAULT_HOOK hook) { g_hook = hook; }

SYSTEM_FAULT NextSystemFault(SYSTEM_CALL call) {
    const SYSTEM_FAULT_HOOK hook = g_hook;
    return hook ? hook(call) : SYSTEM_FAULT{};
}
#endif
