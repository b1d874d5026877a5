#include <kwxml/platform/FXString.h>

#include <kwxml/platform/PlatformInternal.h>

bool FXString::Format(const char* format, ...)
{
  va_list args;
  va_start(args, format);
  const bool done = FormatV(format, args);
  va_end(args);
  return done;
}

bool FXString::FormatV(const char* format, va_list args)
{
  return kwxml::formatText(text_, format, args);
}

std::ostream& operator<<(std::ostream& out, const FXString& text)
{
  return out << text.text_;
}
