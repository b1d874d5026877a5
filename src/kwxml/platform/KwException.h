// The exception of the product's libraries.
#pragma once

#include <kwxml/platform/Export.h>

#include <exception>
#include <string>

/// The text of a failure, and the name of the function that failed.
class KWXML_API KwException : public std::exception
{
public:
  /// `function` is the name of the function that failed, `text` says what failed.
  KwException(std::string function, std::string text);
  ~KwException() override;
  /// Copies share their texts, so that copying an exception in flight cannot throw.
  KwException(const KwException& source) noexcept;
  /// Shares the source's texts from now on.
  KwException& operator=(const KwException& source) noexcept;

  /// The same text as getText(), valid as long as a copy of the exception lives.
  const char* what() const noexcept override;
  /// Name of the function that failed, such as "YMMessageBase::getObject".
  const std::string& getFunction() const noexcept;
  /// What failed, in words.
  const std::string& getText() const noexcept;

private:
  struct Texts;
  Texts* texts_;  ///< shared and counted
};
