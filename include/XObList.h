#pragma once

#include "XList.h"
#include "XObject.h"

/// A list of objects that it does not own: removing an element deletes nothing, and an object must outlive its place in
/// the list. `XObject::IsKindOf` tells the class of an element. Null is an element like any other.
using XObList = XList<XObject*>;
