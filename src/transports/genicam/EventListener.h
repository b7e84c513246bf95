#pragma once

#include <netinet/in.h>

#include <boost/circular_buffer.hpp>
#include <boost/thread/thread.hpp>
#include <functional>
#include <string>

#include "EventPackets.h"
#include "FileHandle.h"
#include "zevrin/Error.h"

namespace Zevrin {

/// This machine's end of the message channel of one device: receives its commands, acknowledges those that
/// ask for it, and gives each event once, also when its command comes again because the acknowledge was lost.
///
/// Packets from other addresses, and malformed ones, are ignored; of the latter the first, second, fourth
/// and so on are logged, so that a device cannot fill the log.
class EventListener {
  public:
    /// @param ownAddress     of this machine, at which the device is to send
    /// @param deviceAddress  from which it sends; both as four numbers
    /// @param deliver        called on the listener's thread; the record points into the packet
    EventListener(const std::string& ownAddress, const std::string& deviceAddress,
                  std::function<void(const EventRecord&)> deliver);
    /// No delivery is under way when it returns; not from within one.
    ~EventListener();
    EventListener(const EventListener&) = delete;
    EventListener& operator=(const EventListener&) = delete;

    /// Errors: ERR_EVENT_FAILED.
    Error Start();

    /// Where the device is to send to. After `Start`.
    unsigned int GetAddress() const { return m_address; }
    unsigned short GetPort() const { return m_port; }

  private:
    void Run();
    void Receive();
    bool IsRepetition(unsigned int requestId);

    const std::string m_ownAddress;
    const std::string m_deviceAddress;
    const std::function<void(const EventRecord&)> m_deliver;
    in_addr_t m_device = INADDR_NONE;  // in network order
    unsigned int m_address = 0;
    unsigned short m_port = 0;
    FileHandle m_socket;
    FileHandle m_end;                               // can be read from when the thread is to end
    boost::circular_buffer<unsigned int> m_recent;  // request ids; the thread's own
    unsigned long long m_malformed = 0;             // packets; the thread's own
    boost::thread m_thread;
};

}  // namespace Zevrin
