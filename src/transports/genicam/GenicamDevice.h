#pragma once

#include <arv.h>

#include <atomic>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <functional>
#include <optional>
#include <string>

#include "DeviceListing.h"
#include "GObjectHandle.h"
#include "zevrin/Error.h"

namespace Zevrin {

/// A device under this program's control: its memory and its GenICam features.
///
/// Accesses are made one at a time. Control ends with the object, which for a device that does not answer
/// takes some seconds; the object may not end on a thread of Aravis.
/// Threads: any.
class GenicamDevice {
  public:
    /// @param onLost  called once, on a thread of Aravis, when control is lost; it only leaves word
    /// Errors: ERR_CAMERA_LOST (no answer), ERR_ACCESS_DENIED (another program controls it),
    /// ERR_TRANSPORT_FAILED.
    static Error Open(const DeviceListing& listing, std::function<void()> onLost,
                      boost::shared_ptr<GenicamDevice>* ppDevice);

    /// Takes the device over. For `Open`.
    explicit GenicamDevice(GObjectHandle<ArvDevice> pDevice);
    ~GenicamDevice();
    GenicamDevice(const GenicamDevice&) = delete;
    GenicamDevice& operator=(const GenicamDevice&) = delete;

    /// Whether control was lost; every access fails from then on, without being tried.
    bool IsLost() const { return m_pWatch->isLost; }
    static Error MakeLostError();

    bool IsGigE() const { return m_isGigE; }

    /// Whether its packet size is the one that negotiation found; that is done once.
    bool IsPacketSizeNegotiated() const { return m_isPacketSizeNegotiated; }
    void SetPacketSizeNegotiated(bool isNegotiated) { m_isPacketSizeNegotiated = isNegotiated; }

    /// The packet delay that the device had before this program set another, in its own ticks.
    std::optional<long long> GetOwnPacketDelay() const { return m_ownPacketDelay; }
    void SetOwnPacketDelay(long long ticks) { m_ownPacketDelay = ticks; }

    /// Quadlets at consecutive addresses of the device's memory, in host byte order.
    /// Errors: ERR_READ_REGISTER_FAILED, ERR_WRITE_REGISTER_FAILED, ERR_TIMEOUT, ERR_ACCESS_DENIED,
    /// ERR_CAMERA_LOST.
    Error ReadMemory(unsigned int address, unsigned int* pValues, unsigned int count);
    Error WriteMemory(unsigned int address, const unsigned int* pValues, unsigned int count);

    // Features, by their standard names.

    /// Whether the device has the feature and offers it at present.
    bool Offers(const char* feature);

    /// Errors: ERR_FEATURE_ABSENT, ERR_TIMEOUT, ERR_CAMERA_LOST, ERR_ACCESS_DENIED, else
    /// ERR_TRANSPORT_FAILED.
    Error Execute(const char* feature);
    Error GetInteger(const char* feature, long long* pValue);
    Error SetInteger(const char* feature, long long value);
    Error GetText(const char* feature, std::string* pText);
    Error SetText(const char* feature, const char* text);

    /// Lets `call(device, GError**)` reach the device by itself, as one access named `what`.
    /// @param otherwise  the type of a failure that does not tell its own
    Error Access(ErrorType otherwise, const char* what,
                 const std::function<void(ArvDevice*, GError**)>& call);

    /// Held by whoever makes several accesses that belong together.
    boost::recursive_mutex& GetAccessMutex() { return m_accessMutex; }

  private:
    /// What the thread that notices a loss works with. It may be at it when the device has ended.
    struct Watch {
        std::function<void()> onLost;
        std::atomic<bool> isLost{false};
        bool hasDeviceEnded = false;
    };
    using WatchHandle = boost::shared_ptr<Watch>;

    static void OnControlLost(ArvDevice* pDevice, gpointer pData);
    Error AccessFeature(const char* feature, const std::function<void(ArvDevice*, GError**)>& call);
    Error AccessMemory(bool write, unsigned int address, unsigned int* pValues, unsigned int count);
    void WatchControl(std::function<void()> onLost);
    void WaitForSoleReference() const;

    GObjectHandle<ArvDevice> m_pDevice;  // set by the constructor
    const bool m_isGigE;                 // else USB3 Vision
    std::atomic<bool> m_isPacketSizeNegotiated{false};
    std::optional<long long> m_ownPacketDelay;  // used by one start of a stream at a time

    // Guards what was made for all watches. It is there before any thread of Aravis, as a watch's own would
    // not be.
    static boost::mutex m_lossMutex;
    const WatchHandle m_pWatch;
    gulong m_signalHandler = 0;

    // One access at a time: Aravis' features are not made for threads, and a device answers one request at
    // a time anyway.
    boost::recursive_mutex m_accessMutex;
};

}  // namespace Zevrin
