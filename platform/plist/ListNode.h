#pragma once

#include "platform/plist/PropertyList.h"

#include <plist/plist.h>

#include <memory>
#include <string>
#include <string_view>

namespace fw {

struct FreeListNode {
    void operator()(plist_t node) const { plist_free(node); }
};

/// A value of the library with all that is in it.
using ListNode = std::unique_ptr<void, FreeListNode>;

/// The list in the bytes of a file, or null. Damaged bytes are refused before the library, which
/// trusts its input in places, sees them.
ListNode nodeFromBytes(std::string_view bytes);

/// Puts a value of the library into `into`; false when it holds something that makes no sense.
bool readNode(plist_t node, PropertyListValue& into);

/// Null when it is nested too deep to be read again.
ListNode nodeFromValue(const PropertyListValue& value);

/// The whole XML file.
std::string xmlFromNode(plist_t node);

} // namespace fw
