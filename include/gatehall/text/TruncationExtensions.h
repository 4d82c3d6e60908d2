#pragma once

#include "gatehall/base/Export.h"
#include "gatehall/text/AttributedString.h"
#include "gatehall/text/TextRange.h"

namespace gatehall {

// Shortens styled text to a width by cutting characters out of its middle and putting one
// horizontal ellipsis in their place. Widths are in points.

/// A new string that fits the width, cut within the range (the whole string without one). The
/// string itself stays as it is. Raises as truncateToFit.
GATEHALL_EXPORT AttributedString truncatedStringToFit(const AttributedString& string, float width);
GATEHALL_EXPORT AttributedString truncatedStringToFit(const AttributedString& string, float width,
                                                      TextRange range);

/// The range, widened to whole composed characters; an empty one stays as it is. Raises
/// RangeException for a range outside the string and, so, for any range of an empty string and for
/// one that starts at the end.
GATEHALL_EXPORT TextRange adjustRange(const AttributedString& string, TextRange range);

/// Cuts the string within the range (the whole string without one) until it fits. A string that
/// fits, and an empty range, leave it unchanged. Raises RangeException for a range outside the
/// string, and when spaces or full stops at the right end lead the cut past it; the string is
/// unchanged then.
GATEHALL_EXPORT void truncateToFit(MutableAttributedString& string, float width);
GATEHALL_EXPORT void truncateToFit(MutableAttributedString& string, float width, TextRange range);

}  // namespace gatehall
