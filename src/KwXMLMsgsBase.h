// The whole public interface of the message library. Only <kwxml/xml/MySAX2Handler.h> is left to those who
// write a SAX2 handler of their own: it derives from a class of xerces-c, whose headers and library they then
// need.
#pragma once

#include <kwxml/annotation/Annotations.h>
#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/annotation/PasswordAlgorithms.h>
#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/binary/YMMessageBaseFileHandler.h>
#include <kwxml/codec/StandInPasswords.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/metadata/DummyValues.h>
#include <kwxml/metadata/XMLMetaData.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/KwException.h>
#include <kwxml/traverse/DefaultRenderContext.h>
#include <kwxml/traverse/FieldText.h>
#include <kwxml/traverse/HTMLRenderContext.h>
#include <kwxml/traverse/KwXMLSummary.h>
#include <kwxml/traverse/MessageDiff.h>
#include <kwxml/traverse/XmlTraverse.h>
#include <kwxml/traverse/XmlUtils.h>
#include <kwxml/xml/Base64.h>
#include <kwxml/xml/Dates.h>
#include <kwxml/xml/InvalidChars.h>
#include <kwxml/xml/Transcoding.h>
#include <kwxml/xml/XMLSerializationSupport.h>
#include <kwxml/xml/XMLSerializer.h>
