#include <kwxml/model/Registry.h>

#include <kwxml/diagnostics/HeldOverForks.h>
#include <kwxml/diagnostics/XMLDebug.h>
#include <kwxml/model/CatalogueLibrary.h>
#include <kwxml/model/ClassPlan.h>
#include <kwxml/model/MessageInternal.h>

#include <dlfcn.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>
#include <mutex>
#include <tuple>
#include <utility>

// Weak: what a program's catalogue defines, when it has one. (The class's member, by the name that linkers
// know.)
extern const kwxml::Registry* const programCatalogue __asm__(
    "_ZN34XML_KWMessage_MessageSystemChooser9catalogueE") __attribute__((weak));

namespace kwxml {

namespace catalogues {
inline namespace v2 {
/// The tables that the library is linked with.
extern const Registry* const builtin;
}  // namespace v2
}  // namespace catalogues

namespace {

constexpr unsigned systemCount = XML_KWMessage_MessageSystemChooser::numberOfSystems;

/// A registry that the process uses, and where the field records of its classes lie. Those of two catalogues
/// never lie among each other: they are of two libraries, or of two blocks of memory.
struct Joined
{
  const Registry* registry;
  std::uintptr_t begin;
  std::uintptr_t end;
};

/// All of them at one time, by address. Read without a lock, so a list that was shown is kept: they grow by
/// loading catalogues alone.
struct JoinedList
{
  JoinedList(std::vector<Joined> all, JoinedList* last) : entries(std::move(all)), before(last) {}

