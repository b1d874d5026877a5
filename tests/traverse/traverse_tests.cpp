// The walk over messages: what visitors are shown in which order, what is made and kept, what is logged; and
// the merge of two messages.
#include <kwxml/traverse/XmlTraverse.h>

#include <kwxml/annotation/Annotations.h>
#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/codec/StandInPasswords.h>
#include <kwxml/model/Limits.h>
#include <kwxml/model/MessageInternal.h>

#include "support/DataFile.h"
#include "support/Documents.h"
#include "support/Messages.h"
#include "support/SmallStack.h"

#include <gtest/gtest.h>

#include <functional>

using namespace kwxml::test;

namespace {

/// Counts what it is shown or writes it down, and does what the test wants.
struct Visitor final : XmlTraverseHandler
{
  using XmlTraverseHandler::XmlTraverseHandler;
  void beginTraverse(std::string name) override { note("begin " + name); }
  void startSubObject(MsgFieldContext& f) override
  {
    ++starts;
    note(std::string("start ") + f.getField().getName());
    onStart(f);
  }
  void visit(MsgFieldContext& f) override
  {
    ++visits;
    note(traces ? pathOf(f) + (f.isValueSet() ? " set" : "") : "");
    onVisit(f);
  }
  void endSubObject(MsgFieldContext& f) override
  {
    ++ends;
    note(std::string("end ") + f.getField().getName());
  }
  void endTraverse(std::string name) override { note("end " + name); }
  void note(const std::string& line) { trace += traces ? line + "\n" : ""; }
  static std::string pathOf(const MsgFieldContext& f)
  {
    std::string path = f.getField().getName();
    for (const FieldDefTraverseInfo* up = f.getTRParent(); up != nullptr; up = up->parent) {
      path = up->getName() + ("." + path);
    }
    return path;
  }

  std::function<void(MsgFieldContext&)> onStart = [](MsgFieldContext&) {};
  std::function<void(MsgFieldContext&)> onVisit = [](MsgFieldContext&) {};
  bool traces = false;
  std::string trace;
  int starts = 0;
  int visits = 0;
  int ends = 0;
};

/// Changes the number of a path, or "texts": every text.
std::function<void(MsgFieldContext&)> replacing(const std::string& change)
{
  return [change](MsgFieldContext& f) {
    if (Visitor::pathOf(f) == change) {
      f.replaceValue(7);
    } else if (change == "texts" && f.getField().type == FIELD_STRING) {
      f.replaceValue(std::string("new"));
    }
  };
}

std::string walk(YMMessageBase& m, bool order, bool create, bool keep, const std::string& change = "")
{
  Visitor visitor(0, order);
  visitor.traces = true;
  visitor.onVisit = replacing(change);
  XmlTraverse().traverse(m, visitor, create, keep);
  return visitor.trace;
}

/// The context of a field outside a walk.
MsgFieldContext context(YMMessageBase& m, const char* name)
{
  return MsgFieldContext(field(m, name), &m);
}

}  // namespace

TEST(Walk, ShowsMakesAndKeeps)
{
  expectCases("traverse/walks.cases", "", [](const std::string& input) {
    LogCapture log;
    const auto line = input.find('\n');
    const Settings settings(input.substr(0, line));
    YMMessageBase m = fromXml(input.substr(line + 1));
    const YMMessageBase before = m;
    const std::string trace =
        walk(m, settings.has("order"), settings.has("create"), settings.has("keep"), settings.text("change"));
    for (const FieldDef& def : *m.getClass()) {  // nothing that was made is held and not set
      if (def.type == FIELD_OBJECT && !isSet(m, def.getName())) {
        const auto held = [&def](const YMMessageBase& one) {
          return kwxml::MessageAccess::pointer<YMMessageBase>(one, def.slot) != nullptr;
        };
        EXPECT_EQ(held(m), held(before)) << def.getName();
      }
    }
    const std::string after = toXml(m);
    EXPECT_EQ(toText(log), "");
    return trace + after;
  });
}

