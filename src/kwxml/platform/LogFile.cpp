#include <kwxml/platform/LogFile.h>

#include <kwxml/platform/PlatformInternal.h>

#include <fcntl.h>
#include <spdlog/details/log_msg.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <cstdio>
#include <map>
#include <utility>

namespace kwxml {

struct LogFile::Sink
{
  spdlog::sinks::rotating_file_sink_st file;
};

LogFile::LogFile(std::string path, unsigned sizeMb, unsigned files)
    : path_(std::move(path)), sizeMb_(sizeMb), files_(files)
{
}

LogFile::~LogFile() = default;

void LogFile::setLimits(unsigned sizeMb, unsigned files)
{
  std::lock_guard lock(mutex_);
  if (sizeMb != sizeMb_ || files != files_) {
    sizeMb_ = sizeMb;
    files_ = files;
    sink_.reset();  // the next line opens it again
  }
}

bool LogFile::write(int level, const std::string& line)
{
  std::lock_guard lock(mutex_);
  if (broken_ || (!sink_ && !open())) {
    return false;
  }
  const std::string levelText = std::to_string(level);
  try {
    sink_->file.log(spdlog::details::log_msg(levelText, spdlog::level::info, line));
    sink_->file.flush();  // a log that lacks its last lines is of no use after a crash
    failing_ = false;
    return true;
  } catch (const std::exception& failure) {
    sink_.reset();  // it may have lost its file; the next line opens it again
    if (!std::exchange(failing_, true)) {
      reportToStderr("log file %s: %s", path_.c_str(), failure.what());
    }
  }
  return false;
}

bool LogFile::open()
{
  try {
    spdlog::file_event_handlers events;
    // Programs that this process starts have no business with its log.
    events.after_open = [](const std::string&, std::FILE* file) { fcntl(fileno(file), F_SETFD, FD_CLOEXEC); };
    sink_.reset(new Sink{{path_, size_t{sizeMb_} << 20, files_, false, events}});
    sink_->file.set_formatter(
        std::make_unique<spdlog::pattern_formatter>("%Y-%m-%dT%H:%M:%S.%e%z [%n] %P/%t %v"));
    return true;
  } catch (const std::exception& failure) {
    reportToStderr("log file %s: %s", path_.c_str(), failure.what());
    sink_.reset();
    broken_ = true;  // every further try would cost its line a wait
    return false;
  }
}

std::shared_ptr<LogFile> sharedLogFile(const std::string& path, unsigned sizeMb, unsigned files)
{
  static std::mutex& mutex = *new std::mutex;
  static auto& all = *new std::map<std::string, std::weak_ptr<LogFile>>;
  std::lock_guard lock(mutex);
  std::weak_ptr<LogFile>& known = all[path];
  std::shared_ptr<LogFile> file = known.lock();
  if (file) {
    file->setLimits(sizeMb, files);
  } else {
    file = std::make_shared<LogFile>(path, sizeMb, files);
    known = file;
  }
  return file;
}

}  // namespace kwxml