  std::vector<Joined> entries;
  JoinedList* before;  ///< of a spare list, the next one
};

constinit std::atomic<JoinedList*> joinedList{nullptr};
constinit std::mutex joining;
/// A list for each registry that may leave, which must not fail; with room for all. Under `joining`.
constinit JoinedList* spareLists = nullptr;

[[gnu::constructor(103)]] void watchForks()
{
  holdOverForks<joining>();
}

constinit std::atomic<const Registry*> processRegistry{nullptr};
/// Whether any thread has ever had one of its own: a look-up of a thread's variables is not free.
constinit std::atomic<bool> threadsDiffer{false};
constinit thread_local const Registry* threadRegistry = nullptr;

std::uintptr_t addressOf(const void* object)
{
  return reinterpret_cast<std::uintptr_t>(object);
}

Joined placeOf(const Registry& registry)
{
  Joined place{&registry, std::numeric_limits<std::uintptr_t>::max(), 0};
  for (unsigned system = 0; system < systemCount; ++system) {
    const MessageSystemRow& row = registry.row(system);
    for (int i = 0; i < row.numberOfClasses; ++i) {
      if (row.classes[i].fields != nullptr) {
        place.begin = std::min(place.begin, addressOf(row.classes[i].begin()));
        place.end = std::max(place.end, addressOf(row.classes[i].end()));
      }
    }
  }
  return place;
}

/// Keeps the library that an object lies in loaded: messages point into its tables. Fails for the program
/// itself, which needs no keeping.
void keepLoaded(const void* object)
{
  Dl_info info{};
  if (dladdr(object, &info) != 0 && info.dli_fname != nullptr) {
    (void)dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
  }
}

bool isText(const char* text, std::string_view wanted)
{
  return text != nullptr && wanted == text;
}

bool isNamed(const Registry& registry, const ClassNameIndex& entry, std::string_view system,
             std::string_view cls)
{
  if (!isText(registry.row(static_cast<unsigned>(entry.system)).name, system)) {
    return false;
  }
  const _ClassDef* const record = registry.findClass(entry.system, entry.classIndex);
  if (record == nullptr || isText(record->name, cls)) {
    return record != nullptr || cls.empty();
  }
  std::size_t count = 0;
  const FormerName* const names = registry.formerNames(entry.system, entry.classIndex, count);
  return std::any_of(names, names + count,
                     [&](const FormerName& former) { return former.field == -1 && cls == former.name; });
}

/// The first entry of a hash that is not less. Hashes are spread evenly, so a hash stands near its share of
/// the table; where it does not, the table is searched by halves.
const ClassNameIndex* firstNotLess(const ClassNameIndex* names, std::int64_t count, std::uint32_t hash)
{
  std::int64_t at = static_cast<std::int64_t>(hash) * count >> 32;
  for (int step = 0; step < 2; ++step) {
    const std::int64_t off = static_cast<std::int64_t>(hash) - names[at].hash;
    at = std::clamp(at + (off * count >> 32), std::int64_t{0}, count - 1);
  }
  constexpr std::int64_t near = 32;
  const std::int64_t from = std::max(at - near, std::int64_t{0});
  const std::int64_t to = std::min(at + near, count);
  if ((from > 0 && names[from].hash >= hash) || (to < count && names[to].hash < hash)) {
    return std::lower_bound(
        names, names + count, hash,
        [](const ClassNameIndex& entry, std::uint32_t wanted) { return entry.hash < wanted; });
  }
  for (; at > from && names[at - 1].hash >= hash; --at) {
  }
  for (; at < to && names[at].hash < hash; ++at) {
  }
  return names + at;
}

/// The first entry of a system and a class; null when there is none.
const ClassNameIndex* findName(const Registry& registry, std::string_view system, std::string_view cls)
{
  const CatalogueTables& tables = registry.tables();
  const ClassNameIndex* const end = tables.classNames + tables.numberOfClassNames;
  if (tables.numberOfClassNames == 0) {
    return nullptr;
  }
  const std::uint32_t hash = classNameHash(system, cls);
  for (const ClassNameIndex* at = firstNotLess(tables.classNames, end - tables.classNames, hash);
       at != end && at->hash == hash; ++at) {
    if (isNamed(registry, *at, system, cls)) {
      return at;
    }
  }
  return nullptr;
}

/// Whether this library reads the tables; an error is logged once when it does not.
bool isReadable(const Registry& registry)
{
  const std::uint32_t version = registry.tables().version;
  if (version == CatalogueTables::currentVersion) [[likely]] {
    return true;
  }
  static constinit std::atomic<bool> told{false};
  if (!told.exchange(true)) {
    XMLDebug::getInstance()->logError(
        "kwxml::Registry",
        "Catalogue [%s] is not used: it has tables of version [%u], this library reads "
        "version [%u]",
        registry.name(), version, CatalogueTables::currentVersion);
  }
  return false;
}

}  // namespace

// ---- The registries of the process

void Registry::join() const
{
  const std::lock_guard lock(joining);
  if (joined_.load(std::memory_order_relaxed)) {
    return;
  }
  keepLoaded(tables_);
  JoinedList* const before = joinedList.load(std::memory_order_relaxed);
  auto next =
      std::make_unique<JoinedList>(before != nullptr ? before->entries : std::vector<Joined>(), before);
  const Joined place = placeOf(*this);
  next->entries.insert(std::upper_bound(next->entries.begin(), next->entries.end(), place,
                                        [](const Joined& a, const Joined& b) { return a.begin < b.begin; }),
                       place);
  auto spare = std::make_unique<JoinedList>(std::vector<Joined>(), spareLists);
  spare->entries.reserve(next->entries.size());
  for (JoinedList* list = spareLists; list != nullptr; list = list->before) {
    list->entries.reserve(next->entries.size());
  }
  spareLists = spare.release();
  joinedList.store(next.release(), std::memory_order_release);
  joined_.store(true, std::memory_order_release);
}

void Registry::leave() const noexcept
{
  const std::lock_guard lock(joining);
  JoinedList* const before = joinedList.load(std::memory_order_relaxed);
  if (before == nullptr || !joined_.load(std::memory_order_relaxed)) {
    return;
  }
  JoinedList* const next = spareLists;
  spareLists = next->before;
  std::copy_if(before->entries.begin(), before->entries.end(), std::back_inserter(next->entries),
               [this](const Joined& entry) { return entry.registry != this; });
  next->before = before;
  joinedList.store(next, std::memory_order_release);
  const Registry* expected = this;
  processRegistry.compare_exchange_strong(expected, nullptr);
}

const Registry& Registry::first() noexcept
{
  // In whatever order the libraries were named to the linker, a program's catalogue comes before the
  // library's own.
  const Registry* const* const ofProgram = &programCatalogue;
  if (ofProgram == nullptr) {
    return *catalogues::builtin;
  }
  return isReadable(**ofProgram) ? **ofProgram : *catalogues::builtin;
}

const Registry& Registry::current() noexcept
{
  if (threadsDiffer.load(std::memory_order_relaxed) && threadRegistry != nullptr) [[unlikely]] {
    return *threadRegistry;
  }
  const Registry* registry = processRegistry.load(std::memory_order_acquire);
  if (registry == nullptr) {
    registry = &first();
  }
  if (!registry->joined_.load(std::memory_order_acquire)) [[unlikely]] {
    registry->join();
  }
  return *registry;
}

const Registry& Registry::of(const FieldDef& field) noexcept
{
  const JoinedList* list = joinedList.load(std::memory_order_acquire);
  if (list == nullptr || list->entries.empty()) {
    return current();
  }
  const std::vector<Joined>& entries = list->entries;
  if (entries.size() == 1) [[likely]] {
    return *entries[0].registry;
  }
  auto after =
      std::upper_bound(entries.begin(), entries.end(), addressOf(&field),
                       [](std::uintptr_t address, const Joined& entry) { return address < entry.begin; });
  return after != entries.begin() && addressOf(&field) < (--after)->end ? *after->registry : current();
}

const Registry& Registry::of(const _ClassDef& cls) noexcept
{
  const JoinedList* list = joinedList.load(std::memory_order_acquire);
  if (list == nullptr || list->entries.size() < 2) [[likely]] {
    return list == nullptr || list->entries.empty() ? current() : *list->entries[0].registry;
  }
  if (cls.numberOfFields > 0) {
    return of(cls.fields[0]);
  }
  // While one that another thread ends is still whole.
  const std::lock_guard lock(joining);
  for (const Joined& entry : joinedList.load(std::memory_order_relaxed)->entries) {
    for (unsigned system = 0; system < systemCount; ++system) {
      const MessageSystemRow& row = entry.registry->row(system);
      if (addressOf(&cls) >= addressOf(row.classes) &&
          addressOf(&cls) < addressOf(row.classes + row.numberOfClasses)) {
        return *entry.registry;
      }
    }
  }
  return current();
}

const Registry& Registry::of(const YMMessageBase& message) noexcept
{
  return message.getClass() != nullptr ? *MessageAccess::planOf(message).registry : current();
}

std::string Registry::describeLoaded()
{
  current();  // at least that one
  std::string text;
  const std::lock_guard lock(joining);
  for (const Joined& entry : joinedList.load(std::memory_order_relaxed)->entries) {
    text += (text.empty() ? "" : ", ") + std::string(entry.registry->name()) + " (";
    const char* separator = "";
    for (unsigned system = 1; system < systemCount; ++system) {
      if (const char* name = entry.registry->row(system).name) {
        text += separator + std::string(name);
        separator = " ";
      }
    }
    text += ")";
  }
  return text;
}

void Registry::tellLoadedOnce()
{
  static constinit std::atomic<bool> told{false};
  if (!told.exchange(true)) {
    XMLDebug::getInstance()->logError("kwxml::Registry", "The catalogues in use are : [%s]",
                                      describeLoaded().c_str());
  }
}

void useCatalogue(const Registry& registry) noexcept
{
  if (isReadable(registry)) {
    processRegistry.store(&registry, std::memory_order_release);
  }
}

UsingCatalogue::UsingCatalogue(const Registry& registry) noexcept
    : changed_(&registry != &Registry::current() && isReadable(registry))
{
  if (changed_) {
    if (!registry.joined_.load(std::memory_order_acquire)) {
      registry.join();
    }
    threadsDiffer.store(true, std::memory_order_relaxed);
    before_ = std::exchange(threadRegistry, &registry);
  }
}

UsingCatalogue::UsingCatalogue(const YMMessageBase& message) noexcept
    : UsingCatalogue(message.getClass() != nullptr ? Registry::of(message) : Registry::current())
{
}

UsingCatalogue::~UsingCatalogue()
{
  if (changed_) {
    threadRegistry = before_;
  }
}

// ---- Look-ups in one

bool Registry::findTag(unsigned long tag, short& system, int& classIndex) const noexcept
{
  system = static_cast<short>(tag >> 24 & 0xFF);
  if (system < 1 || static_cast<unsigned>(system) >= systemCount) {
    return false;
  }
  const MessageSystemRow& r = row(static_cast<unsigned>(system));
  const std::uint64_t wanted = tag & 0xFFFFFF;
  // Repeated IDs exist; this exact search decides which of equal entries is met first.
  int low = 0;
  int high = r.numberOfClasses - 1;
  while (low <= high) {
    const int middle = (low + high) / 2;
    const std::uint64_t id = r.classIds[middle].classId;
    if (wanted == id) {
      classIndex = r.classIds[middle].classIndex;
      return true;
    }
    if (wanted < id) {
      high = middle - 1;
    } else {
      low = middle + 1;
    }
  }
  return false;
}

bool Registry::findSystem(std::string_view name, short& system) const noexcept
{
  const ClassNameIndex* const found = findName(*this, name, {});
  system = found != nullptr ? found->system : system;
  return found != nullptr;
}

bool Registry::findClass(std::string_view system, std::string_view cls, short& systemIndex,
                         int& classIndex) const noexcept
{
  const ClassNameIndex* const found = cls.empty() ? nullptr : findName(*this, system, cls);
  if (found == nullptr) {
    return false;
  }
  systemIndex = found->system;
  classIndex = found->classIndex;
  return true;
}

const XPathDataRow* Registry::xpathData(short system) const noexcept
{
  switch (system) {
    case 12:
    case 18:
    case 22:
    case 100:
      break;
    default:
      return nullptr;
  }
  for (const XPathDataRow* r = tables_->xpath; r->count >= 0; ++r) {
    if (static_cast<short>(r->system) == system) {
      return r;
    }
  }
  return nullptr;  // a catalogue may hold no XPath identifiers for the system
}

const FormerName* Registry::formerNames(int system, int classIndex, std::size_t& count) const noexcept
{
  const FormerName* const all = tables_->formerNames;
  const auto isBefore = [](const FormerName& entry, const std::pair<int, int>& wanted) {
    return std::pair<int, int>(entry.system, entry.classIndex) < wanted;
  };
  const std::pair<int, int> wanted(system, classIndex);
  const FormerName* begin = std::lower_bound(all, all + tables_->numberOfFormerNames, wanted, isBefore);
  const FormerName* end = begin;
  while (end != all + tables_->numberOfFormerNames && end->system == system &&
         end->classIndex == classIndex) {
    ++end;
  }
  count = static_cast<std::size_t>(end - begin);
  return begin;
}

const char* Registry::doc(int system, int classIndex, int field) const noexcept
{
  using Place = std::tuple<int, int, int>;
  const Place wanted(system, classIndex, field);
  const auto place = [](const DocText& entry) { return Place(entry.system, entry.classIndex, entry.field); };
  const DocText* const end = tables_->docs + tables_->numberOfDocs;
  const DocText* found = std::lower_bound(
      tables_->docs, end, wanted, [&](const DocText& entry, const Place& key) { return place(entry) < key; });
  return found != end && place(*found) == wanted ? found->text : "";
}

// ---- Compiled catalogues

const Registry* Registry::fromLibrary(const std::string& path, std::string& problem)
{
  const Registry* const found = loadCatalogueLibrary(path, problem);
  if (found == nullptr) {
    problem.insert(0, path + ": ");
    return nullptr;
  }
  found->join();
  return found;
}

}  // namespace kwxml
