// The least that a program needs to receive live frames: the limit that the library is measured against.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

/// Given to each frame: its data and its length. On a thread of its own.
using MINIMAL_CALLBACK = std::function<void(const unsigned char*, size_t)>;

/// Connects to `port` of this machine and receives until the link ends: a loop of select and recv cuts the link frames,
/// copies each frame once into a ring, and another thread gives it to `callback` where it lies. No login, no
/// heartbeats, no second link, and it trusts its peer.
void RunMinimalLive(std::uint16_t port, const MINIMAL_CALLBACK& callback);
