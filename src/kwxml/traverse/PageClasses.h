// The documentation of the classes that a page has met. Not installed.
#pragma once

#include <kwxml/model/Registry.h>

#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace kwxml {

class PageClasses
{
public:
  /// Appends a link to the documentation of a class, or its name where the catalogue does not have it.
  void appendLink(std::string& out, const PackedReference& place);
  /// The documentation of the classes that have been linked to, as markup.
  std::string text();

private:
  void appendFields(std::string& out, const PackedReference& place, const _ClassDef& cls);
  bool has(const PackedReference& place) const { return met_.contains({place.system, place.classIndex}); }

  /// By system and class index; of one page's messages all classes are of one catalogue.
  std::map<std::pair<int, int>, const Registry*> met_;
};

}  // namespace kwxml
