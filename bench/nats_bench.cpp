// kwxml_nats_bench [send] [receive] [work]: messages over a server of NATS that the program starts itself, on
// loopback. Without a word all parts are measured: sending and receiving beside the servers' client alone,
// and workers of the tool beside the same conversion in one thread. Ours and the other side take turns. Exits
// with 1 when something failed, never for a missed target.

#include "Documents.h"
#include "NatsCost.h"

#include <kwxml/codec/Decode.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/nats/Consumer.h>
#include <kwxml/nats/Publisher.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <functional>
#include <set>
#include <span>
#include <stdexcept>
#include <vector>

namespace kwxml::bench {

namespace {

constexpr double aim = 0.9;

// ---- What is measured

void publish(nats::Connection& connection, const std::string& stream, const Load& load, std::size_t count)
{
  nats::PublisherOptions options;
  options.stream = stream;
  options.window = window;
  nats::Publisher publisher(connection, options);
  for (std::size_t i = 0; i < count; ++i) {
    static_cast<void>(publisher.publish(load.message));
  }
  if (!publisher.flush(patience) || publisher.counts().stored != count) {
    throw std::runtime_error("not all messages are sent: " + publisher.firstFailure());
  }
}

/// The publisher's making and end are within the time.
Cost sendByOurs(Ground& ground, const std::string& stream, const Load& load)
{
  nats::Connection connection(ground.server.settings());
  const Meter meter(ground.server);
  publish(connection, stream, load, load.sent);
  return meter.perMessage(load.sent);
}

nats::ConsumerOptions consumerOptions(const std::string& stream, const std::string& durable)
{
  nats::ConsumerOptions options;
  options.stream = stream;
  options.durable = durable;
  return options;
}

/// Each message is acknowledged by itself.
Cost processByOurs(Ground& ground, const std::string& stream, const std::string& durable, const Load& load)
{
  nats::Connection connection(ground.server.settings());
  nats::Consumer consumer(connection, consumerOptions(stream, durable));
  const Meter meter(ground.server);
  for (std::size_t got = 0; got < load.sent;) {
    const std::size_t count =
        consumer.process(std::min(batch, load.sent - got), patience, [](const nats::Delivery&) {});
    if (count == 0) {
      throw std::runtime_error("not all messages are received");
    }
    got += count;
  }
  const Cost cost = meter.perMessage(load.sent);
  if (consumer.counts().acknowledged != load.sent) {
    throw std::runtime_error("not all messages are acknowledged");
  }
  return cost;
}

/// Whole batches, as the client alone takes and acknowledges them.
Cost fetchByOurs(Ground& ground, const std::string& stream, const std::string& durable, const Load& load)
{
  nats::Connection connection(ground.server.settings());
  nats::Consumer consumer(connection, consumerOptions(stream, durable));
  const Meter meter(ground.server);
  for (std::size_t got = 0; got < load.sent;) {
    const std::vector<nats::Delivery> deliveries = consumer.fetch(std::min(batch, load.sent - got), patience);
    if (deliveries.empty() || !consumer.acknowledge(deliveries)) {
      throw std::runtime_error("not all messages are received");
    }
    got += deliveries.size();
  }
  return meter.perMessage(load.sent);
}

/// What a worker does with a message, without the servers.
Cost convert(const Ground& ground, const Load& load)
{
  const std::vector<std::byte> body = encodeBinary(load.message);
  EncodingFlags flags;
  flags.exactNumbers = true;
  const Meter meter(ground.server);
  for (std::size_t i = 0; i < load.worked; ++i) {
    const ReadResult read = decode(body);
    std::string xml;
    if (!read || XMLEncoder(flags).serialize(*read.message, xml) != 0) {
      throw std::runtime_error("a message cannot be converted");
    }
  }
  return meter.perMessage(load.worked);
}

// ---- Rounds and tables

struct Side
{
  const char* name;
  std::function<Cost()> run;
  std::vector<Cost> costs{};

