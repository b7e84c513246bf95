#pragma once

#include <arv.h>

#include <atomic>
#include <boost/chrono/system_clocks.hpp>
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "DeviceListing.h"
#include "zevrin/Error.h"

namespace Zevrin {

class ControlWatch;

/// A device under this program's control: its memory and its GenICam features.
///
/// Accesses are made one at a time, on a thread of the device's own: when the device is lost, whoever waits
/// for one leaves at once, and Aravis goes on trying by itself. A GigE Vision device that falls silent is
/// noticed within a second, so no operation takes longer than an answer and that second. Control ends with
/// the object, which does not wait for a lost device. Threads: any.
class GenicamDevice {
  public:
    /// @param onLost  called once, on a thread of the device or of Aravis, when control is lost; it only
    /// leaves
    ///                word
    /// Errors: ERR_CAMERA_LOST (no answer, after a second), ERR_ACCESS_DENIED (another program controls it),
    /// ERR_TRANSPORT_FAILED.
    static Error Open(const DeviceListing& listing, std::function<void()> onLost,
                      boost::shared_ptr<GenicamDevice>* ppDevice);

    /// For `Open`. Throws boost::thread_resource_error.
    explicit GenicamDevice(const DeviceListing& listing);
    ~GenicamDevice();
    GenicamDevice(const GenicamDevice&) = delete;
    GenicamDevice& operator=(const GenicamDevice&) = delete;

    /// Gives a lost device up, after what is under way; does not wait.
    void End();

    /// Whether control was lost; every access fails from then on, without being tried.
    bool IsLost() const;
    static Error MakeLostError();

    bool IsGigE() const { return m_listing.interfaceType == INTERFACE_GIGE; }

    /// On its network.
    const std::string& GetAddress() const { return m_listing.address; }

    /// The address of this machine that the device is reached from; empty for USB3 Vision.
    std::string GetOwnAddress() const;

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

    /// Lets `call(device, GError**)` reach the device by itself, as one access named `what`, and waits for
    /// its end: when the device is lost meanwhile, until Aravis gives up, after 2.5 s as a rule.
    /// @param otherwise  the type of a failure that does not tell its own
    using Call = std::function<void(ArvDevice*, GError**)>;
    Error Access(ErrorType otherwise, const std::string& what, const Call& call);

    /// The same for a call that owns what it works with: when the device is lost, this returns at once, and
    /// the call goes on without it.
    Error Request(ErrorType otherwise, const std::string& what, Call call);

    /// Such a request that has a result.
    template <typename T>
    Error Ask(ErrorType otherwise, const std::string& what, std::function<T(ArvDevice*, GError**)> call,
              T* pResult) {
        const auto pValue = boost::make_shared<T>();
        Error error = Request(otherwise, what, [call, pValue](ArvDevice* pDevice, GError** ppReport) {
            *pValue = call(pDevice, ppReport);
        });
        if (error == ERR_OK) {
            *pResult = std::move(*pValue);
        }
        return error;
    }

    /// Ends a stream of the device on the device's thread. Waits, unless the device is lost.
    /// @return whether it has ended
    bool EndStream(ArvStream* pStream);

    /// Held by whoever makes several accesses that belong together.
    boost::recursive_mutex& GetAccessMutex() { return m_accessMutex; }

  private:
    /// What the threads that notice a loss work with. They may be at it when the device has ended.
    struct Loss;
    using LossHandle = boost::shared_ptr<Loss>;

    static void OnControlLost(ArvDevice* pDevice, gpointer pData);
    static void Notice(const LossHandle& pLoss);
    static void EndDevice(ArvDevice* pDevice, gulong signalHandler, const LossHandle& pLoss);
    static void GiveUpReference(ArvDevice* pDevice, const LossHandle& pLoss,
                                boost::chrono::steady_clock::time_point deadline);
    Error OpenDevice();
    void WatchControl(std::function<void()> onLost);
    using RunJob = std::function<bool(std::function<void()>)>;
    Error RunCall(ErrorType otherwise, const std::string& what, Call call, const RunJob& run);
    template <typename T>
    using FeatureCall = std::function<T(ArvDevice*, const char*, GError**)>;
    Error AccessFeature(const char* feature, FeatureCall<void> call);
    template <typename T>
    Error AskFeature(const char* feature, FeatureCall<T> call, T* pResult);

    const DeviceListing m_listing;
    const LossHandle m_pLoss;
    std::unique_ptr<ControlWatch> m_pWatch;  // of GigE Vision
    ArvDevice* m_pDevice = nullptr;          // one reference, given up on the device's thread; set by Open
    gulong m_signalHandler = 0;
    std::atomic<bool> m_hasEnded{false};
    std::atomic<bool> m_isPacketSizeNegotiated{false};
    std::optional<long long> m_ownPacketDelay;  // used by one start of a stream at a time

    // One access at a time: Aravis' features are not made for threads, and a device answers one request at
    // a time anyway.
    boost::recursive_mutex m_accessMutex;
};

}  // namespace Zevrin
