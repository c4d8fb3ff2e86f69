// Translation of the classic recorder's frames to the public form.
#pragma once

#include <span>

#include "HLX.h"
#include "protocol/ClassicProtocol.h"

/// Fills the public frame info from the wire's; `deviceID` is left alone. False, with nothing written, for a frame type
/// that the protocol does not know.
bool ConvertFrameInfo(const FRAME_INFO& wire, HLX_FRAME_INFO& frame);

/// True if sound of `length` bytes stands in blocks of a prefix and samples.
constexpr bool IsBlockedAudio(size_t length) { return length % AUDIO_BLOCK_SIZE == 0; }

/// Copies the samples of whole blocks to `target` without the prefixes, as many blocks as fit. Returns the bytes
/// written.
size_t UnpackAudio(std::span<const std::byte> blocks, std::span<std::byte> target);
