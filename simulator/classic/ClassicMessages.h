// The messages that a classic recorder sends, as bytes.
#pragma once

#include <optional>
#include <vector>

#include "protocol/ClassicProtocol.h"
#include "simulator/classic/ClassicConfig.h"
#include "simulator/classic/ClassicState.h"
#include "simulator/SimBytes.h"

/// The first block of a link.
PRE_SEND_DATA MakeFirstBlock(const CLASSIC_RECORDER_CONFIG& config);

/// PACKCMD of a message that goes to the client.
PACKCMD MakeCommandHead(tuint32 cmdType, size_t bodyLength);

NET_LOGIN_SUCCESS_REPLY MakeLoginReply(const CLASSIC_RECORDER_CONFIG& config);

/// Body of CMD_REPLY_DISK_INFO: the count, then the records.
SIM_BYTES MakeDiskReply(const CLASSIC_RECORDER_CONFIG& config);

/// Body of CMD_REPLY_NET_DEVICE_LOG_GET_SUCC: the count, then the records.
SIM_BYTES MakeCameraReply(const CLASSIC_RECORDER_CONFIG& config);

/// The status messages, whole, that bring a client from `old` to `now`; all four for one that was told nothing.
std::vector<SIM_BYTES> MakeStatusMessages(const std::optional<CLASSIC_STATUS>& old, const CLASSIC_STATUS& now);

/// A mask with the bits of the channels that the recorder has.
tuint64 ChannelMask(unsigned channels);
