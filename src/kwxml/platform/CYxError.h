// The error of a file operation: an errno code and its text.
#pragma once

#include <string>

class CYxError
{
public:
  /// No error: code 0, empty text.
  CYxError() = default;
  explicit CYxError(int code);

  int GetCode() const { return code_; }
  bool IsError() const { return code_ != 0; }
  /// The system's text for the code; "" for no error. Valid as long as the object is unchanged.
  const char* AsString() const { return text_.c_str(); }

private:
  int code_ = 0;
  std::string text_;
};
