// Passwords to protected texts and back: the generations, keys, damage and limits.
#include <kwxml/model/StringTypes.h>
#include <kwxml/platform/KWPI_Focus.h>
#include <kwxml/platform/KWPassword.h>
#include <kwxml/platform/PasswordKeyFile.h>

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <functional>
#include <optional>
#include <thread>
#include <tuple>

#include "platform/TempDirectory.h"
#include "support/Hex.h"
#include "support/SmallStack.h"

namespace {

using kwxml::createKeyFile;
using kwxml::test::TempDirectory;
using Result = std::optional<std::string>;

constexpr int kGenerations[] = {1, 2, 3, 5, 8};
constexpr char kUntouched = '\x7F';
const char* const kSecret = "correct horse / \xC3\xA4 \"battery\"";

// Calls with a usable length of `room`. Whatever the call does it stays in the buffer, and a failure leaves
// all as it was.
template <class Call>
Result call(unsigned int room, unsigned int zero, const Call& function)
{
  std::string buffer(room + 1 - zero + 16, kUntouched);
  unsigned int length = room;
  const bool done = function(buffer.data(), &length) != 0;
  const size_t used = done ? length + 1 : 0;
  EXPECT_LE(used, room + 1 - zero);
  EXPECT_EQ(buffer.find_first_not_of(kUntouched, used), std::string::npos) << "written beyond the result";
  if (!done) {
    EXPECT_EQ(length, room);
    return std::nullopt;
  }
  EXPECT_EQ(buffer[length], '\0');
  return buffer.substr(0, length);
}

Result encrypt(int generation, const std::string& plain, unsigned int room = 2048)
{
  return call(room, 1,
              [&](auto... output) { return KWPassword().encrypt(generation, plain.c_str(), output...); });
}
Result decrypt3(const std::string& text, unsigned int room = 2047)
{
  return call(room, 0, [&](auto... output) { return KWPassword().decrypt(text.c_str(), output...); });
}
Result decrypt4(const std::string& text, unsigned int room = 2047, const void* extra = nullptr)
{
  return call(room, 0, [&](auto... output) { return KWPassword().decrypt(text.c_str(), output..., extra); });
}
Result convert(const std::string& text, unsigned int room = 2048)
{
  return call(room, 1, [&](auto... output) { return KWPassword().ConvertToV8(text.c_str(), output...); });
}
Result decrypt(const std::string& text, unsigned int room = 2047)
{
  return !text.empty() && text[0] < '3' ? decrypt3(text, room) : decrypt4(text, room);
}

class Password : public testing::Test
{
protected:
  Password() { useKey("key"); }
  ~Password() override { EXPECT_EQ(ERR_peek_error(), 0u) << "left in the program's OpenSSL error queue"; }

  void use(const std::string& settings) const
  {
    setenv("KWXML_SETTINGS", directory.write("settings.ini", settings).c_str(), 1);
  }
  /// Creates the key file where it is missing.
  void useKey(const std::string& name) const
  {
    std::string error;
    ASSERT_TRUE(std::filesystem::exists(directory / name) || createKeyFile(directory / name, error)) << error;
    use("[Password]\nkeyfile = " + (directory / name) + "\n");
  }

