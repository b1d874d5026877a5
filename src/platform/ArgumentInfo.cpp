#include <kwxml/platform/ArgumentInfo.h>

#include <utility>

void ArgumentInfo::AddArgument(int value, int kind)
{
  arguments_.push_back({kind, value});
}

void ArgumentInfo::AddArgument(unsigned int value, int kind)
{
  arguments_.push_back({kind, value});
}

void ArgumentInfo::AddArgument(long value, int kind)
{
  arguments_.push_back({kind, value});
}

void ArgumentInfo::AddArgument(unsigned long value, int kind)
{
  arguments_.push_back({kind, value});
}

void ArgumentInfo::AddArgument(long long value, int kind)
{
  arguments_.push_back({kind, value});
}

void ArgumentInfo::AddArgument(unsigned long long value, int kind)
{
  arguments_.push_back({kind, value});
}

void ArgumentInfo::AddArgument(std::string value, int kind)
{
  arguments_.push_back({kind, std::move(value)});
}

void ArgumentInfo::AddArgument(const char* value, int kind)
{
  AddArgument(std::string(value ? value : ""), kind);
}
