// A cheap pre-parse of XML text that bounds how deeply its elements nest.
//
// TinyXML parses one recursion level per nesting level, and its parse time
// grows with the square of the depth, so a document nested a few ten
// thousand levels deep overflows the stack. Documents are measured with
// this scan before TinyXML sees them.

#ifndef QUARN_BASE_INTERNAL_XMLNESTING_H_
#define QUARN_BASE_INTERNAL_XMLNESTING_H_

#include <stddef.h>

namespace quarn_xml {

// The deepest element nesting the library parses. Gateway documents nest a
// handful of levels.
constexpr int kMaxXmlDepth = 256;

// True when no element of the `length` bytes at `text` lies more than
// `limit` elements deep. Comments, CDATA sections, processing
// instructions, declarations and quoted attribute values are skipped; an
// unterminated construct ends the scan (the parser reports it).
bool NestingWithin(const char* text, size_t length, int limit);

}  // namespace quarn_xml

#endif  // QUARN_BASE_INTERNAL_XMLNESTING_H_
