#include <kwxml/platform/EvDebug.h>

#include <kwxml/platform/ForkGate.h>
#include <kwxml/platform/KWPI_Focus.h>
#include <kwxml/platform/KWPlatformInfo.h>
#include <kwxml/platform/LogFile.h>
#include <kwxml/platform/LogSink.h>
#include <kwxml/platform/PlatformInternal.h>
#include <kwxml/platform/StandardError.h>

#include <errno.h>  // program_invocation_short_name

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <map>
#include <mutex>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

// What the whole process shares is made on first use and never destroyed: other objects may log while it
// exits.

constinit std::atomic<int> EvDebug::sharedLevel_ = 0;

struct EvDebugAccess
{
  static void setSharedLevel(int level)
  {
    EvDebug::sharedLevel_.store(std::max(level, 0), std::memory_order_relaxed);
  }
  static void raiseSharedLevel(int level)
  {
    int now = EvDebug::sharedLevel_.load(std::memory_order_relaxed);
    while (now < level &&
           !EvDebug::sharedLevel_.compare_exchange_weak(now, level, std::memory_order_relaxed)) {
    }
  }
};

namespace {

using kwxml::LogFile;
using kwxml::reportToStderr;
using kwxml::sharedLogFile;

constexpr unsigned kDefaultSizeMb = 10;
constexpr unsigned kMaxSizeMb = 1 << 20;
constexpr unsigned kDefaultFiles = 5;
constexpr unsigned kMaxFiles = 1000;

// Section [Log] of the settings.
struct LogConfig
{
  std::string directory;
  unsigned sizeMb = kDefaultSizeMb;
  unsigned files = kDefaultFiles;

  LogConfig()
  {
    KWPlatformInfo settings;
    settings.setFocus(KWPI_Focus::getFocus());
    (void)settings.getString("Log", "directory", directory);  // none: no files
    EvDebugAccess::setSharedLevel(read<int>(settings, "level", 0, std::numeric_limits<int>::max(), 0));
    sizeMb = read<unsigned>(settings, "size_mb", 1, kMaxSizeMb, kDefaultSizeMb);
    files = read<unsigned>(settings, "files", 1, kMaxFiles, kDefaultFiles);
  }

  template <typename Number>
  static Number read(const KWPlatformInfo& settings, const char* key, Number least, Number most,
                     Number otherwise)
  {
    long long number = 0;
    if (!settings.getNumber("Log", key, number)) {
      return otherwise;
    }
    if (number < least || number > static_cast<long long>(most)) {
      reportToStderr("setting %s of section [Log] is %lld, not between %lld and %lld; using %lld", key,
                     number, static_cast<long long>(least), static_cast<long long>(most),
                     static_cast<long long>(otherwise));
      return otherwise;
    }
    return static_cast<Number>(number);
  }
};

const LogConfig& logConfig()
{
  static const LogConfig& config = *new LogConfig;
  return config;
}

// The names behind log identifiers; an identifier is an index here.
struct LogNames
{
  std::mutex mutex;
  std::vector<std::string> names;
};

LogNames& logNames()
{
  static LogNames& instance = *new LogNames;
  return instance;
}

using Sink = std::function<void(const kwxml::LogRecord&)>;

struct SinkState
{
  std::recursive_mutex running;  // held while the sink runs; recursive, because the sink may replace itself
  std::mutex mutex;              // guards what is below; held by nobody who runs a sink or is outside the log
  std::shared_ptr<const Sink> sink;
  std::atomic<bool> present = false;

  std::shared_ptr<const Sink> get()
  {
    const kwxml::InsideLog inside;
    const std::lock_guard lock(mutex);
    return sink;
  }
};

SinkState& sinkState()
{
  static SinkState& instance = *new SinkState;
  return instance;
}

constinit thread_local bool insideSink = false;
// By a thread that waits inside the sink for others: see SinkPause.
constinit std::atomic<bool> sinkIsPaused = false;

bool wantsSink()
{
  return sinkState().present.load(std::memory_order_acquire) && !insideSink;
}

void giveToSink(const kwxml::LogRecord& record)
{
  SinkState& state = sinkState();
  std::lock_guard lock(state.running);
  const auto sink = state.get();  // keeps it alive when it replaces itself
  if (!sink || sinkIsPaused.load(std::memory_order_relaxed)) {
    return;
  }
  insideSink = true;
  try {
    (*sink)(record);
  } catch (const std::exception& failure) {
    reportToStderr("log %s: the sink failed: %s", record.log, failure.what());
  } catch (...) {
    reportToStderr("log %s: the sink failed", record.log);
  }
  insideSink = false;
}

// Names come from settings and the environment: no path may be hidden in one.
std::string fileNameOf(std::string_view log)
{
  std::string name(log);
  for (char& c : name) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       c == '-' || c == '_' || (c == '.' && &c != name.data());
    if (!plain) {
      c = '_';
    }
  }
  return name + ".log";
}

