#include <kwxml/platform/KwException.h>

#include <utility>

struct KwException::Texts
{
  std::string function;
  std::string text;
};

KwException::KwException(std::string function, std::string text)
    : texts_(std::make_shared<const Texts>(Texts{std::move(function), std::move(text)}))
{
}

KwException::~KwException() = default;

const char* KwException::what() const noexcept
{
  return texts_->text.c_str();
}

const std::string& KwException::getFunction() const noexcept
{
  return texts_->function;
}

const std::string& KwException::getText() const noexcept
{
  return texts_->text;
}