  const TempDirectory directory;
};

TEST_F(Password, EveryGenerationIsReadByItsFormAndConverted)
{
  for (const int generation : kGenerations) {
    for (const std::string& plain : {std::string(kSecret), std::string(), std::string("x"),
                                     std::string(511, 'p'), std::string(KWPassword::maxPlainLength, 'q')}) {
      const Result text = encrypt(generation, plain);
      ASSERT_TRUE(text) << generation << ' ' << plain.size();
      EXPECT_EQ((*text)[0], static_cast<char>('0' + generation));
      EXPECT_TRUE(std::all_of(text->begin(), text->end(),
                              [](unsigned char c) { return std::isalnum(c) || c == '-' || c == '_'; }));
      EXPECT_EQ(text->find("horse"), std::string::npos);
      EXPECT_NE(encrypt(generation, plain), text) << "a nonce twice";
      EXPECT_EQ(decrypt3(*text), generation < 3 ? Result(plain) : std::nullopt);
      EXPECT_EQ(decrypt4(*text), generation < 3 ? std::nullopt : Result(plain));
      EXPECT_EQ(decrypt4(*text, 2047, "extra"), std::nullopt);

      const std::string newest = convert(*text).value_or("-");
      EXPECT_EQ(newest[0], '8');
      EXPECT_NE(newest, text);
      EXPECT_EQ(decrypt4(newest), plain);
    }
    EXPECT_EQ(encrypt(generation, std::string(KWPassword::maxPlainLength + 1, 'q')), std::nullopt);
  }
  EXPECT_EQ(encrypt(8, std::string(KWPassword::maxPlainLength, 'q'))->size(), KWPassword::maxTextLength);
  for (const int generation : {-1, 0, 4, 6, 7, 9, 10, 256 + 8}) {
    EXPECT_EQ(encrypt(generation, kSecret), std::nullopt) << generation;
  }
}

TEST_F(Password, OutputsOneByteTooSmallStayUntouched)
{
  const unsigned int plainLength = static_cast<unsigned int>(std::string(kSecret).size());
  for (const int generation : kGenerations) {
    const std::string text = encrypt(generation, kSecret).value_or("");
    const unsigned int length = static_cast<unsigned int>(text.size());
    EXPECT_TRUE(encrypt(generation, kSecret, length + 1));
    EXPECT_EQ(decrypt(text, plainLength), kSecret);
    EXPECT_TRUE(convert(text, length + 1));
    for (const unsigned int less : {1u, plainLength}) {
      EXPECT_FALSE(encrypt(generation, kSecret, length + 1 - less));
      EXPECT_FALSE(decrypt(text, plainLength - less));
      EXPECT_FALSE(convert(text, length + 1 - less));
    }
    EXPECT_FALSE(encrypt(generation, kSecret, 1));
    EXPECT_FALSE(convert(text, 1));
  }
}

TEST_F(Password, DamagedTextsGiveNothing)
{
  const auto refused = [](const std::string& text) {
    return !decrypt3(text) && !decrypt4(text) && !convert(text);
  };
  // Lengths of every remainder, so that the last digit has bits of no meaning too.
  for (const char* plain : {"password", "password1", "password12"}) {
    for (const int generation : kGenerations) {
      const std::string text = encrypt(generation, plain).value_or("");
      ASSERT_TRUE(decrypt(text));
      for (size_t i = 0; i < text.size(); ++i) {
        for (int bit = 0; bit < 8; ++bit) {
          std::string damaged = text;
          damaged[i] = static_cast<char>(damaged[i] ^ 1 << bit);
          EXPECT_TRUE(refused(damaged)) << generation << ": bit " << bit << " of byte " << i;
        }
        EXPECT_TRUE(refused(text.substr(0, i))) << generation << ": cut to " << i;
      }
      for (const int other : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}) {
        const std::string renamed = std::to_string(other) + text.substr(1);
        EXPECT_TRUE(other == generation || refused(renamed)) << generation << " as " << other;
      }
      for (const char* tail : {"A", "=", "==", " ", "\n", "-", "AAAA"}) {
        EXPECT_TRUE(refused(text + tail)) << '"' << tail << '"';
        EXPECT_TRUE(refused(text[0] + (tail + text.substr(1)))) << '"' << tail << '"';
      }
      std::string standard = text;
      std::replace(standard.begin(), standard.end(), '-', '+');
      std::replace(standard.begin(), standard.end(), '_', '/');
      EXPECT_TRUE(standard == text || refused(standard));
    }
  }
  for (const std::string& text :
       {std::string(), std::string("8"), "8" + std::string(2046, 'A'), "8" + std::string(2047, 'A'),
        "1" + std::string(5000, 'A'), std::string(37, '8'), std::string("8\xFF\xFF\xFF\xFF")}) {
    EXPECT_TRUE(refused(text)) << text.size();
  }
}

TEST_F(Password, NullPointersGiveNothing)
{
  char output[64];
  unsigned int length = sizeof output;
  KWPassword password;
  EXPECT_TRUE(!password.decrypt(nullptr, output, &length) && !password.decrypt("1", nullptr, &length));
  EXPECT_EQ(password.decrypt("3", output, nullptr, nullptr), 0);
  EXPECT_TRUE(!password.ConvertToV8(nullptr, output, &length) && !password.ConvertToV8("1", output, nullptr));
  EXPECT_TRUE(!password.encrypt(8, "x", nullptr, &length) && !password.encrypt(8, nullptr, output, &length));
}

TEST_F(Password, TheOutputMayBeTheInput)
{
  char buffer[2048] = "password";
  unsigned int length = sizeof buffer;
  ASSERT_NE(KWPassword().encrypt(5, buffer, buffer, &length), 0);
  EXPECT_EQ(buffer[0], '5');
  length = sizeof buffer;
  ASSERT_NE(KWPassword().ConvertToV8(buffer, buffer, &length), 0);
  EXPECT_EQ(buffer[0], '8');
  length = sizeof buffer - 1;
  ASSERT_NE(KWPassword().decrypt(buffer, buffer, &length, nullptr), 0);
  EXPECT_STREQ(buffer, "password");
}

