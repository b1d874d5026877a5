// The texts that a message carries beside its fields: cached XML, CDATA and the last error.
#include <kwxml/model/YMMessageBase.h>

#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/AccessorRules.h>
#include <kwxml/model/MessageLife.h>

#include <cstdarg>
#include <cstdio>

std::string& YMMessageBase::getSerializedXMLStringRef()
{
  if (serializedXml_ == nullptr) {
    serializedXml_ = new std::string;
  }
  return *serializedXml_;
}

void YMMessageBase::setSerializedXMLString(const std::string& text, bool markSerialized)
{
  getSerializedXMLStringRef() = text;
  serialized_ = serialized_ || markSerialized;
}

void YMMessageBase::setLastSerializedXMLString(const std::string& text)
{
  if (lastSerializedXml_ == nullptr) {
    lastSerializedXml_ = new std::string;
  }
  *lastSerializedXml_ = text;
}

void YMMessageBase::clearSerializedXMLString()
{
  if (serializedXml_ != nullptr) {
    serializedXml_->clear();
  }
  serialized_ = false;
}

void YMMessageBase::setCDATABuffer(const std::string& text)
{
  if (cdataBuffer_ == nullptr) {
    cdataBuffer_ = new CdataBuffer;
  }
  cdataBuffer_->text = cdata(text);
  cdataBuffer_->set = true;
}

void YMMessageBase::resetCDATABuffer()
{
  if (cdataBuffer_ != nullptr) {
    cdataBuffer_->text = cdata();
    cdataBuffer_->set = false;
  }
}

bool YMMessageBase::isCDATABufferSet() const noexcept
{
  return cdataBuffer_ != nullptr && cdataBuffer_->set;
}

std::string YMMessageBase::getCDATABuffer() const
{
  return cdataBuffer_ != nullptr ? static_cast<const std::string&>(cdataBuffer_->text.text()) : std::string();
}

const unsigned short* YMMessageBase::getLastErrorEnglishW() const
{
  return m_wsLastErrorEnglish != nullptr ? m_wsLastErrorEnglish->c_str() : nullptr;
}

XMLChstring YMMessageBase::getLastErrorEnglishStrW() const
{
  return m_wsLastErrorEnglish != nullptr ? *m_wsLastErrorEnglish : XMLChstring();
}

void YMMessageBase::setLastErrorEnglishA(const char* format, ...)
{
  char discarded[8192];
  va_list args;
  va_start(args, format);
  (void)std::vsnprintf(discarded, sizeof discarded, format, args);
  va_end(args);
}

namespace {

cdata& deprecatedCdata(const char* function)
{
  XMLDebug::getInstance()->logError(function, "[%s]", "This is a deprecated function");
  return kwxml::AccessorRules::emptyValue<cdata>();
}

}  // namespace

cdata& YMMessageBase::getcdataobject(short, short, unsigned long, unsigned int)
{
  return deprecatedCdata("YMMessageBase::getcdataobject");
}

const cdata& YMMessageBase::getcdataobject_const(short, short, unsigned long, unsigned int) const
{
  return deprecatedCdata("YMMessageBase::getcdataobject_const");
}

void YMMessageBase::setcdataobject(short, short, const cdata&, unsigned long, unsigned int)
{
  XMLDebug::getInstance()->logError("YMMessageBase::setcdataobject", "This function is deprecated");
}
