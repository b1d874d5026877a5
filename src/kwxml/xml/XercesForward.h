// The xerces-c classes that public signatures name. Their namespace carries the library's version, as
// xerces-c's own headers declare it; XMLSerializer.cpp fails to compile where it differs.
#pragma once

namespace xercesc_3_2 {
class DOMDocument;
class DOMElement;
class DOMLSSerializer;
class MemBufInputSource;
class MemoryManager;
}  // namespace xercesc_3_2
