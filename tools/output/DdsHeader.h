#pragma once

#include "tagXStoreTile.h"

#include <array>

/// What stands before the blocks of a picture in a DDS file: the magic word and the header of 124 bytes, as Microsoft's
/// programming guide for DDS has them. The tile must be packed in blocks.
std::array<unsigned char, 128> MakeDdsHeader(const tagXStoreTile& tile);