TEST(Walk, WithoutAClassCallsNothing)
{
  const Transcript log("traverse/log.cases");
  YMMessageBase none;
  EXPECT_EQ(walk(none, false, true, true) + walk(none, true, true, true), "");
  YMMessageBase m = bare("Types_Report");
  const YMMessageBase& element = none;
  ASSERT_TRUE(XMLDecoder::InsertIntoList(&m, "leaves", &element));
  const std::string trace = walk(m, false, false, false);
  EXPECT_NE(trace.find("start leaves\nend leaves\n"), std::string::npos);
  walk(m, true, false, false);
  YMMessageBase node = nodeChain(2);
  const YMMessageBase taken = std::move(object<YMMessageBase>(node, "child"));  // leaves one without a class
  EXPECT_EQ(walk(node, false, true, true).find("start child"), std::string::npos);
  EXPECT_EQ(walk(node, true, false, false).find("start child"), std::string::npos);
  XmlTraverse byItself;
  EXPECT_FALSE(byItself.traverseHelper(node, node.getClass(), false, false, nullptr)) << "no handler yet";
  byItself.traverse(node, byItself, false, false);  // its own visitor, which does nothing
  EXPECT_FALSE(byItself.traverseByOrderHelper(node, m.getClass(), false, false, nullptr));
}

TEST(Walk, TheStackHoldsTheClassesOfTheMomentAndEmptiesItself)
{
  XmlTraverse walk;
  Visitor visitor;
  visitor.onVisit = [&walk](MsgFieldContext& f) {
    if (f.getField().getName() == std::string("text")) {
      EXPECT_TRUE(walk.existsInProcessingStack("Leaf") && walk.existsInProcessingStack("Report"));
      EXPECT_FALSE(walk.existsInProcessingStack("Types_Report"));
      throw 1;
    }
  };
  YMMessageBase m = bare("Types_Report");
  for (int i = 0; i < 2; ++i) {  // what a visitor throws leaves no names behind
    EXPECT_THROW(walk.traverse(m, visitor, true, false), int);
    EXPECT_FALSE(walk.existsInProcessingStack("Report"));
  }
}

TEST(Walk, VisitorsMayTakeAwayWhatIsAboutToBeWalked)
{
  YMMessageBase leaf = make("Types_Leaf");
  const std::function<void(MsgFieldContext&)> meddling[] = {
      [](MsgFieldContext& f) { f.clearList(); },
      [&leaf](MsgFieldContext& f) { f.replaceValue(&leaf); },
      [](MsgFieldContext& f) {
        f.getMessage()->deleteMember(f.getField().fieldNumber, f.getMessage()->getTagID(), f.getField().hash,
                                     false);
      },
  };
  for (const auto& meddle : meddling) {
    for (const bool order : {false, true}) {
      YMMessageBase m = make("Types_AllTypes");
      fill(m, field(m, "objectList"), 1);
      fill(m, field(m, "objectValue"), 1);
      Visitor meddler(0, order);
      meddler.onStart = meddle;
      XmlTraverse().traverse(m, meddler, false, false);
      EXPECT_EQ(meddler.starts, meddler.ends);
      EXPECT_GE(meddler.starts, 2);
    }
  }
}

TEST(Walk, OrderedWalksHaveNoGuardButTheLimits)
{
  // Two fields of its own class double the messages at each level: the number that a walk makes is bounded.
  for (const auto& [tagName, text] : {std::pair("Types_Report", "A walk makes at most [65536] messages"),
                                      std::pair("Types_Node", "Messages nest deeper than [64]")}) {
    LogCapture log;
    YMMessageBase m = bare(tagName);
    Visitor counter(0, true);
    onSmallStack([&] { XmlTraverse().traverse(m, counter, true, true); });
    EXPECT_TRUE(log.has("XmlTraverse::traverseByOrderHelper", text)) << tagName;
    EXPECT_LE(log.lines().size(), 2u);
    EXPECT_LT(counter.visits, 40 * kwxml::maxCreatedMessages);
  }
}

TEST(Walk, DeepMessagesAreWalkedToTheLimit)
{
  for (const int levels : {kwxml::maxMessageNesting, kwxml::maxMessageNesting + 1}) {
    const bool deeper = levels > kwxml::maxMessageNesting;
    LogCapture log;
    YMMessageBase m = nodeChain(levels);
    Visitor visitor(0, deeper);
    int labels = 0;
    visitor.onVisit = [&](MsgFieldContext& f) { labels += f.getField().type == FIELD_STRING ? 1 : 0; };
    onSmallStack([&] { XmlTraverse().traverse(m, visitor, false, false); });
    EXPECT_EQ(labels, kwxml::maxMessageNesting);
    EXPECT_EQ(toText(log),
              deeper ? "0 XmlTraverse::traverseByOrderHelper: Messages nest deeper than [64]\n" : "");
  }
}

