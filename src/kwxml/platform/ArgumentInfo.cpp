#include <kwxml/platform/ArgumentInfo.h>

#include <utility>

namespace {

// Sets the value where it stays: neither setting can throw, so that a vector that grew is a complete one.
template <class T>
void append(std::vector<ArgumentInfo::Argument>& arguments, T value, int kind)
{
  ArgumentInfo::Argument& added = arguments.emplace_back();
  added.kind = kind;
  added.value.emplace<T>(std::move(value));
}

}  // namespace

void ArgumentInfo::AddArgument(int value, int kind)
{
  append(arguments_, value, kind);
}

void ArgumentInfo::AddArgument(unsigned int value, int kind)
{
  append(arguments_, value, kind);
}

void ArgumentInfo::AddArgument(long value, int kind)
{
  append(arguments_, value, kind);
}

void ArgumentInfo::AddArgument(unsigned long value, int kind)
{
  append(arguments_, value, kind);
}

void ArgumentInfo::AddArgument(long long value, int kind)
{
  append(arguments_, value, kind);
}

void ArgumentInfo::AddArgument(unsigned long long value, int kind)
{
  append(arguments_, value, kind);
}

void ArgumentInfo::AddArgument(std::string value, int kind)
{
  append(arguments_, std::move(value), kind);
}

void ArgumentInfo::AddArgument(const char* value, int kind)
{
  AddArgument(std::string(value ? value : ""), kind);
}
