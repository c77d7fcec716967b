#pragma once
// Drawing buffer. Qt buffers by itself: these calls have no effect.

int PgSetDrawBufferSize(unsigned short length);
int PgFlush(void);
