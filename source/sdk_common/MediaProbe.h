// Reads picture sizes out of coded pictures.
#pragma once

/// The size of an H.264 stream, from the first sequence parameter set that starts with 00 00 01 67 in `buf`. The size
/// is that of whole macroblocks: multiples of 16, cropping and field coding not regarded. 1: found, `width` and
/// `height` are set. 0: no such set in the buffer, one cut short or out of range, or one of a profile above 100. -1: a
/// picture order type above 2, or one with a cycle of 255 or more.
int getvideosize(const unsigned char* buf, int buf_size, int& width, int& height);

/// The size of a baseline JPEG picture of `length` bytes. 1: found, `weidth` (the spelling is the interface's) and
/// `height` are set. 0: the picture's data or the buffer's end came before a size. -1: no JPEG.
int GetJepgSize(const unsigned char* buffer, int length, int& weidth, int& height);
