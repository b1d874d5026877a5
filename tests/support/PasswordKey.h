// The password algorithms of a test: none is left from one to the next.
#pragma once

#include "platform/TempDirectory.h"

#include <kwxml/codec/StandInPasswords.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/platform/PasswordKeyFile.h>

#include <gtest/gtest.h>

namespace kwxml::test {

inline void clearPasswordAlgorithms()
{
  for (int i = 0; i <= maxPasswordAlgorithmType; ++i) {
    XMLDecoder::registerPasswordEncAlgo(static_cast<Annotation::PasswordEncryptType>(i), nullptr);
    XMLDecoder::registerPasswordDecAlgo(static_cast<Annotation::PasswordEncryptType>(i), nullptr);
  }
}

/// The platform's algorithms, with a settings file that names a new key.
class PasswordKey : public TempDirectory
{
public:
  PasswordKey()
  {
    renew();
    write("settings", "[Password]\nkeyfile = " + *this / "key\n");
    use();
    if (!registerPasswordAlgorithms()) {
      throw std::runtime_error("the settings name no key");
    }
  }
  ~PasswordKey()
  {
    clearPasswordAlgorithms();
    unsetenv("KWXML_SETTINGS");
  }
  void renew()
  {
    std::string error;
    std::filesystem::remove(*this / "key");
    EXPECT_TRUE(createKeyFile(*this / "key", error)) << error;
  }
  void use() { setenv("KWXML_SETTINGS", (*this / "settings").c_str(), 1); }
};

}  // namespace kwxml::test
