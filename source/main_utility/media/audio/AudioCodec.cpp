#include "main_utility/media/audio/AudioCodec.h"

void CAudioCodec::GetDecFormat(WAVEFORMATEX* pwfx) const { *pwfx = {AUDIO_TAG_PCM, 1, 8000, 16000, 2, 16, 0}; }
