#pragma once

#include "XArray.h"

/// An array of pointers that it does not own.
using XPtrArray = XArray<void*>;
