// The messages that a classic recorder sends, as bytes.
#pragma once

#include "protocol/ClassicProtocol.h"
#include "simulator/classic/ClassicConfig.h"
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

/// A mask with the bits of the channels that the recorder has.
tuint64 ChannelMask(unsigned channels);
