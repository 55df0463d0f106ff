#pragma once

#include "XList.h"

/// A list of pointers of any kind. It does not own what they point to: removing an element deletes nothing, and the
/// caller knows the type behind each pointer. Null is an element like any other.
using XPtrList = XList<void*>;
