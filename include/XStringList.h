#pragma once

#include "XList.h"
#include "XString.h"

/// A list of texts.
using XStringList = XList<XString>;
