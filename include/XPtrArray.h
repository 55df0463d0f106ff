#pragma once

#include "XArray.h"

/// An array of pointers of any kind. It does not own what they point to: removing an element deletes nothing, and the
/// caller knows the type behind each pointer. Null is an element like any other.
using XPtrArray = XArray<void*>;
