#pragma once
#include <kwxml/xml/NumberText.h>
#include <kwxml/xml/Base64.h>
