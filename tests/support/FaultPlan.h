// Makes calls of the library to the system fail, by a plan. Only in builds with HLX_SYSTEM_FAULTS.
#pragma once

#include <array>

#include "sdk_common/SystemFault.h"

struct FAULT_PLAN {
    SYSTEM_CALL call;
    int site = 0;  // which call of that kind, from 1 on; 0: none
    bool bForGood = false;
    SYSTEM_FAULT fault;
};

/// In force from construction to destruction, one at a time. Counts the calls of all kinds and fails those of the plan. Lifted, it only
/// counts on.
class CFaultsInForce {
public:
    explicit CFaultsInForce(const FAULT_PLAN& plan);
    ~CFaultsInForce();
    CFaultsInForce(const CFaultsInForce&) = delete;
    CFaultsInForce& operator=(const CFaultsInForce&) = delete;

    static void Lift();
    static int Calls(SYSTEM_CALL call);

private:
    const FAULT_PLAN m_plan;
};

/// Whether what this thread does is a test's own doing, of which nothing fails. A thread begins as one of the library; the former
/// state comes back with the end of the scope.
class CTestsOwnDoing {
public:
    explicit CTestsOwnDoing(bool bOwn = true);
    ~CTestsOwnDoing();
    CTestsOwnDoing(const CTestsOwnDoing&) = delete;
    CTestsOwnDoing& operator=(const CTestsOwnDoing&) = delete;

private:
    bool m_bBefore;
};
