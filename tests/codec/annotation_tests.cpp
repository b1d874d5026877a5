// Annotations of the catalogue as objects, and annotation records that are damaged.
#include "support/AllocationCounter.h"
#include "support/LogCapture.h"
#include "support/Messages.h"

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/codec/XMLDecoder.h>

#include <gtest/gtest.h>

using namespace kwxml::test;

namespace {

constexpr const char* fillFunction = "XMLDecoder::FillAnnotation";

using Bytes = std::basic_string<unsigned char>;

/// A record with one attached annotation; its lengths may lie.
Bytes record(unsigned long tag, const std::string& members, int lengthError = 0, int membersError = 0)
{
  Bytes bytes{0, 0, 0, 0, 0, 1};
  for (const int shift : {24, 16, 8, 0}) {
    bytes += static_cast<unsigned char>(tag >> shift);
  }
  const int size = static_cast<int>(members.size()) + membersError;
  bytes += static_cast<unsigned char>(size >> 8);
  bytes += static_cast<unsigned char>(size);
  bytes.append(members.begin(), members.end());
  bytes[1] = static_cast<unsigned char>(static_cast<int>(bytes.size()) + lengthError);
  return bytes;
}

FieldDef fieldWith(const Bytes& bytes)
{
  FieldDef def = field(make("Types_Annotated"), "command");
  def.annotations = bytes.data();
  return def;
}

}  // namespace

TEST(Annotations, AreFilledFromFieldsAndEnumerators)
{
  LogCapture log(25);
  const YMMessageBase m = make("Types_Annotated");
  Annotation::CommandParam parameter;
  EXPECT_TRUE(XMLDecoder::FillAnnotation(&m, parameter, "command") && parameter.useDefault == true);
  EXPECT_TRUE(XMLDecoder::FillAnnotation(m.getClass(), parameter, "commandWithoutDefault") &&
              parameter.useDefault == false);
  EXPECT_TRUE(XMLDecoder::getCommandParamAnnotation(field(m, "several"), parameter) &&
              parameter.useDefault == true);
  Annotation::Text text;
  const _ClassDef* color = YMMessageBase::GetClassDef(0x01000013);
  EXPECT_TRUE(XMLDecoder::FillAnnotation(color, text, "GREEN") && text.text == "Bright green");
  EXPECT_TRUE(XMLDecoder::getTextAnnotation(field(m, "several"), text) && text.text == "Several");
  Annotation::SearchCriteriaDef criteria;
  EXPECT_TRUE(XMLDecoder::getSearchCriteriaDefAnnotation(field(m, "criteria"), criteria));
  EXPECT_EQ(criteria.members(), (AnnotationBase::Members{{"column", "number"}, {"operator", "equal"}}));
  Annotation::StoredProcedure procedure;
  EXPECT_TRUE(XMLDecoder::getStoredProcedure(field(m, "procedure"), procedure));
  const std::string* timeout = procedure.findMember("timeout");
  EXPECT_TRUE(timeout != nullptr && *timeout == "30" && procedure.findMember("Timeout") == nullptr);
  Annotation::Suppress suppress;
  Annotation::HideInReports hide;
  Annotation::Password password;
  Annotation::SingleInstanced single;
  EXPECT_TRUE(XMLDecoder::FillAnnotation(&m, suppress, "suppressed"));
  EXPECT_TRUE(XMLDecoder::FillAnnotation(&m, hide, "hiddenInReports"));
  EXPECT_TRUE(XMLDecoder::FillAnnotation(&m, password, "passwordMarked"));
  EXPECT_TRUE(XMLDecoder::FillAnnotation(&m, single, "single"));
  EXPECT_EQ(log.lines(), std::vector<LogLine>());
}

