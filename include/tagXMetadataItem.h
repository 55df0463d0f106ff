#pragma once

#include "XString.h"

/// A text that a file carries beside its pixels: a name, and what it says.
struct tagXMetadataItem {
  XString name;
  XString value;
  int band = -1;   ///< 0-based; -1 for the file as a whole
  XString domain;  ///< the name space that the file keeps it in; empty for the common one
  XString role{};  ///< what programs take it for beyond a text, as "description" or "unittype"; mostly empty
};