std::string pathOf(const std::string& directory, const std::string& log)
{
  // Absolute, so that the file stays where it is when the process changes its directory.
  std::error_code
      ignored;  // when there is no working directory the path stays relative, and opening it fails
  std::filesystem::path path = std::filesystem::absolute(directory, ignored);
  if (path.empty()) {
    path = directory;
  }
  return (path / fileNameOf(log)).lexically_normal().string();
}

/// `behind` stands behind each line end.
std::string lineOf(const kwxml::LogRecord& record, std::string_view behind)
{
  std::string line;
  line.reserve(record.text.size() + 128);
  if (record.function && *record.function) {
    line.append(record.function).append(1, ' ');
  }
  if (record.systemName && *record.systemName) {
    line.append(1, '(').append(record.systemName).append(") ");
  }
  if (record.reference != 0) {
    line.append("ref=").append(std::to_string(record.reference)).append(1, ' ');
  }
  std::string_view text = record.text;
  while (text.ends_with('\n')) {
    text.remove_suffix(1);
  }
  // Texts hold what comes from outside; none may begin what looks like a line of its own, or move the cursor
  // of the terminal that shows the file.
  for (const char c : text) {
    const auto u = static_cast<unsigned char>(c);
    line += (u < 0x20 && c != '\n' && c != '\t') || u == 0x7F ? '?' : c;
    if (c == '\n') {
      line += behind;
    }
  }
  return line;
}

}  // namespace

// Where the lines of one log go is settled by its first line, when the process has its focus.
struct EvDebug::Impl
{
  struct Target
  {
    std::string name;
    std::shared_ptr<LogFile> file;  // null for none
  };

  std::mutex mutex;
  EvDebugSettings settings;
  std::atomic<bool> standardError = true;
  int logId = -1;
  std::shared_ptr<const Target> target;

  std::shared_ptr<const Target> getTarget()
  {
    std::lock_guard lock(mutex);
    if (!target) {
      auto made = std::make_shared<Target>();
      made->name = logName();
      const LogConfig& config = logConfig();
      const std::string& directory = settings.directory.empty() ? config.directory : settings.directory;
      if (settings.toFile != 0 && !directory.empty()) {
        made->file =
            sharedLogFile(pathOf(directory, made->name), settings.sizeMb ? settings.sizeMb : config.sizeMb,
                          settings.files ? settings.files : config.files);
      }
      target = std::move(made);
    }
    return target;
  }

  std::string logName() const
  {
    if (!settings.name.empty()) {
      return settings.name;
    }
    if (logId >= 0) {
      LogNames& all = logNames();
      std::lock_guard lock(all.mutex);
      return all.names[static_cast<size_t>(logId)];
    }
    const char* focus = KWPI_Focus::getFocus();
    return focus && *focus ? focus : program_invocation_short_name;
  }
};

EvDebug::EvDebug() : EvDebug(EvDebugSettings()) {}

EvDebug::EvDebug(const EvDebugSettings& settings) : ownLevel_(settings.level), impl_(std::make_unique<Impl>())
{
  const kwxml::InsideLog inside;
  logConfig();  // sets the shared level, which may be asked for before any line is written
  impl_->settings = settings;
  impl_->settings.sizeMb = std::min(settings.sizeMb, kMaxSizeMb);
  impl_->settings.files = std::min(settings.files, kMaxFiles);
}

EvDebug::~EvDebug() = default;

int EvDebug::initialize(int logId, int files, int sizeMb, const char* directory)
{
  const kwxml::InsideLog inside;
  {
    LogNames& all = logNames();
    std::lock_guard lock(all.mutex);
    if (logId < 0 || static_cast<size_t>(logId) >= all.names.size()) {
      return -1;
    }
  }
  std::lock_guard lock(impl_->mutex);
  impl_->logId = logId;
  if (files > 0) {
    impl_->settings.files = std::min(static_cast<unsigned>(files), kMaxFiles);
  }
  if (sizeMb > 0) {
    impl_->settings.sizeMb = std::min(static_cast<unsigned>(sizeMb), kMaxSizeMb);
  }
  if (directory && *directory) {
    impl_->settings.directory = directory;
  }
  impl_->target.reset();
  return 0;
}

