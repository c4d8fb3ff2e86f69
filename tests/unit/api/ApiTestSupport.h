// What the tests of the exported functions share.
#pragma once

#include "HLX.h"
#include "support/MovedTime.h"
#include "support/Test.h"

/// A number that nothing under test sets.
constexpr DWORD OTHER_ERROR = HLX_CARDHAVEINIT;

/// The stored error; unlike HLX_GetLastError it can be read without HLX_Init.
LONG StoredError();
void StoreError(DWORD error);

/// How an exported function treats the last error and a missing root.
enum class FORM { FULL, KEEP_ERROR, SILENT, DIRECT, CODEC };

/// An exported function, to be called with nothing but zeroes: null pointers, user id and handle 0.
struct EXPORT_ROW {
    std::string sName;
    FORM form;
    LONG noRoot;  // result without HLX_Init
    std::function<LONG()> call;
};

/// All exported functions but those of the root itself and those that have no result.
const std::vector<EXPORT_ROW>& ExportRows();

/// A test between HLX_Init and HLX_Cleanup, with time running so fast that no thread of the library holds up its end.
class CApiTest : public testing::Test {
protected:
    void SetUp() override {
        m_time.SetRate(1000);
        ASSERT_TRUE(HLX_Init());
    }
    void TearDown() override { HLX_Cleanup(); }

    CMovedTime m_time;
};
