// The context of one encoding or decoding call: named parameters, the password type and the errors met.
// Owned by the caller; used by one call at a time.
#pragma once

#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/model/StringTypes.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

class KwXMLContextInfo
{
public:
  /// Stores an untyped pointer under a name, replacing an earlier one. The pointer stays the caller's.
  void addParam(const std::string& name, void* value) { params_[name] = value; }
  /// The pointer stored under `name`; null for an empty or unknown name.
  void* getParam(const std::string& name) const
  {
    const auto found = params_.find(name);
    return name.empty() || found == params_.end() ? nullptr : found->second;
  }

  EncodingFlags& encodingFlags() noexcept { return flags_; }
  const EncodingFlags& encodingFlags() const noexcept { return flags_; }

  void setPasswordEncType(Annotation::PasswordEncryptType type) noexcept { passwordType_ = type; }
  Annotation::PasswordEncryptType getPasswordEncType() const noexcept { return passwordType_; }

  /// The most bytes of memory that messages which a call decodes with this context may take; 0, as it is at
  /// first: the usual limit (usualDecodeMemory() in kwxml/model/Limits.h). A call that meets its limit fails
  /// as one whose text or bytes are damaged, and says so (ProblemKind::NoMemory, logged).
  void setMemoryLimit(std::uint64_t bytes) noexcept { memoryLimit_ = bytes; }
  std::uint64_t getMemoryLimit() const noexcept { return memoryLimit_; }

  void setError(int code, const std::string& message)
  {
    failed_ = true;
    codes_.push_back(code);
    messages_.push_back(message);
  }
  bool hasError() const noexcept { return failed_; }
  const std::vector<int>& getErrorCodes() const noexcept { return codes_; }
  /// All messages, each followed by a new-line; empty when there is none.
  std::string getErrorDetails() const
  {
    std::string text;
    for (const std::string& message : messages_) {
      text += message + "\n";
    }
    return text;
  }

private:
  std::map<std::string, void*> params_;
  EncodingFlags flags_;
  Annotation::PasswordEncryptType passwordType_{};
  std::uint64_t memoryLimit_ = 0;
  bool failed_ = false;
  std::vector<int> codes_;
  std::vector<std::string> messages_;
};
