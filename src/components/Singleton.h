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
    /// On one line of the processor's cache: every guarded call takes the lock twice, and changes the count.
    /// Zero-initialised, but for the lock.
    struct alignas(64) State {
        boost::mutex mutex;  // guards what follows
        T* pInstance;
        int refCount;
    };
    static State m_state;

  public:
    /// Creates the instance when there is none; a constructor that throws leaves the count unchanged.
    static T* getInstance() {
        boost::unique_lock<boost::mutex> lock(m_state.mutex);
        if (m_pInstance == nullptr) {
            m_pInstance = new T();
        }
        ++m_iRefCount;
        return m_pInstance;
    }

    static void releaseInstance() {
        boost::unique_lock<boost::mutex> lock(m_state.mutex);
        --m_iRefCount;
        if (m_iRefCount == 0) {
            delete m_pInstance;
            m_pInstance = nullptr;
        }
    }

    static constexpr T*& m_pInstance = m_state.pInstance;
    static constexpr int& m_iRefCount = m_state.refCount;
};

template <typename T>
typename Singleton<T>::State Singleton<T>::m_state;

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
