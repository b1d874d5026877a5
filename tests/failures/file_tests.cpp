// Files of messages while calls of the system fail, after they failed, and after their writer was killed.
#include "failures/FailingCalls.h"
#include "platform/TempDirectory.h"
#include "reliability/Extent.h"
#include "support/LogCapture.h"
#include "support/Messages.h"

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/binary/RecordScan.h>
#include <kwxml/binary/YMMessageBaseFileHandler.h>
#include <kwxml/platform/CYxCRC64.h>
#include <kwxml/platform/CYxFile.h>

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

using namespace kwxml;
using namespace kwxml::test;

namespace {

using Handler = YMMessageBaseFileHandler;

YMMessageBase leaf(const std::string& text)
{
  YMMessageBase message = make("Types_Leaf");
  setText(message, "text", text);
  return message;
}

/// One of the two layouts.
struct Layout
{
  RecordLayout layout;
  int append(Handler& handler, CYxFile& file, YMMessageBase& message) const
  {
    if (layout == RecordLayout::Single) {
      return handler.AddObjectToFile(message);
    }
    file.Seek(0);
    std::vector<YMMessageBase*> messages{&message};
    return handler.appendBinaryBufferToFile(messages);
  }
  /// The texts of the messages that can be read, in their order.
  std::vector<std::string> read(const std::string& path, int& result) const
  {
    CYxFile file(path.c_str(), CYxFile::Mode::Read);
    Handler handler(&file);
    std::vector<std::string> texts;
    do {
      YMMessageBase* message = nullptr;
      std::vector<YMMessageBase*> messages;
      if (layout == RecordLayout::Single) {
        result = handler.GetObjectFromFile(message);
      } else {
        result = handler.readBinaryBufferFromFile(messages, 1);
        message = messages.empty() ? nullptr : messages.front();
      }
      const std::unique_ptr<YMMessageBase> owned(message);
      if (message != nullptr) {
        texts.push_back(getText(*message, "text"));
      }
    } while (result == Handler::Success);
    return texts;
  }
};

class Files : public testing::TestWithParam<RecordLayout>
{
protected:
  std::vector<std::string> readBack()
  {
    int result = 0;
    auto texts = layout_.read(path_, result);
    EXPECT_EQ(result, Handler::NothingMore) << "the file ends with a whole record";
    return texts;
  }
  const Layout layout_{GetParam()};
  const TempDirectory folder_;
  const std::string path_ = folder_ / "messages";
};

std::string nameOf(const testing::TestParamInfo<RecordLayout>& info)
{
  return info.param == RecordLayout::Single ? "Single" : "Batch";
}
INSTANTIATE_TEST_SUITE_P(Layouts, Files, testing::Values(RecordLayout::Single, RecordLayout::Batch), nameOf);

using Texts = std::vector<std::string>;

}  // namespace

// Whatever call fails while a record is appended: it is acknowledged and can be read, or it is not
// acknowledged, and nothing is appended behind what there is of it.
TEST_P(Files, NothingThatWasAcknowledgedIsLostWhenACallFails)
{
  Figures figures("files, failed calls");
  for (const char* const call : {"write", "lseek", "fstat", "read", "fdatasync"}) {
    for (const int error : {EIO, ENOSPC, EINTR, 0}) {
      // Only these are repeated, or have parts.
      const std::string name = call;
      if ((error == 0 && name != "write" && name != "read") ||
          (error == EINTR && name != "write" && name != "read" && name != "fdatasync")) {
        continue;
      }
      for (int number = 1; number < 12; ++number) {
        SCOPED_TRACE(std::string(call) + " " + std::to_string(number) + ": " + std::to_string(error));
        LogCapture log;
        CYxFile file(path_.c_str(), CYxFile::Mode::Truncate);
        CYxCRC64 crc;
        Handler handler(&file, &crc);
        handler.setDurable(true);
        Texts acknowledged;
        bool refuses = false;
        const bool tears = name == "write" || name == "fdatasync";
        {
          const FailingCall failing(call, number, error);
          for (const char* const text : {"one", "two", "three", "four"}) {
            YMMessageBase message = leaf(text);
            log.clear();
            const int result = layout_.append(handler, file, message);
            EXPECT_EQ(log.lines().size(), result == Handler::Success ? 0u : 1u);
            EXPECT_TRUE(!refuses || result == Handler::WriteFailed)
                << "after a failure of writing none succeeds";
            refuses = refuses || (tears && result == Handler::WriteFailed);
            if (result == Handler::Success) {
              acknowledged.push_back(text);
            }
          }
          figures.inputs += FailingCall::failed() ? 1 : 0;
          EXPECT_TRUE(acknowledged.size() == 4 || (FailingCall::failed() && error != EINTR && error != 0))
              << "a call that is interrupted or short goes on";
        }
        if (refuses) {
          std::uint64_t cut = 0;
          EXPECT_EQ(handler.cutTornTail(cut), Handler::Success);
        }
        YMMessageBase last = leaf("last");
        if (layout_.append(handler, file, last) == Handler::Success) {
          acknowledged.push_back("last");
        }
        EXPECT_EQ(readBack(), acknowledged);
        if (layout_.layout == RecordLayout::Single) {
          const std::string bytes = folder_.read("messages");
          CYxCRC64 expected;
          expected.UpdateCRC64(bytes.data(), bytes.size());
          EXPECT_EQ(crc.value(), expected.value());
        }
      }
    }
  }
  EXPECT_GT(figures.inputs, 20u);
}

