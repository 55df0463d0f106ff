#pragma once

#include "XList.h"
#include "XString.h"

/// A list of texts. It holds copies, so that a text handed in may go or change afterwards. The order is that of the
/// calls, and equal texts are kept side by side.
using XStringList = XList<XString>;
