// The context of encoding and decoding calls.
#pragma once

#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/model/StringTypes.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// The context of an encoding or decoding call: named parameters, switches, the password type, a limit of
/// memory and errors. The caller owns the context. One call at a time uses a context.
class KwXMLContextInfo
{
public:
  /// Stores an untyped pointer under a name, in place of an earlier one. What the pointer refers to stays the
  /// caller's.
  void addParam(const std::string& name, void* value) { params_[name] = value; }
  /// The pointer stored under `name`; null for an empty or unknown name.
  void* getParam(const std::string& name) const
  {
    const auto found = params_.find(name);
    return name.empty() || found == params_.end() ? nullptr : found->second;
  }

  /// Switches that the context carries; the first form is for changing them. Calls of the library use the
  /// switches of their encoder or decoder, not these.
  EncodingFlags& encodingFlags() noexcept { return flags_; }
  const EncodingFlags& encodingFlags() const noexcept { return flags_; }

  /// Sets the type that a decoding call wants passwords to have; UNKNOWN, as at first, wants plain passwords.
  /// With PASS_THROUGH passwords stay as they were received; with KWPASSWORD_ENCRYPTION_VER2 or VER3
  /// protected passwords come out protected by that type. Other types want plain passwords, too.
  /// For XMLDecoder::ProcessPasswordAnnotation() the type is that of the text itself.
  void setPasswordEncType(Annotation::PasswordEncryptType type) noexcept { passwordType_ = type; }
  /// The type that setPasswordEncType() set.
  Annotation::PasswordEncryptType getPasswordEncType() const noexcept { return passwordType_; }

  /// Sets the most bytes of memory that the messages of one decoding call may take; 0, as at first: the usual
  /// limit (kwxml::usualDecodeMemory() in kwxml/model/Limits.h). A call that meets the limit fails as if the
  /// text or bytes were damaged; the failure is logged, and told as ProblemKind::NoMemory.
  void setMemoryLimit(std::uint64_t bytes) noexcept { memoryLimit_ = bytes; }
  /// The limit that setMemoryLimit() set; 0 for the usual one.
  std::uint64_t getMemoryLimit() const noexcept { return memoryLimit_; }

  /// Adds an error. For algorithms and programs; the library itself adds none.
  void setError(int code, const std::string& message)
  {
    failed_ = true;
    codes_.push_back(code);
    messages_.push_back(message);
  }
  /// Whether an error was added.
  bool hasError() const noexcept { return failed_; }
  /// The codes of all errors in the order of adding, owned by the context.
  const std::vector<int>& getErrorCodes() const noexcept { return codes_; }
  /// The messages of all errors, each followed by a new-line; empty when there is no error.
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
