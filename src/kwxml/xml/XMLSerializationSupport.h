// Listeners of XML writing: callbacks registered for the tag of a message class or of an annotation, called
// for every field that the writer is about to write, which can leave the field out.
#pragma once

#include <kwxml/model/Metadata.h>
#include <kwxml/platform/Export.h>

#include <map>
#include <vector>

/// What a listener puts into ListenerCbData::result to leave the field out.
inline constexpr int XMLCB_SKIP_PROCESSING = 1;

/// One field on its way out. The writer fills it and sets `result` to 0 before the calls.
struct ListenerCbData
{
  /// A copy of the field's record.
  FieldDef field;
  /// The message being written; not owned. A listener that changes it wants a caller whose message is not
  /// constant, and no other thread that reads it.
  YMMessageBase* message;
  /// 0, or what a listener has put there.
  int result;
};

/// The registry of one serializer. Not locked: listeners are added before messages are written concurrently.
class KWXML_API XMLSerializationSupport
{
public:
  /// A listener. What it returns is not looked at.
  using Callback = bool (*)(ListenerCbData&);

  /// Prepares an empty registry.
  void initialize() { listeners_.clear(); }
  /// Appends to the tag's listeners; null is ignored, and a callback added twice is called twice.
  void addListener(unsigned long tag, Callback callback);
  /// Takes every occurrence of the callback out of the tag's listeners.
  void removeListener(unsigned long tag, Callback callback);
  /// Calls the tag's listeners in the order of registration, all of them: the result is looked at afterwards.
  void ProcessCallBack(unsigned long tag, ListenerCbData& data) const;
  /// Whether there is no listener.
  bool empty() const noexcept { return listeners_.empty(); }

  /// True for the twelve class identifiers of system 119 that are written under the system name
  /// "SystemMonitoring".
  static bool checkIfSystemMonitoringMessage(unsigned long classId);
  /// Bytes that a value of the field occupies in its message's slots (a pointer's for lists, maps, nested
  /// messages and byte strings); 0, with a log line, for a type without storage.
  static int getSizeOfField(const FieldDef& field);
  /// A ready-made listener that keeps a message's identifying fields ("id", "name" and names that end in
  /// "Id") and leaves the others out.
  static bool hideFields(ListenerCbData& data);

private:
  std::map<unsigned long, std::vector<Callback>> listeners_;
};
