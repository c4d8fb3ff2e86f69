#include <arpa/inet.h>
#include <fmt/format.h>

#include <cstring>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Output.h"
#include "Session.h"

namespace {

using Json = nlohmann::ordered_json;

template <size_t N>
std::string Field(const char (&sField)[N]) {
    return FieldText(sField, N);
}

constexpr const char* DEVICE_TYPES[] = {"DVR", "DVS", "IP camera", "NVR", "hybrid DVR", "decoder", "network DVR"};

std::string DeviceTypeText(unsigned nType) {
    return nType < std::size(DEVICE_TYPES) ? DEVICE_TYPES[nType] : fmt::format("unknown ({})", nType);
}

const char* VideoFormatText(unsigned nFormat) {
    return nFormat == DD_VIDEO_FORMAT_NTSC ? "NTSC" : nFormat == DD_VIDEO_FORMAT_PAL ? "PAL" : "unknown";
}

std::string AddressText(uint32_t dwAddress) {
    char sText[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &dwAddress, sText, sizeof sText);  // the record keeps network order
    return sText;
}

std::string MACText(const HLX_DEVICEINFO& info) {
    std::string strText;
    for (const auto c : info.deviceMAC) {
        strText += fmt::format("{}{:02x}", strText.empty() ? "" : ":", static_cast<unsigned char>(c));
    }
    return strText;
}

Json NamesJson(const HLX_DEVICEINFO& info) {
    return {{"deviceName", Field(info.deviceName)},
            {"deviceType", DeviceTypeText(info.deviceType)},
            {"deviceProduct", Field(info.deviceProduct)},
            {"serialNumber", Field(info.szSN)},
            {"deviceID", info.deviceID},
            {"address", AddressText(info.deviceIP)},
            {"port", info.devicePort},
            {"mac", MACText(info)},
            {"firmwareVersion", Field(info.firmwareVersion)},
            {"firmwareVersionEx", Field(info.firmwareVersionEx)},
            {"kernelVersion", Field(info.kernelVersion)},
            {"hardwareVersion", Field(info.hardwareVersion)},
            {"mcuVersion", Field(info.MCUVersion)},
            {"softwareVersion", info.softwareVer},
            {"buildDate", info.buildDate},
            {"buildTime", info.buildTime}};
}

Json InputsJson(const HLX_DEVICEINFO& info) {
    return {{"videoFormat", VideoFormatText(info.videoFormat)},
            {"videoInputs", info.videoInputNum},
            {"localVideoInputs", info.localVideoInputNum},
            {"netVideoInputs", info.netVideoInputNum},
            {"videoOutputs", info.videoOuputNum},
            {"audioInputs", info.audioInputNum},
            {"sensorInputs", info.sensorInputNum},
            {"sensorOutputs", info.sensorOutputNum},
            {"secondStream", info.doblueStream != 0},
            {"audioStream", info.audioStream != 0},
            {"talk", info.talkAudio != 0},
            {"users", info.userNum},
            {"netClients", info.netClientNum},
            {"presets", info.presetNumOneCH},
            {"cruises", info.cruiseNumOneCH},
            {"tracks", info.trackNumOneCH}};
}

// A line of the text form: a word for the reader and the record's key.
struct LINE {
    const char* sLabel;
    const char* sKey;
};
constexpr LINE LINES[] = {{"Name", "deviceName"},
                          {"Type", "deviceType"},
                          {"Product", "deviceProduct"},
                          {"Serial number", "serialNumber"},
                          {"Address", "host"},
                          {"MAC", "mac"},
                          {"Firmware", "firmwareVersion"},
                          {"Kernel", "kernelVersion"},
                          {"Hardware", "hardwareVersion"},
                          {"Video inputs", "videoInputs"},
                          {"Video format", "videoFormat"},
                          {"Audio inputs", "audioInputs"},
                          {"Alarm inputs", "sensorInputs"},
                          {"Alarm outputs", "sensorOutputs"},
                          {"Second stream", "secondStream"},
                          {"Talk", "talk"}};

std::string ValueText(const Json& value) {
    if (value.is_string()) return value.get<std::string>();
    if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
    return value.dump();
}

std::string InfoText(const Json& record) {
    std::string strText;
    for (const LINE& line : LINES) {
        const std::string strValue = ValueText(record.at(line.sKey));
        if (!strValue.empty()) strText += fmt::format("{:<14} {}\n", line.sLabel, strValue);
    }
    return strText;
}

EXIT_CODE Print(const OPTIONS& options, const CSession& session) {
    Json record = {{"event", "info"}, {"host", EndpointText(options.connect.endpoint)}};
    record.update(NamesJson(session.Info()));
    record.update(InputsJson(session.Info()));
    return PrintedExit(options.connect.bJson ? PrintJson(record) : PrintData(InfoText(record)));
}

}  // namespace

EXIT_CODE RunInfo(const OPTIONS& options, CInterrupt& interrupt) {
    return RunInSession(options.connect, interrupt, -1,
                        [&](const CSession& session) { return Print(options, session); });
}
