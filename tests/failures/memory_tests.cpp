// Every allocation of every operation fails in turn, alone and with all behind it: nothing crashes, nothing
// leaks, nothing but std::bad_alloc leaves the library, and what is left is valid.
//
// KWXML_RELIABILITY=full tries all of them with a message of each class; otherwise a few.
#include "failures/FailingMemory.h"
#include "platform/TempDirectory.h"
#include "reliability/Extent.h"
#include "support/ManyMessages.h"
#include "support/ParserFeed.h"

#include <kwxml/KwXMLMsgsBase.h>
#include <kwxml/platform/CYxFile.h>
#include <kwxml/platform/LogSink.h>

#include <gtest/gtest.h>

#include <functional>

using namespace kwxml;
using namespace kwxml::test;

namespace {

std::string xmlOf(const YMMessageBase& message)
{
  YMMessageBase copy(message);
  std::string xml;
  XMLEncoder().serialize(copy, xml);
  return xml;
}

std::string jsonOf(const YMMessageBase& message)
{
  YMMessageBase copy(message);
  std::string json;
  JSONEncoder().serialize(copy, json);
  return json;
}

std::string bytesOf(const YMMessageBase& message)
{
  YMMessageBase copy(message);
  BinaryBuffer buffer;
  BinarySerializer::serialize(copy, buffer);
  return {buffer.data(), buffer.length()};
}

/// What an operation works on; made anew before each of its runs.
struct Subject
{
  Subject(const YMMessageBase& of, const TempDirectory& folder)
      : message(of),
        target(of),
        xml(xmlOf(of)),
        json(jsonOf(of)),
        bytes(bytesOf(of)),
        records(folder / "records"),
        batch(folder / "batch")
  {
    std::vector<YMMessageBase*> twice{&message, &message};
    CYxFile file(records.c_str(), CYxFile::Mode::Truncate);
    YMMessageBaseFileHandler(&file).AddObjectToFile(message);
    CYxFile many(batch.c_str(), CYxFile::Mode::Truncate);
    YMMessageBaseFileHandler(&many).appendBinaryBufferToFile(twice);
  }
  YMMessageBase message;
  YMMessageBase target;
  std::string xml;
  std::string json;
  std::string bytes;
  /// Files with the message, once and twice.
  std::string records;
  std::string batch;
};

/// What an operation that says what it did says where there was no memory.
constexpr int noMemory = -1;

struct Operation
{
  template <class Run>
  Operation(const char* name, Run does)
      : name(name), run([does](Subject& subject) {
          if constexpr (std::is_void_v<decltype(does(subject))>) {
            does(subject);
            return noMemory;
          } else {
            return does(subject);
          }
        })
  {
  }
  const char* name;
  std::function<int(Subject&)> run;
};

/// Frees what `run` was given in it.
template <class Run>
void owning(Run run)
{
  YMMessageBase* made = nullptr;
  struct End
  {
    YMMessageBase*& made;
    ~End() { delete made; }
  } end{made};
  run(made);
}

BinaryBuffer& wrap(BinaryBuffer& buffer, const std::string& bytes)
{
  buffer.SetReadBuffer(bytes.data(), bytes.size(), true);
  return buffer;
}

std::wstring wide(const std::string& text)
{
  return {text.begin(), text.end()};  // only what is ASCII is what it was
}

std::vector<Operation> operations()
{
  return {
      {"copy", [](Subject& s) { const YMMessageBase copy(s.message); }},
      {"assign", [](Subject& s) { s.target = s.message; }},
      {"compare", [](Subject& s) { static_cast<void>(s.target == s.message); }},
      {"reset", [](Subject& s) { s.message.reset(); }},
      {"create",
       [](Subject& s) {
         owning([&](YMMessageBase*& made) { made = YMMessageBase::createObject(s.message.getTagID()); });
       }},
      {"construct",
       [](Subject& s) {
         owning([&](YMMessageBase*& made) {
           std::string why;
           YMMessageBase::ConstructObject(s.message.getTagID(), s.xml.c_str(), made, true, why);
         });
       }},
      {"construct later",
       [](Subject& s) {
         owning([&](YMMessageBase*& made) {
           std::string why;
           YMMessageBase::ConstructObject(s.message.getTagID(), s.xml.c_str(), made, false, why);
         });
       }},
      {"write XML",
       [](Subject& s) {
         std::string xml;
         XMLEncoder().serialize(s.message, xml);
       }},
      {"write JSON",
       [](Subject& s) {
         std::string json;
         JSONEncoder().serialize(s.message, json);
       }},
      {"write binary",
       [](Subject& s) {
         BinaryBuffer buffer;
         BinarySerializer::serialize(s.message, buffer);
       }},
      {"read XML", [](Subject& s) { XMLDecoder().unSerialize(s.target, s.xml); }},
      {"read new XML",
       [](Subject& s) { owning([&](YMMessageBase*& made) { made = XMLSerializer().unserialize(s.xml); }); }},
      {"merge XML", [](Subject& s) { XMLSerializer().unserialize(s.target, s.xml, true); }},
      {"read wide XML", [](Subject& s) { XMLSerializer().unserialize(s.target, wide(s.xml).c_str()); }},
      {"read XML by the parser", [](Subject& s) { readByParser(s.xml); }},
      {"read XML with an observer",
       [](Subject& s) {
         Problems problems;
         XMLDecoder().unSerialize(s.target, s.xml, nullptr, &problems);
       }},
      {"read JSON", [](Subject& s) { JSONDecoder().unSerialize(s.target, s.json); }},
      {"read binary",
       [](Subject& s) {
         BinaryBuffer buffer;
         BinarySerializer::unserialize(s.target, wrap(buffer, s.bytes), nullptr, false);
       }},
      {"read new binary",
       [](Subject& s) {
         BinaryBuffer buffer;
         owning([&](YMMessageBase*& made) {
           made = BinarySerializer::unserialize(wrap(buffer, s.bytes), nullptr, false);
         });
       }},
      {"read binary with an observer",
       [](Subject& s) {
         BinaryBuffer buffer;
         Problems problems;
         BinarySerializer::unserialize(s.target, wrap(buffer, s.bytes), nullptr, false, &problems);
       }},
      {"peek",
       [](Subject& s) {
         std::string name;
         unsigned int tag = 0;
         XMLSerializer::GetTagAndTagIDFromXML(s.xml, name, tag);
       }},
      {"peek wide",
       [](Subject& s) {
         std::string name;
         unsigned int tag = 0;
         XMLSerializer::GetTagAndTagIDFromXML(wide(s.xml), name, tag);
       }},
      {"peek by the parser",
       [](Subject& s) {
         std::string name;
         unsigned int tag = 0;
         XMLSerializer::GetTagAndTagIDFromXML("<!DOCTYPE x [<!ELEMENT x ANY>]>" + s.xml, name, tag);
       }},
      {"append a record",
       [](Subject& s) {
         CYxFile file(s.records.c_str(), CYxFile::Mode::Update);
         YMMessageBaseFileHandler(&file).AddObjectToFile(s.message);
       }},
      {"read a record",
       [](Subject& s) {
         CYxFile file(s.records.c_str(), CYxFile::Mode::Read);
         owning([&](YMMessageBase*& made) {
           if (YMMessageBaseFileHandler(&file).GetObjectFromFile(made) ==
               YMMessageBaseFileHandler::NoMemory) {
             EXPECT_EQ(file.Tell(), 0) << "the record is still the next one";
           }
         });
       }},
      {"read a batch",
       [](Subject& s) {
         CYxFile file(s.batch.c_str(), CYxFile::Mode::Read);
         std::vector<YMMessageBase*> messages;
         struct End
         {
           std::vector<YMMessageBase*>& messages;
           ~End()
           {
             for (YMMessageBase* message : messages) {
               delete message;
             }
           }
         } end{messages};
         const int result = YMMessageBaseFileHandler(&file).readBinaryBufferFromFile(messages, 9);
         return result == YMMessageBaseFileHandler::NoMemory ? noMemory : static_cast<int>(messages.size());
       }},
      {"scan records",
       [](Subject& s) {
         CYxFile file(s.records.c_str(), CYxFile::Mode::Read);
         RecordScan scan(file, RecordLayout::Single, RecordScan::Depth::Contents);
         int whole = 0;
         for (RecordStretch stretch; scan.next(stretch);) {
           whole += stretch.kind == RecordStretch::Kind::Record ? 1 : 0;
         }
         return whole;
       }},
      {"render",
       [](Subject& s) {
         std::string text;
         KwXMLSummary::getSummaryInfo(s.xml, text);
       }},
      {"merge", [](Subject& s) { XmlTraverse().merge(s.message, s.target); }},
      {"XPath metadata",
       [](Subject& s) {
         std::vector<XPathMetaData> records;
         XMLMetaData().getXpathMetaData(&s.message, records, false);
       }},
  };
}

/// Runs the operation once while that allocation fails. False when it needs fewer. `does` is what it says it
/// does.
bool runsOutOf(std::size_t number, bool all, const Operation& operation, const YMMessageBase& of,
               const TempDirectory& folder, int& does)
{
  SCOPED_TRACE(std::string(operation.name) + " of " + of.getTagName() + ", allocation " +
               std::to_string(number) + (all ? " and all behind it" : ""));
  bool failed = false;
  {
    Subject subject(of, folder);
    {
      const FailingMemory failing(number, all);
      try {
        does = operation.run(subject);
      } catch (const std::bad_alloc&) {
        does = noMemory;
      } catch (...) {
        FailingMemory::stop();
        ADD_FAILURE() << "a foreign exception";
      }
      FailingMemory::stop();
      failed = FailingMemory::failed();
    }
    // All of it can still be looked at, written and changed.
    for (YMMessageBase* const message : {&subject.message, &subject.target}) {
      YMMessageBase copy(*message);
      static_cast<void>(copy == *message);
      bytesOf(copy);
      xmlOf(copy);
      *message = of;
      EXPECT_TRUE(bytesOf(*message) == bytesOf(of));
    }
  }
  EXPECT_EQ(FailingMemory::blocksLeft(), 0u) << "blocks are never freed";
  return failed;
}

}  // namespace

