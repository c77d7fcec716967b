#pragma once
// Drawing buffer. Qt buffers by itself: the call has no effect.

int PgSetDrawBufferSize(unsigned short length);
