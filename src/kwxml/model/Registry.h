// Catalogues as objects: the tables of one set of schemas, and which of them a process uses.
//
// Every catalogue that is linked into a process brings one constant Registry, which its wrappers name; others
// are made from schemas at run time. Messages belong to the registry of which they were made: what they refer
// to is looked up there, whatever else is loaded. The look-ups that take no message (by tag, by name, by
// indices) ask the registry in use: of the thread, of the process, or else the first one, whose rows are
// XML_KWMessage_MessageSystemChooser::msgSysStruct.
//
// Thread safety: a registry is constant to its users; all members may be called from any thread. Lifetime:
// compiled registries last as long as the process (a plug-in that brings one stays loaded); for those made at
// run time see Registry::Owner.
#pragma once

#include <kwxml/model/Metadata.h>
#include <kwxml/platform/Export.h>
#include <kwxml/platform/StandardParts.h>

#include <atomic>
#include <string>
#include <string_view>
#include <vector>

namespace kwxml {

/// The tables of one catalogue, with the look-ups over them. Copied nowhere: messages point to it.
class KWXML_API Registry
{
public:
  /// Of tables that last as long as the registry does; refers to them alone.
  constexpr explicit Registry(const CatalogueTables& tables) noexcept : tables_(&tables) {}
  Registry(const Registry&) = delete;
  Registry& operator=(const Registry&) = delete;

  /// Ends a registry made at run time. No message of it may be alive then, also not in a line that waits for
  /// the log's workers, and none may be made.
  struct End
  {
    /// Frees the registry.
    void operator()(const Registry* registry) const noexcept;
  };
  /// Owns a registry made at run time.
  using Owner = std::unique_ptr<const Registry, End>;

  /// The catalogue of schema files and folders of them (their *.xml files), with the tables that a compiled
  /// one has. Null when they have errors; `problems` holds the lines, "FILE:LINE:COLUMN: error: TEXT", and
  /// any warnings.
  [[nodiscard]] static Owner fromSchemas(const std::vector<std::string>& paths, std::string& problems);
  /// The compiled catalogue in a shared library, which stays loaded. Null when it cannot be loaded or has
  /// none; `problem` says why.
  [[nodiscard]] static const Registry* fromLibrary(const std::string& path, std::string& problem);

  /// The registry in use by the calling thread.
  static const Registry& current() noexcept;
  /// The one whose rows are msgSysStruct.
  static const Registry& first() noexcept;
  /// The registry that a record is of.
  static const Registry& of(const FieldDef& field) noexcept;
  static const Registry& of(const _ClassDef& cls) noexcept;
  /// The registry that a message was made of; current() for one without a class.
  static const Registry& of(const YMMessageBase& message) noexcept;
  /// Names of the catalogues that the process has used so far, with their systems, for people.
  static std::string describeLoaded();

  /// Logs describeLoaded(), as an error, at the first call of the process: for a class that was not found.
  static void tellLoadedOnce();

  /// The catalogue's name, a C++ identifier.
  const char* name() const noexcept { return tables_->name; }
  /// The catalogue's tables.
  const CatalogueTables& tables() const noexcept { return *tables_; }
  /// A row; row 0, which is empty, for a number that is none.
  const MessageSystemRow& row(unsigned system) const noexcept
  {
    return tables_->systems[system < XML_KWMessage_MessageSystemChooser::numberOfSystems ? system : 0];
  }
  /// Class record at an index of a system; null when there is none. Logs nothing.
  const _ClassDef* findClass(int system, int classIndex) const noexcept
  {
    const MessageSystemRow& r = row(static_cast<unsigned>(system));
    return classIndex >= 0 && classIndex < r.numberOfClasses ? &r.classes[classIndex] : nullptr;
  }
  /// The system of a name; false when there is none.
  [[nodiscard]] bool findSystem(std::string_view name, short& system) const noexcept;
  /// The class of a name or of a former name, the first of several of one name; false when there is none.
  [[nodiscard]] bool findClass(std::string_view system, std::string_view cls, short& systemIndex,
                               int& classIndex) const noexcept;
  /// The class of a tag identifier, found as YMMessageBase::getIndicesFromTagID() finds it.
  [[nodiscard]] bool findTag(unsigned long tag, short& system, int& classIndex) const noexcept;
  /// The XPath tables of a system; null when it has none.
  const XPathDataRow* xpathData(short system) const noexcept;
  /// The former names of a class's fields, and their number.
  const FormerName* formerNames(int system, int classIndex, std::size_t& count) const noexcept;
  /// What the schema says of a system (class -1), a class (field -1), a field or an enumerator; empty when it
  /// says nothing.
  const char* doc(int system, int classIndex, int field) const noexcept;

  // ---- For the library itself

  /// Where the plan of a class stands once it has been made.
  using PlanPlace = std::atomic<const ClassPlan*>;
  /// The plan of a class that is there.
  const ClassPlan& plan(unsigned system, unsigned classIndex) const
  {
    if (PlanPlace* places = places_[system].load(std::memory_order_acquire)) [[likely]] {
      if (const ClassPlan* plan = places[classIndex].load(std::memory_order_acquire)) [[likely]] {
        return *plan;
      }
    }
    return makePlan(system, classIndex);
  }

private:
  friend class UsingCatalogue;
  const ClassPlan& makePlan(unsigned system, unsigned classIndex) const;
  /// Makes it one of those that records are looked for in; leave() is its end.
  void join() const;
  void leave() const noexcept;
  void endPlans() const noexcept;

  const CatalogueTables* tables_;
  /// For each system an array with one place for each of its classes, made with the first plan of the system.
  mutable std::atomic<PlanPlace*> places_[XML_KWMessage_MessageSystemChooser::numberOfSystems]{};
  mutable std::atomic<bool> joined_{false};
};

/// Where a reference is looked up.
inline const Registry& registryOf(const PackedReference& reference) noexcept
{
  return reference.registry != nullptr ? *reference.registry : Registry::current();
}

/// Makes a catalogue the one in use by all threads that name no other. Call it before the first message is
/// made or read: what was made before keeps its catalogue, which is then a stranger to what is made later.
/// One whose tables this library does not read is not used (logged once), here and by UsingCatalogue.
KWXML_API void useCatalogue(const Registry& registry) noexcept;

/// Makes a catalogue the one in use by the calling thread until the object ends; of nested ones the inner one
/// counts. For readers and writers of another catalogue than the process's: their calls go inside.
class KWXML_API UsingCatalogue
{
public:
  /// From now on `registry`, which must outlive the object.
  explicit UsingCatalogue(const Registry& registry) noexcept;
  /// The catalogue of a message that is to be read into.
  explicit UsingCatalogue(const YMMessageBase& message) noexcept;
  /// The thread uses again what it used before.
  ~UsingCatalogue();
  UsingCatalogue(const UsingCatalogue&) = delete;
  UsingCatalogue& operator=(const UsingCatalogue&) = delete;

private:
  const Registry* before_ = nullptr;
  bool changed_ = true;
};

}  // namespace kwxml
