// A SAX2 parser for texts from outside: it opens nothing, and what it allocates ends with it. Not installed.
//
// A ParserMemory is declared before the try block of a parse and outlives the reader and every exception that
// the parser throws. It keeps a list of the parser's blocks and frees at its end what the parser lost:
// xerces-c forgets the nodes of an element declaration that it gives up on, and a hostile text would make
// each parse leak many times its own size.
#pragma once

#include <xercesc/framework/MemoryManager.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/util/SecurityManager.hpp>

#include <memory>

class MySAX2Handler;

namespace kwxml {

class ParserMemory final : public xercesc::MemoryManager
{
public:
  ParserMemory() = default;
  ParserMemory(const ParserMemory&) = delete;
  ParserMemory& operator=(const ParserMemory&) = delete;
  ~ParserMemory() override;

  MemoryManager* getExceptionMemoryManager() override;
  void* allocate(XMLSize_t size) override;
  void deallocate(void* memory) override;

private:
  struct alignas(16) Block
  {
    Block* next;
    Block* previous;
  };
  Block blocks_{&blocks_, &blocks_};
};

class GuardedReader
{
public:
  /// A reader that feeds the handler. May throw the exceptions of xerces-c.
  GuardedReader(ParserMemory& memory, MySAX2Handler& handler);

  /// Features for narrow text: no validation, and no expansion of any entity.
  void readNarrow(bool withoutNamespaces);
  /// Features for wide text. A validating reader refuses element declarations: their content models grow out
  /// of all proportion to their text.
  void readWide(bool validate);

  xercesc::SAX2XMLReader* operator->() { return reader_.get(); }

private:
  MySAX2Handler& handler_;
  xercesc::SecurityManager security_;
  std::unique_ptr<xercesc::SAX2XMLReader> reader_;
};

}  // namespace kwxml
