#include <kwxml/xml/GuardedReader.h>

#include <kwxml/xml/MySAX2Handler.h>

#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLUni.hpp>

#include <cstdint>
#include <cstdlib>

namespace kwxml {

ParserMemory::~ParserMemory()
{
  for (Block* block = blocks_.next; block != &blocks_;) {
    Block* next = block->next;
    std::free(block);
    block = next;
  }
}

xercesc::MemoryManager* ParserMemory::getExceptionMemoryManager()
{
  return xercesc::XMLPlatformUtils::fgMemoryManager;
}

void* ParserMemory::allocate(XMLSize_t size)
{
  Block* block =
      size <= SIZE_MAX - sizeof(Block) ? static_cast<Block*>(std::malloc(sizeof(Block) + size)) : nullptr;
  if (block == nullptr) {
    throw xercesc::OutOfMemoryException();
  }
  block->next = blocks_.next;
  block->previous = &blocks_;
  blocks_.next->previous = block;
  blocks_.next = block;
  return block + 1;
}

void ParserMemory::deallocate(void* memory)
{
  if (memory != nullptr) {
    Block* block = static_cast<Block*>(memory) - 1;
    block->next->previous = block->previous;
    block->previous->next = block->next;
    std::free(block);
  }
}

GuardedReader::GuardedReader(ParserMemory& memory, MySAX2Handler& handler)
    : handler_(handler), reader_(xercesc::XMLReaderFactory::createXMLReader(&memory))
{
  reader_->setContentHandler(&handler);
  reader_->setErrorHandler(&handler);
  reader_->setDeclarationHandler(&handler);
  reader_->setDTDHandler(&handler);
  reader_->setFeature(xercesc::XMLUni::fgXercesLoadExternalDTD, false);
  reader_->setFeature(xercesc::XMLUni::fgXercesLoadSchema, false);
  reader_->setFeature(xercesc::XMLUni::fgXercesDisableDefaultEntityResolution, true);
}

void GuardedReader::readNarrow(bool withoutNamespaces)
{
  reader_->setFeature(xercesc::XMLUni::fgSAX2CoreValidation, false);
  if (withoutNamespaces) {
    reader_->setFeature(xercesc::XMLUni::fgSAX2CoreNameSpaces, false);
    reader_->setFeature(xercesc::XMLUni::fgXercesSchema, false);
    reader_->setFeature(xercesc::XMLUni::fgXercesDynamic, false);
    reader_->setFeature(xercesc::XMLUni::fgSAX2CoreNameSpacePrefixes, false);
    reader_->setFeature(xercesc::XMLUni::fgXercesSchemaFullChecking, false);
  }
  security_.setEntityExpansionLimit(0);
  reader_->setProperty(xercesc::XMLUni::fgXercesSecurityManager, &security_);
}

void GuardedReader::readWide(bool validate)
{
  handler_.refuseElementDeclarations(validate);
  reader_->setFeature(xercesc::XMLUni::fgSAX2CoreValidation, validate);
  reader_->setFeature(xercesc::XMLUni::fgSAX2CoreNameSpaces, validate);
  reader_->setFeature(xercesc::XMLUni::fgXercesSchema, validate);
  reader_->setFeature(xercesc::XMLUni::fgXercesDynamic, false);
  reader_->setFeature(xercesc::XMLUni::fgSAX2CoreNameSpacePrefixes, false);
  reader_->setFeature(xercesc::XMLUni::fgXercesSchemaFullChecking, false);
}

}  // namespace kwxml