  double seconds(std::size_t place) const
  {
    std::vector<double> all;
    for (const Cost& cost : costs) {
      all.push_back(cost.seconds);
    }
    std::sort(all.begin(), all.end());
    return all[place];
  }
  double fastest() const { return seconds(0); }
  double median() const { return seconds(costs.size() / 2); }
  /// Of the fastest round.
  const Cost& best() const
  {
    return *std::min_element(costs.begin(), costs.end(),
                             [](const Cost& a, const Cost& b) { return a.seconds < b.seconds; });
  }
};

/// All sides take turns; who begins changes from round to round.
void takeTurns(std::vector<Side>& sides, std::size_t rounds)
{
  for (std::size_t round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < sides.size(); ++i) {
      Side& side = sides[(round + i) % sides.size()];
      side.costs.push_back(side.run());
    }
  }
}

void printHead(const char* what, std::size_t rounds)
{
  std::printf("%s, %zu rounds\n%-26s %10s %10s %9s %9s %9s %9s\n", what, rounds, "", "fastest/s", "median/s",
              "own, us", "server,us", "B read", "B written");
}

void print(const char* load, const Side& side)
{
  constexpr double micro = 1e6;
  const Cost& best = side.best();
  std::printf("%-3s %-22s %10.0f %10.0f %9.2f %9.2f %9.0f %9.0f\n", load, side.name, 1 / side.fastest(),
              1 / side.median(), micro * best.own, micro * best.server, best.read, best.written);
}

/// `ours` beside `other`, both as messages a second.
void printRatio(const char* load, const char* name, const Side& ours, const Side& other)
{
  const double fastest = other.fastest() / ours.fastest();
  std::printf("%-3s %-22s %10.2f %10.2f   aim %.1f: %s\n", load, name, fastest,
              other.median() / ours.median(), aim, fastest >= aim ? "met" : "missed");
  std::fflush(stdout);
}

// ---- The parts

void measureSending(Ground& ground, const std::vector<Load>& loads)
{
  constexpr std::size_t rounds = 5;
  printHead("Sending", rounds);
  for (const Load& load : loads) {
    const auto anew = [&](Cost (*send)(Ground&, const std::string&, const Load&)) {
      makeAnew(ground, "SENT", "kwxml");
      const Cost cost = send(ground, "SENT", load);
      removeStream(ground, "SENT");
      return cost;
    };
    std::vector<Side> sides{{"ours", [&] { return anew(sendByOurs); }},
                            {"client alone", [&] { return anew(sendByClient); }}};
    takeTurns(sides, rounds);
    print(load.name, sides[0]);
    print(load.name, sides[1]);
    printRatio(load.name, "ratio", sides[0], sides[1]);
  }
}

void measureReceiving(Ground& ground, const std::vector<Load>& loads)
{
  constexpr std::size_t rounds = 5;
  printHead("Receiving", rounds);
  for (const Load& load : loads) {
    makeAnew(ground, "SENT", "kwxml");
    publish(ground.connection, "SENT", load, load.sent);
    int runs = 0;
    const auto anew = [&](const auto& receive) {
      const std::string durable = "receiver" + std::to_string(++runs);
      const nats::Consumer made(ground.connection, consumerOptions("SENT", durable));
      return receive(durable);
    };
    const auto processing = [&](const std::string& durable) {
      return processByOurs(ground, "SENT", durable, load);
    };
    const auto fetching = [&](const std::string& durable) {
      return fetchByOurs(ground, "SENT", durable, load);
    };
    const auto client = [&](const std::string& durable) {
      return receiveByClient(ground, "SENT", durable, load, [](std::span<const std::byte>) {});
    };
    const auto decoding = [&](const std::string& durable) {
      return receiveByClient(ground, "SENT", durable, load, [](std::span<const std::byte> body) {
        if (!decode(body)) {
          throw std::runtime_error("a message cannot be read");
        }
      });
    };
    std::vector<Side> sides{{"ours, fetch()", [&] { return anew(fetching); }},
                            {"client alone", [&] { return anew(client); }},
                            {"client, and decode()", [&] { return anew(decoding); }},
                            {"ours, process()", [&] { return anew(processing); }}};
    takeTurns(sides, rounds);
    removeStream(ground, "SENT");
    for (const Side& side : sides) {
      print(load.name, side);
    }
    printRatio(load.name, "ratio, fetch()", sides[0], sides[1]);
    printRatio(load.name, "ratio, with decode()", sides[0], sides[2]);
    printRatio(load.name, "ratio, process()", sides[3], sides[1]);
  }
}

void measureWork(Ground& ground, const std::vector<Load>& loads)
{
  constexpr std::size_t rounds = 3;
  printHead("Work", rounds);
  for (const Load& load : loads) {
    makeAnew(ground, "SENT", "kwxml");
    publish(ground.connection, "SENT", load, load.worked);
    std::vector<Side> sides{{"1 worker", [&] { return work(ground, "SENT", load, 1); }},
                            {"2 workers", [&] { return work(ground, "SENT", load, 2); }},
                            {"4 workers", [&] { return work(ground, "SENT", load, 4); }},
                            {"one thread, in memory", [&] { return convert(ground, load); }}};
    takeTurns(sides, rounds);
    removeStream(ground, "SENT");
    for (const Side& side : sides) {
      print(load.name, side);
    }
    std::fflush(stdout);
  }
}

struct Part
{
  const char* name;
  void (*measure)(Ground&, const std::vector<Load>&);
};
constexpr Part parts[] = {{"send", measureSending}, {"receive", measureReceiving}, {"work", measureWork}};

int run(const std::set<std::string>& wanted)
{
  for (const std::string& name : wanted) {
    if (std::none_of(std::begin(parts), std::end(parts),
                     [&](const Part& part) { return name == part.name; })) {
      std::fprintf(stderr, "kwxml_nats_bench: there is no part %s; the parts are send, receive and work\n",
                   name.c_str());
      return 2;
    }
  }
  if (!test::Server::isInstalled()) {
    std::fprintf(stderr,
                 "kwxml_nats_bench: nats-server is not installed: scripts/install-deps installs it\n");
    return 1;
  }
  std::vector<Load> loads;
  loads.push_back({"W1", makeMessage(flatValues()), 100000, 100000});
  loads.push_back({"W2", makeMessage(orderValues()), 20000, 15000});
  for (const Load& load : loads) {
    std::printf("%s: %zu bytes\n", load.name, encodeBinary(load.message).size());
  }
  Ground ground;
  for (const Part& part : parts) {
    if (wanted.empty() || wanted.count(part.name) != 0) {
      part.measure(ground, loads);
    }
  }
  return 0;
}

}  // namespace

}  // namespace kwxml::bench

int main(int argc, char** argv)
{
  try {
    return kwxml::bench::run({argv + 1, argv + argc});
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kwxml_nats_bench: %s\n", error.what());
  }
  return 1;
}
