#include "XPaletteReader.h"

XPaletteReader::~XPaletteReader() = default;