TEST(Annotations, WhatIsNotThereIsLoggedAndChangesNothing)
{
  LogCapture log;
  const YMMessageBase m = make("Types_Annotated");
  Annotation::Text text;
  ASSERT_TRUE(XMLDecoder::getTextAnnotation(field(m, "titled"), text));
  for (const char* name : {"command", "marked", "nothing", ""}) {
    EXPECT_FALSE(XMLDecoder::FillAnnotation(&m, text, name));
    EXPECT_EQ(log.lines().back(),
              (LogLine{0, fillFunction, "No class level annotation found for [" + std::string(name) + "]"}));
  }
  EXPECT_FALSE(XMLDecoder::FillAnnotation(static_cast<const _ClassDef*>(nullptr), text, "titled"));
  const YMMessageBase classless;
  EXPECT_FALSE(XMLDecoder::FillAnnotation(&classless, text, "titled"));
  EXPECT_FALSE(XMLDecoder::FillAnnotation(static_cast<YMMessageBase*>(nullptr), text, "titled"));
  EXPECT_EQ(log.lines().size(), 4 + 3u);
  EXPECT_EQ(log.lines().back(), (LogLine{0, fillFunction, "Received NULL ClassDef"}));
  log.clear();
  EXPECT_FALSE(XMLDecoder::getTextAnnotation(field(m, "command"), text));
  EXPECT_TRUE(log.lines().empty()) << "a getter asks whether there is one";
  EXPECT_EQ(text.text, "A <title>");
}

TEST(Annotations, DamagedRecordsFailWithoutAnAnnotation)
{
  const std::string good("\4text\0\2ab", 9);
  const unsigned long text = kwxml::annotationTag("Text");
  ASSERT_TRUE(Annotation::Text().fill(good));
  const struct
  {
    Bytes bytes;
    bool known;  // the record says that there is an annotation of the kind
  } records[] = {
      {record(text, good, -1), true},      // ends inside the members
      {record(text, good, -9 - 1), true},  // ends inside the annotation's head
      {record(text, good, -9 - 6), true},  // ends behind the count
      {record(text, good, 0, +1), true},   // members longer than the record
      {record(text, good, 0, -1), true},   // the last value longer than the members
      {record(text, std::string("\4text", 5)), true},
      {record(text, std::string("\xFFtext\0\0", 7)), true},
      {record(text, good, -9 - 7), false},  // without the count: no annotation
      {Bytes{0, 0}, false},
      {Bytes{0, 2}, false},
  };
  const std::string damaged = "Failed to parse the annotation [Text] to fill the field [command]";
  LogCapture log;
  for (const auto& one : records) {
    // A copy of exactly the record's length, so that the sanitizer sees every byte that is read behind it.
    const std::size_t length = std::max<std::size_t>(2, one.bytes[0] << 8 | one.bytes[1]);
    const std::vector<unsigned char> exact(one.bytes.begin(), one.bytes.begin() + std::ptrdiff_t(length));
    FieldDef def = fieldWith(one.bytes);
    def.annotations = exact.data();
    const _ClassDef cls{"Own", &def, 1, -1, 1, 1};
    Annotation::Text annotation;
    annotation.text = "before";
    EXPECT_FALSE(XMLDecoder::FillAnnotation(&cls, annotation, "command"));
    EXPECT_FALSE(XMLDecoder::getTextAnnotation(def, annotation));
    EXPECT_EQ(log.texts(), one.known
                               ? std::vector(2, damaged)
                               : std::vector<std::string>{"No class level annotation found for [command]"});
    EXPECT_EQ(annotation.text, "before");
    std::vector<unsigned long> ids;
    XMLDecoder::FillAnnotationIds(def, ids);
    EXPECT_LE(ids.size(), 1u);
    log.clear();
  }
  const Bytes wrong = record(kwxml::annotationTag("CommandParam"), std::string("\12useDefault\0\3yes", 16));
  Annotation::CommandParam parameter;
  EXPECT_FALSE(XMLDecoder::getCommandParamAnnotation(fieldWith(wrong), parameter));
  EXPECT_EQ(log.texts(), std::vector<std::string>{
                             "Failed to parse the annotation [CommandParam] to fill the field [command]"});
  EXPECT_FALSE(parameter.useDefault.has_value());
}

TEST(Annotations, PresenceIsToldWithoutAllocation)
{
  const YMMessageBase m = make("Types_Annotated");
  const kwxml::AnnotationRecord annotations(field(m, "several").annotations);
  const AllocationCounter allocations;
  const bool several = annotations.has(kwxml::annotationTag("Suppress")) &&
                       annotations.has(kwxml::annotationTag("CommandParam")) &&
                       !annotations.has(kwxml::annotationTag("Password"));
  EXPECT_EQ(allocations.count(), 0u);
  EXPECT_TRUE(several);
}
