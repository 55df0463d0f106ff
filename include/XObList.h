#pragma once

#include "XList.h"
#include "XObject.h"

/// A list of objects that it does not own.
using XObList = XList<XObject*>;