int EvDebug::getLogId(const char* name)
{
  if (!name || !*name) {
    return -1;
  }
  const kwxml::InsideLog inside;
  LogNames& all = logNames();
  std::lock_guard lock(all.mutex);
  const auto known = std::find(all.names.begin(), all.names.end(), name);
  const auto id = known - all.names.begin();
  if (known == all.names.end()) {
    all.names.emplace_back(name);
  }
  return static_cast<int>(id);
}

void EvDebug::setLogFileSize(unsigned megabytes)
{
  const kwxml::InsideLog inside;
  std::lock_guard lock(impl_->mutex);
  impl_->settings.sizeMb = std::min(megabytes, kMaxSizeMb);
  impl_->target.reset();
}

void EvDebug::setStandardError(bool enabled)
{
  impl_->standardError.store(enabled, std::memory_order_relaxed);
}

void EvDebug::handleMsgEventDebug_NEW(int level, const char* function, int /*event*/, int /*reserved*/,
                                      const char* systemName, const char* format, va_list args)
{
  write(level, function, 0, systemName, format, args);
}

void EvDebug::DebugLvl(const char* function, int level, long long reference, const char* format, ...)
{
  va_list args;
  va_start(args, format);
  write(level, function, reference, nullptr, format, args);
  va_end(args);
}

void EvDebug::write(int level, const char* function, long long reference, const char* systemName,
                    const char* format, va_list args)
{
  if (level > 0 && level > getDebugLevel()) {
    return;
  }
  // Logging is what other failures are reported with; its own must not become the caller's.
  try {
    std::shared_ptr<const Impl::Target> target;
    std::string text;
    kwxml::LogRecord record{};
    const bool toSink = impl_->settings.toSink != 0 && wantsSink();
    {
      const kwxml::InsideLog inside;
      target = impl_->getTarget();
      const bool toStandardError =
          impl_->standardError.load(std::memory_order_relaxed) &&
          (level <= kwxml::standardErrorLevel() ||
           (impl_->settings.toFile != 0 && !target->file && !sinkState().present.load()));
      if (!target->file && !toSink && !toStandardError) {
        return;
      }
      if (format && !kwxml::formatText(text, format, args)) {
        text = std::string("(arguments not formatted) ") + format;
      }
      record = {target->name.c_str(), level, function, systemName, text, reference};
      bool isLost = false;
      if (target->file) {
        isLost = !target->file->write(level, lineOf(record, "\t")) && !toSink &&
                 impl_->standardError.load(std::memory_order_relaxed);
      }
      if (toStandardError || isLost) {
        kwxml::writeToStandardError(target->name, level, lineOf(record, ""));
      }
    }
    if (toSink) {
      giveToSink(record);
    }
  } catch (const std::exception& failure) {
    reportToStderr("a log line of %s is lost: %s", function ? function : "?", failure.what());
  }
}

namespace kwxml {

void setLogSink(std::function<void(const LogRecord&)> sink)
{
  SinkState& state = sinkState();
  std::shared_ptr<const std::function<void(const LogRecord&)>> former;
  if (sink) {
    former = std::make_shared<const std::function<void(const LogRecord&)>>(std::move(sink));
  }
  const std::lock_guard running(state.running);
  const InsideLog inside;
  const std::lock_guard lock(state.mutex);
  state.present.store(former != nullptr, std::memory_order_release);
  state.sink.swap(former);
}

/// In the child only the thread that forked exists. If another one was running the sink, it is not any more;
/// who forked in the sink returns to it.
void renewSinkInChild()
{
  SinkState& state = sinkState();
  new (&state.running) std::recursive_mutex;
  if (insideSink) {
    state.running.lock();
  }
  sinkIsPaused.store(false, std::memory_order_relaxed);
}

SinkPause::SinkPause() : pauses_(insideSink)
{
  if (pauses_) {
    sinkIsPaused.store(true, std::memory_order_relaxed);
    sinkState().running.unlock();
  }
}

SinkPause::~SinkPause()
{
  if (pauses_) {
    sinkState().running.lock();
    sinkIsPaused.store(false, std::memory_order_relaxed);
  }
}

void setLogLevel(int level)
{
  const InsideLog inside;
  logConfig();  // first, so that reading the settings later does not undo this
  EvDebugAccess::setSharedLevel(level);
}

void raiseLogLevel(int level)
{
  const InsideLog inside;
  logConfig();
  EvDebugAccess::raiseSharedLevel(level);
}

}  // namespace kwxml