TEST(TextWalk, ReadsWalksAndWritesBack)
{
  LogCapture log;
  const std::string before =
      R"(<?xml version="1.0" encoding="UTF-8" standalone="no" ?><Types_Leaf text="old"/>)";
  std::string xml = before;
  Visitor recorder(0, true);
  recorder.traces = true;
  XmlTraverse().traverse(xml, recorder, false, false, nullptr);
  EXPECT_EQ(recorder.trace, "begin Leaf\nnumber\ntext set\nend Leaf\n");
  EXPECT_EQ(xml, before);
  recorder.onVisit = replacing("texts");
  KwXMLContextInfo info;
  XmlTraverse().traverse(xml, recorder, false, false, &info);
  EXPECT_EQ(info.getPasswordEncType(), Annotation::PASS_THROUGH);
  EXPECT_NE(xml.find("text=\"new\""), std::string::npos);
  EXPECT_EQ(toText(log), "");

  recorder.trace.clear();
  for (std::string bad : {"", "<", "<Unknown/>"}) {
    XmlTraverse().traverse(bad, recorder, true, true, &info);
    EXPECT_EQ(bad, "");
  }
  info.setError(1, "an earlier error");
  std::string kept = "<";
  XmlTraverse().traverse(kept, recorder, true, true, &info);
  EXPECT_EQ(kept, "<");
  EXPECT_EQ(recorder.trace, "");
}

TEST(TextWalk, PasswordsPassThroughATextAsTheyWere)
{
  EXPECT_FALSE(kwxml::registerPasswordAlgorithms()) << "no key";
  const std::string before =
      R"(<Types_Annotated password3="bm90IGEga2V5" password6="as it is" password9="c2VjcmV0"/>)";
  std::string xml = before;
  KwXMLContextInfo context;
  Visitor nobody;
  XmlTraverse().traverse(xml, nobody, false, false, &context);
  EXPECT_TRUE(xml.ends_with(before)) << xml;
}

TEST(FieldContext, ReplacesValuesByTheKindOfField)
{
  const std::pair<std::string, std::function<void(MsgFieldContext&)>> values[] = {
      {"int", [](auto& f) { f.replaceValue(-5); }},
      {"unsigned", [](auto& f) { f.replaceValue(5U); }},
      {"long", [](auto& f) { f.replaceValue(-6L); }},
      {"unsigned long", [](auto& f) { f.replaceValue(6UL); }},
      {"long long", [](auto& f) { f.replaceValue(-7LL); }},
      {"bool", [](auto& f) { f.replaceValue(true); }},
      {"float", [](auto& f) { f.replaceValue(1.5F); }},
      {"double", [](auto& f) { f.replaceValue(2.5); }},
      {"string", [](auto& f) { f.replaceValue("s"); }},
      {"bytes", [](auto& f) { f.replaceValue(bstring("b"), true); }},
      {"bytes alone", [](auto& f) { f.replaceValue(bstring("c"), false); }},
  };
  expectRows("traverse/replace.cases", "", [&values](const Lines& cells) {
    YMMessageBase m = bare("Types_AllTypes");
    const char* name = cells[0].c_str();
    const bool list = cells.size() == 1;
    for (const auto& [kind, replace] : values) {
      if (list ? kind != "bytes alone" : cells[1] == kind) {
        MsgFieldContext f = context(m, name);
        replace(f);
        EXPECT_TRUE(f.isModified());
      }
    }
    const std::string xml = toXml(m);
    EXPECT_EQ(isSet(m, name), xml != "<Types_AllTypes/>");
    MsgFieldContext f = context(m, name);
    if (list) {
      f.replaceValue(pstring("p"));
    }
    EXPECT_FALSE(f.isModified());
    EXPECT_EQ(toXml(m), xml);
    f.clearList();
    EXPECT_EQ(isSet(m, name), !list);
    return xml;
  });
}

