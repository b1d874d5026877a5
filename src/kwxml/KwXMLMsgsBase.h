// The whole public interface of the message library. Only <kwxml/xml/MySAX2Handler.h> is left to those who
// write a SAX2 handler of their own: it derives from a class of xerces-c, whose headers and library they then
// need.
#pragma once

#include <kwxml/platform/CxxStandard.h>

#include <kwxml/annotation/Annotations.h>
#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/annotation/PasswordAlgorithms.h>
#include <kwxml/binary/BinaryExplain.h>
#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/binary/RecordScan.h>
#include <kwxml/binary/YMMessageBaseFileHandler.h>
#include <kwxml/codec/Decode.h>
#include <kwxml/codec/JSONDecoder.h>
#include <kwxml/codec/JSONEncoder.h>
#include <kwxml/codec/StandInPasswords.h>
#include <kwxml/codec/StrictReading.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/events/EventConversion.h>
#include <kwxml/log/LogXml.h>
#include <kwxml/log/XmlBinaryLogger.h>
#include <kwxml/log/XmlLoggerHelper.h>
#include <kwxml/metadata/DummyValues.h>
#include <kwxml/metadata/JsonSchema.h>
#include <kwxml/metadata/SchemaDetails.h>
#include <kwxml/metadata/XMLMetaData.h>
#include <kwxml/metadata/XmlSchema.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/TypedCollections.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/CYxFile.h>
#include <kwxml/platform/EvMessageContainer.h>
#include <kwxml/platform/KwException.h>
#include <kwxml/reading/Problems.h>
#include <kwxml/text/Base64.h>
#include <kwxml/text/Dates.h>
#include <kwxml/traverse/DefaultRenderContext.h>
#include <kwxml/traverse/DifferencePage.h>
#include <kwxml/traverse/FieldText.h>
#include <kwxml/traverse/HTMLRenderContext.h>
#include <kwxml/traverse/KwXMLSummary.h>
#include <kwxml/traverse/MessageDiff.h>
#include <kwxml/traverse/MessagePage.h>
#include <kwxml/traverse/MessageText.h>
#include <kwxml/traverse/XmlTraverse.h>
#include <kwxml/traverse/XmlUtils.h>
#include <kwxml/xml/InvalidChars.h>
#include <kwxml/xml/Transcoding.h>
#include <kwxml/xml/XMLSerializationSupport.h>
#include <kwxml/xml/XMLSerializer.h>

/// What the library adds to its classes: reading and writing in one call, catalogues as objects, problems of
/// reading, differences, pages, and what generated wrappers stand on.
namespace kwxml {
}
/// The annotations that schemas attach to fields, as values.
namespace Annotation {
}
/// The wrapper of the one class that the library itself knows.
namespace KwEntities {
}