TEST_F(Password, NothingSecretStaysOnTheStack)
{
  // Long enough for every way of copying; compared in pieces, as a part is a leak too.
  std::string plain;
  for (int i = 0; plain.size() < 400; ++i) {
    plain += std::to_string(i * i) + '~';
  }
  const std::string digits = directory.read("key").substr(17, 64);
  const std::string key = kwxml::test::fromHex(digits);
  const std::string text = encrypt(8, plain).value_or("");
  std::string damaged = text;
  damaged[text.size() - 3] = damaged[text.size() - 3] == 'A' ? 'B' : 'A';  // in the tag, read last
  char output[4096];
  unsigned int length = 0;
  KWPassword password;
  const auto encryption = [&] { return password.encrypt(1, plain.c_str(), output, &length); };
  const auto decryption = [&] { return password.decrypt(text.c_str(), output, &length, nullptr); };
  const struct
  {
    const char* what;
    unsigned int room;
    int done;
    std::function<int()> run;
  } cases[] = {
      {"encrypt", 2048, 1, encryption},
      {"no room for the text", 9, 0, encryption},
      {"decrypt", 2047, 1, decryption},
      {"no room for the password", 9, 0, decryption},
      {"damaged tag", 2047, 0, [&] { return password.decrypt(damaged.c_str(), output, &length, nullptr); }},
      {"convert", 2048, 1, [&] { return password.ConvertToV8(text.c_str(), output, &length); }},
  };
  for (const auto& each : cases) {
    length = each.room;
    int done = -1;
    const std::string stack = kwxml::test::onSmallStack([&] { done = each.run(); });
    EXPECT_EQ(done, each.done) << each.what;
    for (const auto& [name, secret] :
         {std::pair("password", plain), std::pair("key", key), std::pair("key file", digits)}) {
      for (size_t i = 0; i + 8 <= secret.size(); i += 4) {
        ASSERT_EQ(stack.find(secret.substr(i, 8)), std::string::npos)
            << each.what << ": " << name << ", byte " << i;
      }
    }
  }
}

TEST_F(Password, OnlyTheKeyOpensAText)
{
  const std::string text = encrypt(8, kSecret).value_or("");
  const std::string old = encrypt(1, kSecret).value_or("");
  testing::internal::CaptureStderr();
  useKey("other");
  EXPECT_FALSE(decrypt(text) || decrypt(old) || convert(old));
  EXPECT_TRUE(encrypt(8, kSecret));

  // Without a key nothing works, and nothing is said.
  for (const char* settings : {"", "[Password]\n", "[Other]\nkeyfile = x\n"}) {
    use(settings);
    EXPECT_FALSE(decrypt(text) || convert(old) || encrypt(8, kSecret)) << settings;
  }
  unsetenv("KWXML_SETTINGS");
  EXPECT_FALSE(decrypt(text) || convert(old) || encrypt(8, kSecret));

  // The key of the process's focus wins.
  use("[Password]\nkeyfile = " + (directory / "other") +
      "\n[Password@backup]\nkeyfile = " + (directory / "key") + "\n");
  EXPECT_FALSE(decrypt(text));
  KWPI_Focus::setFocus("backup");
  EXPECT_EQ(decrypt(text), kSecret);
  KWPI_Focus::setFocus(nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Password, OthersKeysAndNamesWithZeroBytesAreRefused)
{
  std::string error;
  EXPECT_FALSE(createKeyFile(directory / std::string("a\0b", 3), error));
  EXPECT_FALSE(std::filesystem::exists(directory / "a"));
  // Only root can give a file away.
  if (geteuid() == 0 && chown((directory / "key").c_str(), 65534, 65534) == 0) {
    testing::internal::CaptureStderr();
    EXPECT_FALSE(encrypt(8, kSecret));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "KwPlatform: password key file " + (directory / "key") +
                                                          ": refused, because it belongs to another user\n");
  }
}

// The message library's password values, with this library behind them.
TEST_F(Password, ValuesOfMessagesAreReadAndConverted)
{
  const std::tuple<int, int, const char*> cases[] = {
      {1, Annotation::KWPASSWORD_ENCRYPTION_VER1, kSecret},
      {2, Annotation::KWPASSWORD_ENCRYPTION_VER2, ""},  // never given out
      {3, Annotation::KWPASSWORD_ENCRYPTION_VER3, kSecret},
      {5, Annotation::KWPASSWORD_ENCRYPTION_VER5, ""}};
  for (const auto& [generation, type, plain] : cases) {
    const pstring value(encrypt(generation, kSecret).value_or(""), type);
    EXPECT_EQ(value.getPlainPassword().text(), plain) << generation;
    const pstring newest = value.getV8Password();
    EXPECT_EQ(newest.getEncryptionType(), Annotation::KWPASSWORD_ENCRYPTION_VER8);
    EXPECT_EQ(decrypt(newest.text()), kSecret) << generation;
  }
  // 511 bytes are the longest that a value gives out.
  for (const size_t size : {511u, 512u}) {
    const pstring value(encrypt(3, std::string(size, 'p')).value_or(""),
                        Annotation::KWPASSWORD_ENCRYPTION_VER3);
    EXPECT_EQ(value.getPlainPassword().text().size(), size == 511 ? size : 0);
  }
}

TEST_F(Password, ThreadsWorkAtOnce)
{
  std::vector<std::jthread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([i] {
      for (int round = 0; round < 50; ++round) {
        const std::string plain = "password " + std::to_string(i) + '.' + std::to_string(round);
        const std::string text = encrypt(kGenerations[i], plain).value_or("");
        EXPECT_EQ(decrypt(text), plain);
        EXPECT_EQ(decrypt(convert(text).value_or("")), plain);
      }
    });
  }
}

}  // namespace
