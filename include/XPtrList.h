#pragma once

#include "XList.h"

/// A list of pointers that it does not own.
using XPtrList = XList<void*>;
