// The answers of a classic recorder to what is asked about its recordings, as bodies of messages.
#pragma once

#include <vector>

#include "simulator/archive/SimArchive.h"
#include "simulator/SimBytes.h"

/// A result in messages, or a refusal in one.
struct CLASSIC_ANSWER {
    tuint32 cmdType = 0;
    std::vector<SIM_BYTES> bodies;  // never empty
};

/// `bWildTimes`: the records carry times that make no sense.
CLASSIC_ANSWER AnswerSearch(const CSimArchive& archive, SIM_BYTE_VIEW body, bool bWildTimes);
CLASSIC_ANSWER AnswerLogs(const CSimArchive& archive, SIM_BYTE_VIEW body, bool bWildTimes);
CLASSIC_ANSWER AnswerEvents(const CSimArchive& archive, SIM_BYTE_VIEW body, bool bWildTimes);

/// Carries out CMD_REQUEST_DATA_LOCK, _UNLOCK and _DELETE, on all files or on none.
CLASSIC_ANSWER ChangeFiles(CSimArchive& archive, tuint32 cmdType, SIM_BYTE_VIEW body);

/// The success without records.
CLASSIC_ANSWER MakeDone(tuint32 requestID, tuint32 kind);

/// `cmdType`: CMD_REPLY_DATA_NULL or CMD_REPLY_SYS_STATUS_FAIL.
CLASSIC_ANSWER MakeNull(tuint32 cmdType, tuint32 requestID, tuint32 reason);
