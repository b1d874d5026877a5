// Annotations of the catalogue as objects, and annotation records that are damaged.
#include "support/AllocationCounter.h"
#include "support/DataFile.h"
#include "support/Hex.h"
#include "support/Messages.h"

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/codec/XMLDecoder.h>

#include <gtest/gtest.h>

using namespace kwxml::test;

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
  EXPECT_EQ(toText(log), "");
}

TEST(Annotations, WhatIsNotThereIsLoggedAndChangesNothing)
{
  Transcript log("codec/log.cases");
  const YMMessageBase m = make("Types_Annotated");
  Annotation::Text text;
  ASSERT_TRUE(XMLDecoder::getTextAnnotation(field(m, "titled"), text));
  for (const char* name : {"command", "marked", "nothing", ""}) {
    EXPECT_FALSE(XMLDecoder::FillAnnotation(&m, text, name));
  }
  EXPECT_FALSE(XMLDecoder::FillAnnotation(static_cast<const _ClassDef*>(nullptr), text, "titled"));
  const YMMessageBase classless;
  EXPECT_FALSE(XMLDecoder::FillAnnotation(&classless, text, "titled"));
  EXPECT_FALSE(XMLDecoder::FillAnnotation(static_cast<YMMessageBase*>(nullptr), text, "titled"));
  log.note("a getter asks whether there is one");
  EXPECT_FALSE(XMLDecoder::getTextAnnotation(field(m, "command"), text));
  EXPECT_EQ(text.text, "A <title>");
}

TEST(Annotations, DamagedRecordsFailWithoutAnAnnotation)
{
  expectCases("codec/annotations.cases", "", [](const std::string& hex) {
    const std::string bytes = fromHex(hex);
    // A copy of exactly the record's length, so that the sanitizer sees every byte that is read behind it.
    const std::vector<unsigned char> exact(bytes.begin(), bytes.end());
    FieldDef def = field(make("Types_Annotated"), "command");
    def.annotations = exact.data();
    const _ClassDef cls{"Own", &def, 1, -1, 1, 1};
    Annotation::Text text;
    text.text = "before";
    Annotation::CommandParam parameter;
    const bool filled = XMLDecoder::FillAnnotation(&cls, text, "command");
    EXPECT_EQ(XMLDecoder::getTextAnnotation(def, text), filled);
    EXPECT_FALSE(XMLDecoder::getCommandParamAnnotation(def, parameter) || parameter.useDefault.has_value());
    std::vector<unsigned long> ids;
    XMLDecoder::FillAnnotationIds(def, ids);
    return text.text + ", " + std::to_string(ids.size()) + " annotations";
  });
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
