#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Port of a device when the command line names none.
inline constexpr uint16_t DEFAULT_DEVICE_PORT = 5000;

// Where a device is asked for.
struct ENDPOINT {
    std::string strHost;  // name or address; an IPv6 address stands without brackets
    uint16_t wPort = DEFAULT_DEVICE_PORT;
};

// Reads HOST, HOST:PORT, a bare IPv6 address, [IPv6] or [IPv6]:PORT. Nothing when the text is none of these.
std::optional<ENDPOINT> ParseEndpoint(std::string_view strText);

// The endpoint as a person types it, with brackets around an IPv6 address.
std::string EndpointText(const ENDPOINT& endpoint);

// Reads "500ms", "10s", "1.5m", "2h" or plain seconds. Nothing for other units, zero, negative or above 30 days.
std::optional<std::chrono::milliseconds> ParseDuration(std::string_view strText);

// One station of a cruise.
struct STATION {
    uint32_t nPreset = 0;
    uint32_t nSeconds = 5;  // that the camera stays there
};

// Highest number of a preset and of a cruise.
inline constexpr uint32_t LAST_PTZ_PLACE = 255;

// Reads "PRESET" or "PRESET:TIME", the time in whole seconds. Nothing for other texts.
std::optional<STATION> ParseStation(std::string_view strText);

// A text field of a record that need not end, made fit for a terminal: control characters become dots.
std::string FieldText(const char* sField, size_t nSize);

// "1.4 MB"; decimal units.
std::string BytesText(uint64_t nBytes);
