#pragma once

#include <boost/thread/lock_types.hpp>
#include <boost/thread/mutex.hpp>

namespace Zevrin {

/// A process-wide, lazily created, reference-counted instance of `T`.
///
/// Every acquisition is paired with one release; the instance goes with the last of them. A release
/// without an acquisition is not caught: the count goes below zero, nothing is deleted, and the next
/// acquisition brings it back up by one.
/// Threads: any. `T` is created and deleted under the lock, so neither its constructor nor its destructor
/// may acquire or release it.
template <typename T>
class Singleton {
  public:
    /// Creates the instance when there is none; a constructor that throws leaves the count unchanged.
    static T* getInstance() {
        boost::unique_lock<boost::mutex> lock(m_mutex);
        if (m_pInstance == nullptr) {
            m_pInstance = new T();
        }
        ++m_iRefCount;
        return m_pInstance;
    }

    static void releaseInstance() {
        boost::unique_lock<boost::mutex> lock(m_mutex);
        --m_iRefCount;
        if (m_iRefCount == 0) {
            delete m_pInstance;
            m_pInstance = nullptr;
        }
    }

    // Guarded by m_mutex.
    static T* m_pInstance;
    static int m_iRefCount;

    static boost::mutex m_mutex;
};

template <typename T>
T* Singleton<T>::m_pInstance = nullptr;

template <typename T>
int Singleton<T>::m_iRefCount = 0;

template <typename T>
boost::mutex Singleton<T>::m_mutex;

/// One acquisition for the length of a scope. Test it before use, as one tests a pointer.
template <typename T>
class SingletonHold {
  public:
    SingletonHold() : m_pInstance(Singleton<T>::getInstance()) {}
    ~SingletonHold() {
        if (m_pInstance != nullptr) {
            Singleton<T>::releaseInstance();
        }
    }
    SingletonHold(const SingletonHold&) = delete;
    SingletonHold& operator=(const SingletonHold&) = delete;

    explicit operator bool() const noexcept { return m_pInstance != nullptr; }
    T* operator->() const noexcept { return m_pInstance; }

  private:
    T* const m_pInstance;
};

}  // namespace Zevrin
