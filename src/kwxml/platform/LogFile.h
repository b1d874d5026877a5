// The files behind logs. Not installed.
#pragma once

#include <memory>
#include <mutex>
#include <string>

namespace kwxml {

/// One rotating file, shared by the logs that write to it. Opened by the first line. Safe for concurrent use.
/// What cannot be written is reported on standard error, once until a line succeeds.
class LogFile
{
public:
  LogFile(std::string path, unsigned sizeMb, unsigned files);
  ~LogFile();

  /// From the next line on.
  void setLimits(unsigned sizeMb, unsigned files);
  /// False when the line is not in the file.
  bool write(int level, const std::string& line);

private:
  struct Sink;
  bool open();

  const std::string path_;
  std::mutex mutex_;
  unsigned sizeMb_;
  unsigned files_;
  std::unique_ptr<Sink> sink_;
  bool broken_ = false;
  bool failing_ = false;  ///< the last line failed, and that is reported
};

/// The one object for a path while somebody has it: two on one file would rotate it away from under each
/// other.
std::shared_ptr<LogFile> sharedLogFile(const std::string& path, unsigned sizeMb, unsigned files);

}  // namespace kwxml
