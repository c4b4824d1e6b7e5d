#include "vexa/VexaMutex.h"

namespace VEXA {

VexaBaseMutex::~VexaBaseMutex() = default;

VexaMutex::VexaMutex() = default;
VexaMutex::~VexaMutex() = default;
void VexaMutex::lock() {
  m_mutex.lock();
}
void VexaMutex::unlock() {
  m_mutex.unlock();
}

VexaLock::VexaLock(VexaBaseMutex& mutex) : m_mutex(mutex) {
  m_mutex.lock();
}
VexaLock::~VexaLock() {
  m_mutex.unlock();
}

}  // namespace VEXA
