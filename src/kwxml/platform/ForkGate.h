// Lets no thread be at the process's log while another one forks: in the child there is nobody who would give
// back the locks of such a thread, and a line there would wait for ever. Not installed.
#pragma once

namespace kwxml {

/// A thread is inside while an object lives; objects may be within one another. A fork waits until no thread
/// is inside, and threads that want to enter wait for the fork. So nothing may be called inside that waits
/// for others, such as a sink.
class InsideLog
{
public:
  InsideLog();
  ~InsideLog();
  InsideLog(const InsideLog&) = delete;
  InsideLog& operator=(const InsideLog&) = delete;
};

/// Makes the lock of the sink new, in each forked child and before all else: in EvDebug.cpp.
void renewSinkInChild();

}  // namespace kwxml
