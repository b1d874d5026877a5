// Random catalogues and random changes of them, as schema files say them.
#pragma once

#include <kwxml/model/FieldTypes.h>

#include <cstddef>
#include <random>
#include <string>
#include <vector>

namespace kwxml::test {

/// A type as a schema writes it.
struct SchemaType
{
  const char* attributes;
  FieldDataType type;
  int references = 0;
  bool toEnum = false;
  const char* defaults[2] = {nullptr, nullptr};  ///< two texts that may be defaults
};

struct RandomMember
{
  std::string name;
  std::string formerly;
  const SchemaType* type = nullptr;  ///< null: an enumerator
  int classes[2] = {-1, -1};         ///< numbers of the classes referred to, that of the value first
  int defaultText = -1;
  int value = 0;  ///< of an enumerator
  bool hidden = false;
  bool cdata = false;
  bool noted = false;
  const char* date = "";
};

struct RandomClass
{
  int number;  ///< stays when the name changes
  bool isEnum;
  std::string name;
  std::string formerly;
  int id;
  int index = -1;
  std::vector<RandomMember> members;
};

struct RandomSystem
{
  std::string name;
  int index;
  std::vector<RandomClass> classes;
};

/// Not every one is a valid catalogue: names may meet, and messages may build themselves without end.
class RandomCatalogue
{
public:
  explicit RandomCatalogue(std::mt19937& random);

  /// Makes one change of any kind.
  void change();
  std::string text() const;

private:
  std::size_t below(std::size_t limit) { return (*random_)() % limit; }
  bool oneIn(std::size_t count) { return below(count) == 0; }
  template <class Elements>
  auto& anyOf(Elements& elements)
  {
    return elements[below(std::size(elements))];
  }
  std::string anyName();
  RandomClass anyClass(bool isEnum);
  RandomMember anyField();
  const SchemaType& anyType();
  RandomMember anyEnumerator();
  int anyReference(bool toEnum);
  void setType(RandomMember& field, const SchemaType& type);
  void retype(RandomMember& field);
  void rename(std::string& name, std::string& formerly, const std::string& next);
  void changeMessage(RandomClass& cls);
  void changeEnum(RandomClass& cls);
  void changeClass(RandomSystem& system, std::size_t position);
  bool isReferredTo(int number) const;
  std::string tagName(int number) const;

  std::mt19937* random_;
  int numbers_ = 0;
  std::vector<RandomSystem> systems_;
};

}  // namespace kwxml::test