TEST_P(Files, CallsThatFailWhileAFileIsReadAreNoEndOfIt)
{
  {
    CYxFile file(path_.c_str(), CYxFile::Mode::Truncate);
    Handler handler(&file);
    YMMessageBase one = leaf("one");
    ASSERT_EQ(layout_.append(handler, file, one), Handler::Success);
  }
  const LogCapture log;
  for (const char* const call : {"fstat", "lseek"}) {
    CYxFile file(path_.c_str(), CYxFile::Mode::Read);
    Handler handler(&file);
    const FailingCall failing(call, 1, EIO);
    YMMessageBase* message = nullptr;
    std::vector<YMMessageBase*> messages;
    const int result = layout_.layout == RecordLayout::Single ? handler.GetObjectFromFile(message)
                                                              : handler.readBinaryBufferFromFile(messages, 1);
    EXPECT_EQ(result, FailingCall::failed() ? Handler::ReadFailed : Handler::Success) << call;
    delete message;
    for (YMMessageBase* read : messages) {
      delete read;
    }
  }
}

TEST_P(Files, AFailureOfMendingIsToldAndCanBeRepeated)
{
  LogCapture log;
  CYxFile file(path_.c_str(), CYxFile::Mode::Truncate);
  Handler handler(&file);
  YMMessageBase one = leaf("one");
  ASSERT_EQ(layout_.append(handler, file, one), Handler::Success);
  {
    const FailingCall failing("write", 2, ENOSPC);
    EXPECT_EQ(layout_.append(handler, file, one), Handler::WriteFailed);
  }
  log.clear();
  EXPECT_EQ(layout_.append(handler, file, one), Handler::WriteFailed);
  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_NE(log.lines()[0].text.find("cutTornTail()"), std::string::npos);
  for (const char* const call : {"ftruncate", "fstat", "lseek"}) {
    const FailingCall failing(call, 1, EIO);
    EXPECT_NE(handler.cutTornTail(), Handler::Success) << call;
    EXPECT_EQ(layout_.append(handler, file, one), Handler::WriteFailed) << call;
  }
  EXPECT_EQ(handler.cutTornTail(), Handler::Success);
  EXPECT_EQ(layout_.append(handler, file, one), Handler::Success);
  EXPECT_EQ(readBack(), (Texts{"one", "one"}));
}

TEST_P(Files, DurableAppendsAreStoredBeforeTheyAreAcknowledged)
{
  CYxFile file(path_.c_str(), CYxFile::Mode::Truncate);
  Handler handler(&file);
  YMMessageBase one = leaf("one");
  const FailingCall counting("none", 1, EIO);
  calls("fdatasync");
  ASSERT_EQ(layout_.append(handler, file, one), Handler::Success);
  EXPECT_EQ(calls("fdatasync"), 0);
  handler.setDurable(true);
  ASSERT_EQ(layout_.append(handler, file, one), Handler::Success);
  EXPECT_EQ(calls("fdatasync"), 1);
}

// The writer is killed while it appends: what it has acknowledged can be read, and another one goes on.
TEST_P(Files, NothingThatWasAcknowledgedIsLostWhenTheWriterIsKilled)
{
  constexpr int most = 10000;  // are acknowledged before it is killed
  const int rounds = isFull() ? 40 : 5;
  Figures figures("files, writers killed");
  for (int round = 0; round < rounds; ++round, ++figures.inputs) {
    std::string name = path_ + std::to_string(round);
    int pipes[2];
    ASSERT_EQ(pipe(pipes), 0);
    const pid_t writer = fork();
    if (writer == 0) {
      ::close(pipes[0]);
      CYxFile file(name.c_str(), CYxFile::Mode::Update);
      Handler handler(&file);
      for (int i = 0;; ++i) {  // until it is killed, however late that comes
        YMMessageBase message = leaf(std::to_string(i));
        if (layout_.append(handler, file, message) != Handler::Success || ::write(pipes[1], "+", 1) != 1) {
          _exit(1);
        }
      }
    }
    ::close(pipes[1]);
    int acknowledged = 0;
    char byte = 0;
    while (::read(pipes[0], &byte, 1) == 1) {
      if (++acknowledged == (round + 1) * most / (rounds + 1)) {
        kill(writer, SIGKILL);
      }
    }
    ::close(pipes[0]);
    int status = 0;
    ASSERT_EQ(waitpid(writer, &status, 0), writer);
    EXPECT_TRUE(WIFSIGNALED(status));

    const LogCapture log;
    CYxFile file(name.c_str(), CYxFile::Mode::Update);
    Handler handler(&file);
    ASSERT_EQ(handler.cutTornTail(), Handler::Success);
    YMMessageBase last = leaf("last");
    ASSERT_EQ(layout_.append(handler, file, last), Handler::Success);
    int result = 0;
    const Texts texts = layout_.read(name, result);
    EXPECT_EQ(result, Handler::NothingMore);
    ASSERT_GT(texts.size(), static_cast<std::size_t>(acknowledged));
    for (std::size_t i = 0; i + 1 < texts.size(); ++i) {
      ASSERT_EQ(texts[i], std::to_string(i));
    }
    EXPECT_EQ(texts.back(), "last");
  }
}
