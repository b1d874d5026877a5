// Locks of what is made once in the life of a process. Not installed.
#pragma once

#include <pthread.h>

namespace kwxml {

/// Lets no thread fork while another one has the lock: in the child there would be nobody to give it back. To
/// be called once, when the library is loaded. The handlers before a fork run in the reverse order of their
/// registration: a lock that is taken while another one is held is registered earlier.
template <auto& lock>
void holdOverForks()
{
  pthread_atfork([] { lock.lock(); }, [] { lock.unlock(); }, [] { lock.unlock(); });
}

}  // namespace kwxml