TEST(FieldContext, OfAnotherRecordGoesByTheName)
{
  YMMessageBase m = make("Types_Annotated");
  FieldDef copy = field(m, "several");
  const std::string name = copy.getName();
  copy.name = name.c_str();
  for (const short number : {copy.fieldNumber, short{-1}, short{1000}}) {
    copy.fieldNumber = number;
    EXPECT_EQ(MsgFieldContext(copy, &m).getRecord(), &field(m, "several"));
    EXPECT_TRUE(MsgFieldContext(copy, &m).hasAnnotations());
  }
  MsgFieldContext nowhere(copy, nullptr);
  EXPECT_EQ(nowhere.getRecord(), nullptr);
  nowhere.clearList();
  std::vector<void*> elements;
  YMMessageBase all = make("Types_AllTypes");
  fill(all, field(all, "intList"), 1);
  for (const char* other : {"nothing", static_cast<const char*>(nullptr), "intValue"}) {
    copy = field(all, "intList");
    copy.name = other;
    MsgFieldContext f(copy, &all);
    EXPECT_FALSE(f.hasAnnotations());
    f.readListValue(&elements);
    f.readListValue(nullptr);
  }
  EXPECT_TRUE(elements.empty());
  context(all, "intList").readListValue(&elements);
  EXPECT_EQ(elements.size(), 3U);
}

TEST(FieldContext, ReplacesNestedMessages)
{
  LogCapture log;
  YMMessageBase m = make("Types_AllTypes");
  YMMessageBase leaf = make("Types_Leaf");
  setInt(leaf, "number", 1);
  MsgFieldContext f = context(m, "objectValue");
  f.replaceValue(static_cast<YMMessageBase*>(nullptr));
  EXPECT_FALSE(isSet(m, "objectValue"));
  f.replaceValue(&leaf);
  const auto held = [&] {
    return kwxml::MessageAccess::pointer<YMMessageBase>(m, field(m, "objectValue").slot);
  };
  const YMMessageBase* first = held();
  ASSERT_NE(first, nullptr);
  EXPECT_TRUE(isSet(m, "objectValue") && *first == leaf);
  setInt(leaf, "number", 2);
  f.replaceValue(&leaf);
  EXPECT_EQ(held(), first) << "assigned in place";
  EXPECT_EQ(getInt(*first, "number"), 2);
  EXPECT_FALSE(f.isModified());
  YMMessageBase other = make("Types_KeyLeaf");
  EXPECT_ANY_THROW(f.replaceValue(&other));
  EXPECT_TRUE(*held() == leaf);

  MsgFieldContext list = context(m, "objectList");
  list.replaceValue(&leaf);
  EXPECT_TRUE(list.isModified() && isSet(m, "objectList"));
  MsgFieldContext number = context(m, "intValue");
  number.replaceValue(&leaf);
  EXPECT_FALSE(number.isModified() || isSet(m, "intValue"));
}

TEST(FieldContext, AnnotationsAndDefaults)
{
  LogCapture log;
  YMMessageBase m = bare("Types_Report");
  Annotation::CommandParam parameter;
  EXPECT_FALSE(context(m, "title").getAnnotation(parameter));
  EXPECT_TRUE(context(m, "level").getAnnotation(parameter));
  EXPECT_EQ(parameter.useDefault, true);
  EXPECT_EQ(toText(log), "") << "most fields have none: that is no error";

  EntityTypeHandler entities;
  XmlTraverse().traverse(m, entities, false, false);
  EXPECT_TRUE(isSet(m, "level") && getInt(m, "level") == 5);
  EXPECT_FALSE(isSet(m, "kept") || isSet(m, "secretLevel")) << "not asked for";
  setInt(m, "level", 100);
  XmlTraverse().traverse(m, entities, false, false);
  EXPECT_EQ(getInt(m, "level"), 100);
  context(m, "kept").EnableField();
  EXPECT_TRUE(isSet(m, "kept")) << "any value of useDefault will do";
}

TEST(Lists, AreReadAndFilledByName)
{
  const Transcript log("traverse/log.cases");
  YMMessageBase m = make("Types_AllTypes");
  std::vector<void*> out;
  EXPECT_TRUE(XMLDecoder::ReadFromList(&m, "boolList", &out) && out.empty());
  setInt(m, "ulonglongValue", 9);
  EXPECT_TRUE(XMLDecoder::ReadFromList(&m, "ulonglongValue", &out));
  ASSERT_EQ(out.size(), 1u);
  EXPECT_EQ(*static_cast<unsigned long long*>(out[0]), 9u);
  const int one = 1;
  EXPECT_FALSE(
      XMLDecoder::ReadFromList(&m, "nothing", &out) || XMLDecoder::ReadFromList(&m, "intValue", &out) ||
      XMLDecoder::ReadFromList(nullptr, "intList", &out) || XMLDecoder::ReadFromList(&m, "intList", nullptr));
  EXPECT_FALSE(XMLDecoder::InsertIntoList(&m, "intValue", &one) ||
               XMLDecoder::InsertIntoList(&m, "ulonglongValue", &one) ||
               XMLDecoder::InsertIntoList(&m, "intList", nullptr));
}

