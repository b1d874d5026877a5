// Keeps messages in a file of records: appends a heartbeat and an alarm, then reads the file to its end. What
// a killed writer has left of a record at the end of the file is cut off first.
#include <catalogue/MonitoringHost.h>
#include <kwxml/KwXMLMsgsBase.h>
#include <kwxml/platform/CYxFile.h>

#include <chrono>
#include <iostream>

using Records = YMMessageBaseFileHandler;

int main(int argc, char** argv)
{
  kwxml::logToStandardError();
  if (argc != 2) {
    std::cerr << "usage: records_example FILE\n";
    return 2;
  }
  CYxError error;
  CYxFile file(argv[1], CYxFile::Mode::Update, &error);
  Records records(&file);
  records.setDurable(true);  // what has been appended is on the disk
  std::uint64_t cut = 0;
  if (!file.IsValid() || records.cutTornTail(cut) != Records::Success) {
    std::cerr << argv[1] << ": " << (error.IsError() ? error.AsString() : "is no file of records") << "\n";
    return 1;
  }
  std::cout << "cut off at the end: " << cut << " bytes\n";

  MonitoringHost::Heartbeat heartbeat;
  heartbeat.set_host("db-1");
  heartbeat.set_sequence(42);
  heartbeat.set_sentAt(std::chrono::sys_days(std::chrono::March / 1 / 2026) + std::chrono::hours(12));
  MonitoringHost::Alarm alarm;
  alarm.set_text("the disk is full");
  alarm.set_severity(MonitoringHost::Severity::CRITICAL);
  if (records.AddObjectToFile(heartbeat) != Records::Success ||
      records.AddObjectToFile(alarm) != Records::Success || file.Seek(0) != 0) {
    std::cerr << argv[1] << ": cannot be written\n";
    return 1;
  }

  std::unique_ptr<YMMessageBase> message;
  int result = records.GetObjectFromFile(message);
  for (; result == Records::Success; result = records.GetObjectFromFile(message)) {
    if (message == nullptr) {
      std::cout << "a record that cannot be read; the next one may be\n";
    } else if (const auto* read = kwxml::cast<MonitoringHost::Alarm>(message.get())) {
      std::cout << read->severity() << ": " << read->text() << "\n";
    } else {
      std::cout << *message << "\n";
    }
  }
  if (result != Records::NothingMore) {
    std::cerr << argv[1] << ": cannot be read to its end\n";
    return 1;
  }
  return 0;
}
