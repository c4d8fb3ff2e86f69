#include "simulator/classic/ClassicMessages.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace {

constexpr tuint8 DEVICE_MAC[8] = {0x02, 0x48, 0x4C, 0x58, 0x00, 0x01, 0, 0};
constexpr tuint32 CONFIG_VERSION = 3;
constexpr tuint32 SOFTWARE_VERSION = 0x01020000;
constexpr tuint32 ALL_RIGHTS = 0xFFFFFFFF;

template <size_t SIZE>
void PutText(char (&field)[SIZE], const std::string& sText) {
    const size_t length = std::min(sText.size(), SIZE - 1);
    std::memcpy(field, sText.data(), length);
}

template <class Record>
SIM_BYTES BodyBytes(const Record& record) {
    SIM_BYTES body;
    Append(body, RecordBytes(record));
    return body;
}

void FillCounts(PRODUCT_INFO& product, const CLASSIC_RECORDER_CONFIG& config) {
    const auto channels = static_cast<tuint8>(config.channels);
    product.localVideoInputNum = channels;
    product.audioInputNum = channels;
    product.sensorInputNum = channels;
    product.relayOutputNum = 4;
    product.displayResolutionMask = 0x1F;
    product.videoOuputNum = 2;
    product.netVideoOutputNum = channels;
    product.presetNumOneCH = 128;
    product.cruiseNumOneCH = 32;
    product.presetNumOneCruise = 16;
    product.trackNumOneCH = 1;
    product.userNum = 64;
    product.netClientNum = static_cast<tuint8>(std::min(config.maxSessions, 255u));
    product.netFirstStreamNum = channels;
    product.deviceType = 1;
    product.doblueStream = 1;
    product.audioStream = 1;
    product.talkAudio = 1;
    product.bPasswordCheck = 1;
    product.videoInputNum = channels;
}

void FillTexts(PRODUCT_INFO& product, const CLASSIC_RECORDER_CONFIG& config) {
    PutText(product.deviceName, config.sDeviceName);
    PutText(product.firmwareVersion, "1.2.0");
    PutText(product.kernelVersion, "5.10.0");
    PutText(product.hardwareVersion, "SIM-1");
    PutText(product.MCUVersion, "1.0");
}

/// A count, and so many records that `fill` makes, from number 1 on.
template <class Record, class Fill>
SIM_BYTES CountAndRecords(tuint32 count, const Fill& fill) {
    SIM_BYTES body;
    Append(body, RecordBytes(count));
    for (tuint32 number = 1; number <= count; ++number) {
        Record record{};
        fill(record, number);
        Append(body, RecordBytes(record));
    }
    return body;
}

}  // namespace

PRE_SEND_DATA MakeFirstBlock(const CLASSIC_RECORDER_CONFIG& config) {
    PRE_SEND_DATA block{};
    block.dwFlag = SWL_HEADFLAG;
    block.dwDevType = 0;
    block.dwProductType = config.deviceID;
    block.dwProtocolVer = CLASSIC_PROTOCOL_VERSION;
    block.dwConfigVer = CONFIG_VERSION;
    block.dwID = config.registerID;
    std::copy(std::begin(DEVICE_MAC), std::end(DEVICE_MAC), block.MAC);
    block.dwSoftwareVer = SOFTWARE_VERSION;
    block.wProductSubID = config.productSubID;
    return block;
}

PACKCMD MakeCommandHead(tuint32 cmdType, size_t bodyLength) {
    return {cmdType, 0, CLASSIC_PROTOCOL_VERSION, static_cast<tuint32>(bodyLength)};
}

tuint64 ChannelMask(unsigned channels) { return channels >= 64 ? ~tuint64{0} : (tuint64{1} << channels) - 1; }

NET_LOGIN_SUCCESS_REPLY MakeLoginReply(const CLASSIC_RECORDER_CONFIG& config) {
    NET_LOGIN_SUCCESS_REPLY reply{};
    const tuint64 mask = ChannelMask(config.channels);
    reply.authority = ALL_RIGHTS;
    reply.authLiveCH = reply.authRecordCH = reply.authPlaybackCH = mask;
    reply.authBackupCH = reply.authPTZCtrlCH = reply.authRemoteViewCH = mask;

    PRODUCT_INFO& product = reply.productInfo;
    FillCounts(product, config);
    product.defBrightness = product.defContrast = product.defSaturation = product.defHue = 128;
    product.deviceID = config.deviceID;
    product.videoFormat = 1;        // PAL
    product.deviceIP = 0x0100007F;  // 127.0.0.1
    std::copy(std::begin(DEVICE_MAC), std::end(DEVICE_MAC), product.deviceMAC);
    product.buildDate = 20240115;
    product.buildTime = 120000;
    FillTexts(product, config);
    return reply;
}

SIM_BYTES MakeDiskReply(const CLASSIC_RECORDER_CONFIG& config) {
    return CountAndRecords<DVR_DISK_INFO>(config.diskCount, [](DVR_DISK_INFO& disk, tuint32 number) {
        PutText(disk.diskname, "disk" + std::to_string(number));
        PutText(disk.mountdir, "/mnt/disk" + std::to_string(number));
        disk.totalSpace = 1907729;  // megabytes
        disk.freeSpace = 1000000 / number;
        disk.partitionNum = 1;
    });
}

SIM_BYTES MakeCameraReply(const CLASSIC_RECORDER_CONFIG& config) {
    return CountAndRecords<NET_IPC_DEVICE_INFO>(config.cameraCount, [](NET_IPC_DEVICE_INFO& camera, tuint32 number) {
        camera.deviceID = number;
        camera.channel = static_cast<tuint16>(number - 1);
        camera.status = 1;
        PutText(camera.szEtherName, "eth0");
        PutText(camera.szServer, "192.0.2." + std::to_string(number));
        camera.nPort = 9008;
        camera.nHttpPort = 80;
        camera.nCtrlPort = 9008;
        PutText(camera.szID, "SIM-CAMERA-" + std::to_string(number));
        PutText(camera.username, "admin");
        PutText(camera.productModel, "Simulated camera");
        PutText(camera.szChlname, "Camera " + std::to_string(number));
    });
}

std::vector<SIM_BYTES> MakeStatusMessages(const std::optional<CLASSIC_STATUS>& old, const CLASSIC_STATUS& now) {
    const auto bodies = [](const CLASSIC_STATUS& status) {
        const auto records =
            NET_REC_STATUS_INFO{0, status.manualRec, status.scheduleRec, status.motionRec, status.sensorRec};
        return std::array{std::pair{CMD_REPLY_VIDEO_LOSS, BodyBytes(NET_STATUS_MASK_INFO{0, status.videoLoss})},
                          std::pair{CMD_REPLY_MOTION, BodyBytes(NET_STATUS_MASK_INFO{0, status.motion})},
                          std::pair{CMD_REPLY_SENSOR, BodyBytes(NET_STATUS_MASK_INFO{0, status.sensor})},
                          std::pair{CMD_REPLY_REC_STATUS, BodyBytes(records)}};
    };
    const auto told = bodies(old.value_or(CLASSIC_STATUS{}));
    const auto news = bodies(now);
    std::vector<SIM_BYTES> messages;
    for (size_t i = 0; i < news.size(); ++i) {
        const auto& [cmdType, body] = news[i];
        if (old && body == told[i].second) continue;
        SIM_BYTES& message = messages.emplace_back();
        const PACKCMD head = MakeCommandHead(cmdType, body.size());
        Append(message, RecordBytes(head));
        Append(message, body);
    }
    return messages;
}
