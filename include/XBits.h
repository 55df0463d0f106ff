#pragma once

#include "XExport.h"

/// Bit `bit` of a buffer, 1 or 0. Bit 0 is the most significant bit of byte 0. The buffer must hold it.
ZRKIO_API int XfnGetBitBuffer(unsigned char* buf, int bit);

/// Sets the bit if `value` is nonzero and clears it otherwise, numbered as by `XfnGetBitBuffer`.
ZRKIO_API void XfnSetBitBuffer(unsigned char* buf, int bit, int value);

/// The largest power of two not above `n`. A value that rounds up to the next power as a 32-bit float gives that next
/// power. `n` must not be negative. Returns 0 for 0 and for a negative number.
ZRKIO_API int XfnGetNearest2nValue(int n);

/// The index of the highest set bit of `n`, or -1 if `n` is not positive.
ZRKIO_API int XfnGetPowerOf2nValue(int n);
