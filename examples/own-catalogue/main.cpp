// Uses messages of its own schema, Weather.xml, through the wrappers that the catalogue compiler has made of
// it: fills a report, writes it as JSON, and reads it back.
#include <catalogue/Weather.h>
#include <kwxml/KwXMLMsgsBase.h>

#include <algorithm>
#include <chrono>
#include <iostream>

int main()
{
  kwxml::logToStandardError();
  using namespace std::chrono_literals;
  const auto midnight = std::chrono::sys_days(2026y / std::chrono::March / 1);
  Weather::Reading morning;
  morning.set_at(midnight + 7h);
  morning.set_celsius(4.5);
  morning.set_sky(Weather::Sky::RAIN);
  Weather::Reading noon;
  noon.set_at(midnight + 12h + 30min);
  noon.set_celsius(9.25);
  noon.set_sky(Weather::Sky::CLOUDS);
  Weather::Report report;
  report.set_station("Harbour");
  report.set_readings({morning, noon});

  std::string json;
  EncodingFlags readable;
  readable.readableForm = 1;
  if (JSONEncoder(readable).serialize(report, json) != 0) {
    return 1;
  }
  std::cout << json << "\n";

  const kwxml::ReadResult read = kwxml::decode(json);  // or XML: it sees which
  const auto* received = kwxml::cast<Weather::Report>(read.message.get());
  if (received == nullptr) {
    std::cerr << kwxml::toText(read.problems, "report");
    return 1;
  }
  const auto readings = received->readings();
  const auto warmest = std::ranges::max_element(readings, {}, &Weather::Reading::celsius);
  if (warmest == readings.end()) {
    std::cerr << "the report has no readings\n";
    return 1;
  }
  std::string time;
  if (!kwxml::formatTimeOfDay((warmest->at_time() - midnight).count(), time)) {
    return 1;
  }
  std::cout << received->station() << ": " << warmest->celsius() << " degrees at " << time << ", "
            << warmest->sky() << "\n"
            << "received as it was sent: " << std::boolalpha << (*received == report) << "\n";
  return 0;
}
