#pragma once

#include <functional>
#include <string>

namespace Zevrin {

/// A network of its own for programs that a test starts, as on another machine. The test's own network, which
/// `TakeNetwork` gave it, has a bridge with the address 10.73.0.1; each room is joined to it by a virtual
/// cable. Nothing is left when the object, or the test, is gone.
class NetworkRoom {
  public:
    enum class Cable {
        kVirtual,  ///< carries frames by itself
        kTap       ///< the test carries them, from one end to the other
    };

    /// @param number  1 to 200; two rooms at a time have different ones
    /// Throws std::runtime_error where the system does not grant it.
    explicit NetworkRoom(unsigned int number, Cable cable = Cable::kVirtual);
    ~NetworkRoom();
    NetworkRoom(const NetworkRoom&) = delete;
    NetworkRoom& operator=(const NetworkRoom&) = delete;

    /// 10.73.0.2 is that of number 1.
    std::string GetAddress() const;

    /// What `action` starts, lives in the room.
    void Within(const std::function<void()>& action) const;

    /// The ends of a cable of the kind `kTap`: whole Ethernet frames are read and written.
    int GetNearEnd() const { return m_nearEnd; }
    int GetFarEnd() const { return m_farEnd; }

  private:
    void Furnish(Cable cable);

    const unsigned int m_number;
    const std::string m_port;  // of the bridge
    int m_space = -1;          // the room's network namespace
    int m_nearEnd = -1;
    int m_farEnd = -1;
};

}  // namespace Zevrin
