// What every exported function does to the last error, without and with a session root.
#include <set>

#include "ApiTestSupport.h"

namespace {

TEST(WrapperForm, TableHoldsEveryFunctionOnce) {
    constexpr size_t WITHOUT_ROW = 8 + 4;  // those of the root, and four without a result or with a fixed one
    std::set<std::string> names;
    for (const EXPORT_ROW& row : ExportRows()) names.insert(row.sName);
    EXPECT_EQ(names.size(), ExportRows().size());
    EXPECT_EQ(names.size() + WITHOUT_ROW, 182u);
}

TEST(WrapperForm, MissingRootGivesTheFailureValue) {
    for (const EXPORT_ROW& row : ExportRows()) {
        if (row.form == FORM::CODEC || row.form == FORM::DIRECT) continue;  // may be called after HLX_Init only
        StoreError(OTHER_ERROR);
        EXPECT_EQ(row.call(), row.noRoot) << row.sName;
        EXPECT_EQ(StoredError(), row.form == FORM::SILENT ? LONG{OTHER_ERROR} : LONG{HLX_NOINIT}) << row.sName;
    }
}

TEST(WrapperForm, FixedAnswersNeedNoRoot) {
    StoreError(OTHER_ERROR);
    HLX_SetIsWifi(false);
    EXPECT_FALSE(HLX_StopSaveFileToUsb(1));
    EXPECT_EQ(HLX_GetSDKVersion(), 0u);
    EXPECT_EQ(HLX_GetSDKBuildVersion(), 0u);
    EXPECT_EQ(StoredError(), LONG{OTHER_ERROR});
    EXPECT_FALSE(HLX_SetLogToFile(true, "", false, YLOG_INFO));
    EXPECT_EQ(StoredError(), HLX_NOINIT);
}

class WrapperFormWithRoot : public CApiTest {};

TEST_F(WrapperFormWithRoot, OnlySomeFormsResetTheError) {
    char url[256] = {};
    const struct {
        const char* pName;
        LONG expected;  // stored error after a call that sets none itself
        std::function<void()> call;
    } rows[] = {
        {"full", HLX_SUCCESS, [] { EXPECT_TRUE(HLX_SetReconnect(3000, true)); }},
        {"full, refused", HLX_SUCCESS, [] { EXPECT_FALSE(HLX_Logout(0)); }},
        {"untimed", HLX_SUCCESS, [&] { EXPECT_TRUE(HLX_GetRtspUrl(1, 2, 1, url)); }},
        {"keeps the error", OTHER_ERROR, [] { EXPECT_TRUE(HLX_SetConnectTime(5000, 1)); }},
        {"silent", OTHER_ERROR, [] { EXPECT_TRUE(HLX_CloseSound()); }},
        {"silent, version", OTHER_ERROR, [] { EXPECT_EQ(HLX_GetSDKVersion(), 65538u); }},
        {"codec", HLX_SUCCESS, [] { HLX_ReleaseAudioDecoder(1); }},
        {"no form", OTHER_ERROR, [] { HLX_SetIsWifi(true); }},
        {"direct", HLX_PARAMETER_ERROR, [] { EXPECT_EQ(HLX_GetProductSubID(nullptr, 1), -1); }},
    };
    for (const auto& row : rows) {
        StoreError(OTHER_ERROR);
        row.call();
        EXPECT_EQ(StoredError(), row.expected) << row.pName;
    }
    EXPECT_STREQ(url, "rtsp://:554/chID=2&streamType=sub");
}

}  // namespace
