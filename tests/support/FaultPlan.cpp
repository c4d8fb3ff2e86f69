#include "support/FaultPlan.h"

#include <atomic>
#include <cstdlib>
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#include <sanitizer/common_interface_defs.h>
#else
static void __sanitizer_print_stack_trace() {}
#endif

namespace {

thread_local bool t_bTestsOwn = false;

std::atomic<const FAULT_PLAN*> g_pPlan{nullptr};
std::array<std::atomic<int>, SYSTEM_CALL_COUNT> g_calls;
const bool g_bShow = std::getenv("HLX_TEST_SHOW_SITES") != nullptr;

SYSTEM_FAULT Next(SYSTEM_CALL call) {
    if (t_bTestsOwn) return {};
    const int number = ++g_calls[static_cast<size_t>(call)];
    const FAULT_PLAN* pPlan = g_pPlan;
    if (!pPlan || pPlan->call != call || pPlan->site == 0 || number < pPlan->site) return {};
    if (number > pPlan->site && !pPlan->bForGood) return {};
    const CTestsOwnDoing own;
    if (g_bShow && number == pPlan->site) __sanitizer_print_stack_trace();
    return pPlan->fault;
}

}  // namespace

CFaultsInForce::CFaultsInForce(const FAULT_PLAN& plan) : m_plan(plan) {
    for (auto& calls : g_calls) calls = 0;
    g_pPlan = &m_plan;
    SetSystemFaultHook(Next);
}

CFaultsInForce::~CFaultsInForce() {
    SetSystemFaultHook(nullptr);
    Lift();
}

void CFaultsInForce::Lift() { g_pPlan = nullptr; }

int CFaultsInForce::Calls(SYSTEM_CALL call) { return g_calls[static_cast<size_t>(call)]; }

CTestsOwnDoing::CTestsOwnDoing(bool bOwn) : m_bBefore(t_bTestsOwn) { t_bTestsOwn = bOwn; }

CTestsOwnDoing::~CTestsOwnDoing() { t_bTestsOwn = m_bBefore; }
