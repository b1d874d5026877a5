// The exception of the product's libraries: the text of a failure and the function that it comes from.
#pragma once

#include <exception>
#include <memory>
#include <string>

class KwException : public std::exception
{
public:
  KwException(std::string function, std::string text);
  ~KwException() override;
  // Copies share their texts, so that copying an exception in flight cannot throw.
  KwException(const KwException&) noexcept = default;
  KwException& operator=(const KwException&) noexcept = default;

  const char* what() const noexcept override;
  /// Name of the function that failed, such as "YMMessageBase::getObject".
  const std::string& getFunction() const noexcept;
  const std::string& getText() const noexcept;

private:
  struct Texts;
  std::shared_ptr<const Texts> texts_;
};
