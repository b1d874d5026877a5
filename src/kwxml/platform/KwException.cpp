#include <kwxml/platform/KwException.h>

#include <atomic>
#include <utility>

struct KwException::Texts
{
  std::string function;
  std::string text;
  std::atomic<int> users = 1;
};

KwException::KwException(std::string function, std::string text)
    : texts_(new Texts{std::move(function), std::move(text)})
{
}

KwException::KwException(const KwException& source) noexcept : std::exception(source), texts_(source.texts_)
{
  texts_->users.fetch_add(1, std::memory_order_relaxed);
}

KwException& KwException::operator=(const KwException& source) noexcept
{
  KwException copy(source);
  std::swap(texts_, copy.texts_);
  return *this;
}

KwException::~KwException()
{
  if (texts_->users.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    delete texts_;
  }
}

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
