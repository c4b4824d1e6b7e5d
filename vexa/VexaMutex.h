#ifndef ZR_VEXA_VEXAMUTEX_H
#define ZR_VEXA_VEXAMUTEX_H

#include <mutex>

#include "vexa/VexaExport.h"

// What a lock guards is stated where it is declared and checked by clang (-Wthread-safety); other compilers see
// nothing.
#if defined(__clang__)
#define VEXA_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define VEXA_THREAD_ANNOTATION(x)
#endif

namespace VEXA {

// Something that can be locked by one thread at a time. Not recursive: a thread that locks twice waits for itself.
class VEXA_EXPORT VEXA_THREAD_ANNOTATION(capability("mutex")) VexaBaseMutex {
 public:
  VexaBaseMutex() = default;
  VexaBaseMutex(const VexaBaseMutex&) = delete;
  VexaBaseMutex& operator=(const VexaBaseMutex&) = delete;
  virtual ~VexaBaseMutex();

  // Waits until no other thread holds the mutex, then holds it.
  virtual void lock() VEXA_THREAD_ANNOTATION(acquire_capability()) = 0;
  // Gives the mutex up. Only the thread that holds it may call this.
  virtual void unlock() VEXA_THREAD_ANNOTATION(release_capability()) = 0;
};

// A mutex between the threads of one process.
class VEXA_EXPORT VexaMutex : public VexaBaseMutex {
 public:
  VexaMutex();
  ~VexaMutex() override;
  void lock() override VEXA_THREAD_ANNOTATION(acquire_capability());
  void unlock() override VEXA_THREAD_ANNOTATION(release_capability());

 private:
  std::mutex m_mutex;
};

// Holds a mutex from its construction to the end of its scope, also when an exception passes.
class VEXA_EXPORT VEXA_THREAD_ANNOTATION(scoped_lockable) VexaLock {
 public:
  explicit VexaLock(VexaBaseMutex& mutex) VEXA_THREAD_ANNOTATION(acquire_capability(mutex));
  ~VexaLock() VEXA_THREAD_ANNOTATION(release_capability());
  VexaLock(const VexaLock&) = delete;
  VexaLock& operator=(const VexaLock&) = delete;

 private:
  VexaBaseMutex& m_mutex;
};

}  // namespace VEXA

#endif  // ZR_VEXA_VEXAMUTEX_H
