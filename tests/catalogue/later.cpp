// A library with the tables of a compiler that came later; see PluginTest.cpp.
#include <kwxml/model/Registry.h>

namespace {
constexpr kwxml::CatalogueTables tables{kwxml::CatalogueTables::currentVersion + 1,
                                        0,
                                        0,
                                        0,
                                        "later",
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr};
constinit const kwxml::Registry later(tables);
}  // namespace

const kwxml::Registry* const XML_KWMessage_MessageSystemChooser::catalogue = &later;
