#include "ReceivedFile.h"

#include "Command.h"
#include "Files.h"
#include "Report.h"
#include "SideFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace kwxml::tool {

namespace {

[[noreturn]] void failed(const std::string& name, const CYxError& error)
{
  throw Failure(exitData, "cannot write " + name + ": " + error.AsString());
}

bool isRegular(const std::string& file)
{
  struct stat known
  {
  };
  return !isStandard(file) && (::stat(file.c_str(), &known) != 0 || S_ISREG(known.st_mode));
}

}  // namespace

ReceivedFile::ReceivedFile(const std::string& file, Source source)
    : name_(isStandard(file) ? "standard output" : file), source_(std::move(source)), receiver_(randomName())
{
  if (!isRegular(file)) {
    direct_ = std::make_unique<Output>(file);
    return;
  }
  side_ = file + ".received";
  std::error_code none;
  if (!std::filesystem::exists(side_)) {
    if (const auto size = std::filesystem::file_size(file, none); !none && size > 0) {
      throw Failure(exitData, file + " has been written by something else (there is no " + side_ +
                                  "); name another file");
    }
    return;
  }
  isNew_ = false;
  auto lines = readSideFile(side_);
  receiver_ = lines["receiver"];
  if (!sideNumber(lines, "length", agreed_) || !isRandomName(receiver_)) {
    throw Failure(exitData, side_ + " does not say what was received into " + file);
  }
  const std::pair<const char*, const std::string*> wanted[] = {{"stream", &source_.stream},
                                                               {"prefix", &source_.prefix},
                                                               {"durable", &source_.durable},
                                                               {"form", &source_.form}};
  for (const auto& [word, value] : wanted) {
    if (lines[word] != *value) {
      throw Failure(exitData, file + " receives with " + word + " " + oneLine(lines[word], 80) + ", not " +
                                  *value + " (says " + side_ + "); name another file");
    }
  }
}

ReceivedFile::~ReceivedFile()
{
  if (lock_ >= 0) {
    ::close(lock_);
  }
}

std::uint64_t ReceivedFile::begin(std::optional<std::uint64_t> mark)
{
  if (side_.empty()) {
    return 0;
  }
  CYxError error;
  if (!file_.Open(name_.c_str(), CYxFile::Mode::Update, &error)) {
    failed(name_, error);
  }
  lock_ = ::open(name_.c_str(), O_RDWR | O_CLOEXEC);
  if (lock_ < 0 || ::flock(lock_, LOCK_EX | LOCK_NB) != 0) {
    throw Failure(exitData, errno == EWOULDBLOCK
                                ? name_ + ": another process receives into it"
                                : "cannot lock " + name_ + ": " + std::generic_category().message(errno));
  }
  const long long size = file_.Size(&error);
  if (size < 0) {
    failed(name_, error);
  }
  length_ = static_cast<std::uint64_t>(size);
  agreed_ = std::max<unsigned long long>(agreed_, mark.value_or(0));  // it only grows
  if (length_ < agreed_) {
    throw Failure(exitData, name_ + " is shorter than what was received into it: " + std::to_string(length_) +
                                " of " + std::to_string(agreed_) + " bytes are left");
  }
  const std::uint64_t gone = length_ - agreed_;
  if (gone > 0) {
    cut(agreed_);
  }
  save();
  syncName(name_);
  syncName(side_);
  return gone;
}

void ReceivedFile::append(std::string_view bytes)
{
  CYxError error;
  if (direct_ != nullptr) {
    direct_->append(bytes);
  } else if (file_.Seek(static_cast<long long>(length_), CYxFile::Origin::Begin, &error) < 0 ||
             file_.Write(bytes.data(), bytes.size(), &error) < 0 || !file_.FlushData(&error)) {
    failed(name_, error);
  }
  length_ += bytes.size();
}

void ReceivedFile::cut(std::uint64_t length)
{
  CYxError error;
  if (!side_.empty() &&
      (!file_.Truncate(static_cast<long long>(length), &error) || !file_.FlushData(&error))) {
    failed(name_, error);
  }
  length_ = length;
}

void ReceivedFile::agree()
{
  agreed_ = length_;
  if (!side_.empty()) {
    save();
  }
}

void ReceivedFile::save() const
{
  writeOutput(side_, "receiver " + receiver_ + "\nstream " + source_.stream + "\nprefix " + source_.prefix +
                         "\ndurable " + source_.durable + "\nform " + source_.form + "\nlength " +
                         std::to_string(agreed_) + "\n");
}

}  // namespace kwxml::tool