TEST(FailingMemory, EveryAllocationOfEveryOperation)
{
  setLogSink([](const LogRecord&) {});
  XMLDebug::getInstance()->logError("FailingMemory", "Where lines go is settled with the first one");
  const TempDirectory folder;
  const std::vector<Operation> all = operations();
  const bool full = isFull();
  std::size_t series = 0;
  std::size_t turn = 0;
  Figures figures("memory, failed allocations");
  std::vector<YMMessageBase> messages;
  for (const PackedReference& reference : everyMessageClass()) {
    messages.emplace_back(static_cast<int>(reference.system), static_cast<int>(reference.classIndex));
    fillAll(messages.back(), 1, 1);
  }
  for (const YMMessageBase& message : messages) {
    for (const Operation& operation : all) {
      if (!full && ++turn % 7 != 0) {
        continue;
      }
      // What is made once in the life of the process is made before.
      int does = 0;
      runsOutOf(~std::size_t{0}, false, operation, message, folder, does);
      for (const bool rest : {false, true}) {
        // Of few allocations most, of many others in each class.
        ++series;
        const std::size_t step = full ? 1 : 5 + series * 7 % 89;
        int did = 0;
        for (std::size_t number = full ? 1 : 1 + series % 5;
             runsOutOf(number, rest, operation, message, folder, did); number += step) {
          ++figures.inputs;
          EXPECT_TRUE(did == does || did == noMemory)
              << operation.name << " of " << message.getTagName() << ", allocation " << number << ": " << did;
        }
      }
    }
  }
  setLogSink(nullptr);
}
