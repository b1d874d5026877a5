// Errors of file operations.
#pragma once

#include <kwxml/platform/Export.h>

#include <string>

/// The error of a file operation: an errno code and the system's text for the code. See CYxFile.
class KWXML_API CYxError
{
public:
  /// No error: code 0, empty text.
  CYxError() = default;
  /// The error of an errno code; 0 is no error.
  explicit CYxError(int code);

  /// The errno code; 0 for no error.
  int GetCode() const { return code_; }
  /// Whether the code is other than 0.
  bool IsError() const { return code_ != 0; }
  /// The system's text for the code; "" for no error. The object owns the text, which is valid as long as the
  /// object is unchanged.
  const char* AsString() const { return text_.c_str(); }

private:
  int code_ = 0;
  std::string text_;
};
