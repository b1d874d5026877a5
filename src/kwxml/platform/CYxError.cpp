#include <kwxml/platform/CYxError.h>

#include <kwxml/platform/PlatformInternal.h>

CYxError::CYxError(int code) : code_(code), text_(code ? kwxml::errnoText(code) : std::string()) {}
