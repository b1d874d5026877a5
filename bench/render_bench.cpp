// What it costs to walk and to show a message, in terms of what it costs to encode it: the binary form of the
// same message, into a new buffer, is the measure.

#include "Comparison.h"
#include "Documents.h"
#include "Profile.h"

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/traverse/HTMLRenderContext.h>
#include <kwxml/traverse/KwXMLSummary.h>
#include <kwxml/traverse/MessageDiff.h>

#include <limits>
#include <memory>
#include <sstream>

namespace kwxml::bench {

namespace {

struct Counter final : XmlTraverseHandler
{
  int fields = 0;
  void visit(MsgFieldContext&) override { ++fields; }
};

void summarize(YMMessageBase& message)
{
  std::ostringstream out;
  KwXMLSummary::getKwSummaryInfo(&message, out, KwXMLFormatOptions());
  benchmark::DoNotOptimize(out.str().data());
}

void showAsHtml(YMMessageBase& message)
{
  HTMLRenderContext context;
  KwXMLSummary::getKwSummaryInfo(&message, &context, KwXMLFormatOptions());
  std::string out;
  context.DumpToString(out);
  benchmark::DoNotOptimize(out.data());
}

template <class Values>
void registerDocument(std::vector<Pair>& pairs, const std::string& document, Values (*makeValues)())
{
  const auto message = std::make_shared<YMMessageBase>(makeMessage(makeValues()));
  const auto measure = [message](auto body) {
    return [message, body](benchmark::State& state) {
      for ([[maybe_unused]] auto _ : state) {
        body(*message);
      }
    };
  };
  const auto encode = measure([](YMMessageBase& m) {
    BinaryBuffer out;
    BinarySerializer::serialize(m, out);
    benchmark::DoNotOptimize(out.data());
  });
  const auto add = [&](const char* name, auto body) {
    compare(pairs, document + " " + name, Pair::Kind::Ratio, std::numeric_limits<double>::infinity(),
            measure(body), encode);
  };
  add("walk", [](YMMessageBase& m) {
    Counter counter;
    XmlTraverse().traverse(m, counter, false, false);
    benchmark::DoNotOptimize(counter.fields);
  });
  add("text summary", summarize);
  add("HTML summary", showAsHtml);
  const auto same = std::make_shared<YMMessageBase>(*message);
  add("difference", [same](YMMessageBase& m) {
    struct Nobody final : MessageDiffVisitor
    {
      void differs(const MessageDifference&) override {}
    } nobody;
    benchmark::DoNotOptimize(diffMessages(m, *same, nobody));
  });
}

template <class Values>
void addSummaries(std::vector<Operation>& operations, const std::string& document, Values (*makeValues)())
{
  const auto message = std::make_shared<YMMessageBase>(makeMessage(makeValues()));
  const auto encode = [message] {
    BinaryBuffer out;
    BinarySerializer::serialize(*message, out);
    benchmark::DoNotOptimize(out.data());
  };
  constexpr double limit = 6;
  operations.push_back({document + " text summary", limit, true, [message] { summarize(*message); }, encode});
  operations.push_back(
      {document + " HTML summary", limit, true, [message] { showAsHtml(*message); }, encode});
}

}  // namespace

std::vector<Operation> renderOperations()
{
  std::vector<Operation> operations;
  addSummaries(operations, "W1 flat", flatValues);
  addSummaries(operations, "W2 order", orderValues);
  addSummaries(operations, "W3 bulk", bulkValues);
  return operations;
}

void registerRenderBenchmarks(std::vector<Pair>& pairs)
{
  registerDocument(pairs, "W1 flat", flatValues);
  registerDocument(pairs, "W2 order", orderValues);
  registerDocument(pairs, "W3 bulk", bulkValues);
}

}  // namespace kwxml::bench
