// A running recorder with an event log.
#pragma once

#include "simulator/classic/ClassicRecorder.h"
#include "support/Test.h"
#include "WireClient.h"

class RecorderTest : public testing::Test {
protected:
    RecorderTest() {
        m_config.sMediaFolder = HLX_SIM_SOURCE_MEDIA;
        m_config.sPassword = "secret";
        m_config.observer = m_log.Observer();
    }

    std::uint16_t StartRecorder() {
        m_pRecorder = std::make_unique<CClassicRecorder>(m_config);
        std::string sError;
        EXPECT_TRUE(m_pRecorder->Start(sError)) << sError;
        return m_pRecorder->Port();
    }

    CSimEventLog m_log;
    CLASSIC_RECORDER_CONFIG m_config;
    std::unique_ptr<CClassicRecorder> m_pRecorder;
};

constexpr auto PATIENCE = std::chrono::seconds(5);