namespace {

/// A message with one field set.
YMMessageBase only(const char* name, int variant)
{
  YMMessageBase m = bare("Types_AllTypes");
  fill(m, field(m, name), variant);
  return m;
}

std::size_t elements(YMMessageBase& m, const char* name)
{
  std::vector<void*> out;
  XMLDecoder::ReadFromList(&m, name, &out);
  return out.size();
}

}  // namespace

TEST(Merge, EveryTypeIsReplacedAppendedOrLeftAlone)
{
  LogCapture log;
  YMMessageBase sample = make("Types_AllTypes");
  for (const FieldDef& def : *sample.getClass()) {
    if (kwxml::fieldTypeInfo(def.type).storage == kwxml::Storage::None) {
      continue;
    }
    const char* name = def.getName();
    const bool list = kwxml::fieldTypeInfo(def.type).element != FIELD_UNSET;
    const bool left = FieldDef::isMapType(def.type) || def.type == FIELD_LIST_UINT ||
                      def.type == FIELD_LIST_ENUM || def.type == FIELD_LIST_BOOL;
    YMMessageBase from = only(name, 1);
    const YMMessageBase source = from;

    YMMessageBase nothing = bare("Types_AllTypes");
    YMMessageBase empty = nothing;
    EXPECT_TRUE(XmlTraverse().merge(from, empty));
    EXPECT_TRUE(empty == (left ? nothing : source) && from == source) << name;

    YMMessageBase into = only(name, 2);
    const YMMessageBase before = into;
    EXPECT_TRUE(XmlTraverse().merge(from, into));
    if (list && !left) {
      EXPECT_EQ(elements(into, name), 6u) << name;
    } else {
      EXPECT_TRUE(into == (left ? before : source)) << name;
    }
    EXPECT_TRUE(XmlTraverse().merge(nothing, into) && isSet(into, name)) << name;
  }
  EXPECT_EQ(toText(log), "");
}

TEST(Merge, ListsAreAppendedAndNestedMessagesMerge)
{
  expectCases("traverse/merge.cases", "", [](const std::string& input) {
    const auto line = input.find('\n');
    YMMessageBase from = fromXml(input.substr(0, line));
    YMMessageBase into = fromXml(input.substr(line + 1));
    const std::string before = toXml(into);
    const LogCapture log(10);
    const bool merged = XmlTraverse().merge(from, into);
    const std::string lines = toText(log);
    EXPECT_TRUE(merged || toXml(into) == before);
    return (merged ? toXml(into) + "\n" : "refused\n") + lines;
  });
  YMMessageBase twice = only("objectList", 1);
  fill(twice, field(twice, "stringList"), 1);
  EXPECT_TRUE(XmlTraverse().merge(twice, twice)) << "with itself";
  EXPECT_EQ(elements(twice, "objectList") + elements(twice, "stringList"), 12u);

  const LogCapture log(10);
  YMMessageBase leaf = make("Types_Leaf");
  YMMessageBase none;
  EXPECT_FALSE(XmlTraverse().merge(none, leaf) || XmlTraverse().merge(leaf, none) ||
               XmlTraverse().merge(none, none));
  EXPECT_EQ(toText(log), "");
}

TEST(Merge, PasswordsKeepTheirScheme)
{
  YMMessageBase from = make("Types_AllTypes");
  MsgFieldContext f = context(from, "pstringValue");
  f.replaceValue(pstring("p", Annotation::BASE64));
  EXPECT_TRUE(f.isModified());
  YMMessageBase into = make("Types_AllTypes");
  XmlTraverse().merge(from, into);
  const auto& merged = object<pstring>(into, "pstringValue");
  EXPECT_EQ(merged.text() + std::to_string(merged.getEncryptionType()), "p9");
}

TEST(Merge, StopsAtTheNestingLimit)
{
  for (const int levels : {kwxml::maxMessageNesting, kwxml::maxMessageNesting + 1}) {
    const LogCapture log;
    YMMessageBase a = nodeChain(levels);
    YMMessageBase b = nodeChain(levels);
    onSmallStack([&] { EXPECT_TRUE(XmlTraverse().merge(a, b)); });
    const std::string line = "0 KwXmlMessageProcessor::merge: Messages nest deeper than [64]\n";
    EXPECT_EQ(toText(log), levels > kwxml::maxMessageNesting ? line : "");
  }
}
