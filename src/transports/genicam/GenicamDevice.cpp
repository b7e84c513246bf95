#include "GenicamDevice.h"

#include <endian.h>

#include <algorithm>
#include <boost/chrono/duration.hpp>
#include <boost/chrono/system_clocks.hpp>
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>
#include <memory>
#include <utility>
#include <vector>

#include "AravisError.h"
#include "CallThread.h"
#include "ControlProbe.h"
#include "ControlWatch.h"
#include "DescriptionUrl.h"
#include "DeviceOpening.h"
#include "Failure.h"
#include "FormatText.h"
#include "GObjectHandle.h"

namespace Zevrin {

namespace {

constexpr auto kQuadletSize = static_cast<unsigned int>(sizeof(unsigned int));
constexpr unsigned int kMaxQuadletsOfRun = 128;  // GVCP carries at most 540 bytes, address included

constexpr boost::chrono::seconds kLongestSignal(10);

/// Guards what was made for all devices' losses. It is there before any thread of Aravis, as a device's own
/// would not be, and stays: a lost device's thread may outlive everything else.
boost::mutex& GetLossMutex() {
    static auto* const pMutex = std::make_unique<boost::mutex>().release();
    return *pMutex;
}

/// The memory of GigE Vision is big-endian, that of USB3 Vision little-endian.
void SwapToHost(bool isGigE, std::vector<unsigned int>* pValues) {
    std::transform(pValues->begin(), pValues->end(), pValues->begin(),
                   [isGigE](unsigned int value) { return isGigE ? htobe32(value) : htole32(value); });
}

/// Calls `access(address, values, count)` for as many quadlets at a time as a packet carries.
template <typename Pointer, typename RunAccess>
Error InRuns(unsigned int address, Pointer pValues, unsigned int count, const RunAccess& access) {
    Error error;
    for (unsigned int done = 0; done < count && error == ERR_OK;) {
        const unsigned int length = std::min(count - done, kMaxQuadletsOfRun);
        error = access(address + done * kQuadletSize, pValues + done, length);
        done += length;
    }
    return error;
}

}  // namespace

struct GenicamDevice::Loss {
    std::function<void()> onLost;
    std::atomic<bool> isLost{false};
    bool hasDeviceEnded = false;  // changes on the calls' thread
    CallThread calls;
};

Error GenicamDevice::Open(const DeviceListing& listing, std::function<void()> onLost,
                          boost::shared_ptr<GenicamDevice>* ppDevice) {
    boost::shared_ptr<GenicamDevice> pDevice;
    Error error;
    try {
        pDevice = boost::make_shared<GenicamDevice>(listing);
        error = pDevice->OpenDevice();
    } catch (const boost::thread_resource_error&) {
        return Failure(ERR_TRANSPORT_FAILED, "The system refuses a thread or a handle for the camera at %s.",
                       Printable(listing.address).c_str());
    }
    if (error == ERR_OK) {
        pDevice->WatchControl(std::move(onLost));
        *ppDevice = std::move(pDevice);
    }
    return error;
}

GenicamDevice::GenicamDevice(const DeviceListing& listing)
    : m_listing(listing), m_pLoss(boost::make_shared<Loss>()) {}

GenicamDevice::~GenicamDevice() {
    End();
    m_pWatch.reset();
}

/// The watch goes on meanwhile: it sees to it that a device which falls silent now is not waited for.
void GenicamDevice::End() {
    if (m_pDevice == nullptr || m_hasEnded.exchange(true)) {
        return;
    }
    // The job holds the thread that it runs on, whose object must not end there while others wait.
    m_pLoss->calls.Run([pDevice = m_pDevice, handler = m_signalHandler, pLoss = m_pLoss] {
        EndDevice(pDevice, handler, pLoss);
    });
}

void GenicamDevice::EndDevice(ArvDevice* pDevice, gulong signalHandler, const LossHandle& pLoss) {
    if (signalHandler != 0) {
        g_signal_handler_disconnect(pDevice, signalHandler);
    }
    GiveUpReference(pDevice, pLoss, boost::chrono::steady_clock::now() + kLongestSignal);
}

/// A thread that is telling of a loss has a reference for as long as it tells. Were that the last one, the
/// device would end on that thread, which it waits for. The other that has one is a stream, whose end has
/// its turn meanwhile when the device is lost.
void GenicamDevice::GiveUpReference(ArvDevice* pDevice, const LossHandle& pLoss,
                                    boost::chrono::steady_clock::time_point deadline) {
    while (g_atomic_int_get(&G_OBJECT(pDevice)->ref_count) > 1 &&
           boost::chrono::steady_clock::now() < deadline) {
        boost::this_thread::sleep_for(boost::chrono::milliseconds(1));
        if (pLoss->isLost) {
            pLoss->calls.Post([pDevice, pLoss, deadline] { GiveUpReference(pDevice, pLoss, deadline); });
            return;
        }
    }
    {
        boost::lock_guard<boost::mutex> lock(GetLossMutex());
        pLoss->hasDeviceEnded = true;
    }
    g_object_unref(pDevice);
}

/// The device is asked beforehand, since Aravis takes many seconds to find that there is none.
Error GenicamDevice::OpenDevice() {
    std::string ownAddress;
    if (IsGigE()) {
        ControlProbe probe(m_listing.address);
        if (!probe.Finds()) {
            return Failure(ERR_CAMERA_LOST, "The camera at %s does not answer.",
                           Printable(m_listing.address).c_str());
        }
        const Error error = CheckDescriptionUrls(probe);
        if (error != ERR_OK) {
            return error;
        }
        m_pWatch = std::make_unique<ControlWatch>(m_listing.address, [pLoss = m_pLoss] { Notice(pLoss); });
        ownAddress = probe.GetOwnAddress();
    }
    struct Answer {
        GObjectHandle<ArvDevice> pDevice;
        Error error;
    };
    const auto pAnswer = boost::make_shared<Answer>();
    const bool isDone = m_pLoss->calls.Run([pAnswer, ownAddress, listing = m_listing] {
        pAnswer->error = OpenListedDevice(listing, ownAddress, &pAnswer->pDevice);
    });
    if (!isDone) {
        return MakeLostError();
    }
    m_pDevice = pAnswer->pDevice.release();
    if (m_pDevice == nullptr) {
        return pAnswer->error;
    }
    if (m_pWatch) {  // some answer nobody else while they are controlled
        m_pWatch->Expect(false);
        m_pWatch->Expect(ControlProbe(m_listing.address).Finds());
    }
    return pAnswer->error;
}

std::string GenicamDevice::GetOwnAddress() const {
    return IsGigE() ? ControlProbe(m_listing.address).GetOwnAddress() : std::string();
}

void GenicamDevice::WatchControl(std::function<void()> onLost) {
    LossHandle* pHandle = nullptr;
    {
        boost::lock_guard<boost::mutex> lock(GetLossMutex());
        m_pLoss->onLost = std::move(onLost);
        pHandle = std::make_unique<LossHandle>(m_pLoss).release();  // the connection's own, which it deletes
    }
    m_signalHandler = g_signal_connect_data(
        m_pDevice, "control-lost", G_CALLBACK(&GenicamDevice::OnControlLost), pHandle,
        [](gpointer pData, GClosure*) { delete static_cast<LossHandle*>(pData); }, GConnectFlags{});
    // It may have been lost before anyone listened.
    if (IsLost() || (ARV_IS_GV_DEVICE(m_pDevice) && !arv_gv_device_is_controller(ARV_GV_DEVICE(m_pDevice)))) {
        Notice(m_pLoss);
    }
}

void GenicamDevice::OnControlLost(ArvDevice* pDevice, gpointer pData) {
    LossHandle pLoss;
    {
        boost::lock_guard<boost::mutex> lock(GetLossMutex());
        pLoss = *static_cast<LossHandle*>(pData);
        if (pLoss->hasDeviceEnded) {
            // GLib took its reference too late to keep the device, whose end waits for this thread; giving it
            // back must not end the device once more.
            g_object_ref(pDevice);
            return;
        }
    }
    Notice(pLoss);
}

void GenicamDevice::Notice(const LossHandle& pLoss) {
    std::function<void()> onLost;
    {
        boost::lock_guard<boost::mutex> lock(GetLossMutex());
        pLoss->isLost = true;
        onLost.swap(pLoss->onLost);
    }
    pLoss->calls.LetGo();
    if (onLost) {
        onLost();
    }
}

bool GenicamDevice::IsLost() const {
    return m_pLoss->isLost;
}

Error GenicamDevice::MakeLostError() {
    return Failure(ERR_CAMERA_LOST, "The camera has gone away, or another program has taken it over.");
}

Error GenicamDevice::Access(ErrorType otherwise, const std::string& what, const Call& call) {
    return RunCall(otherwise, what, call, [this](std::function<void()> job) {
        m_pLoss->calls.RunToEnd(std::move(job));
        return true;
    });
}

Error GenicamDevice::Request(ErrorType otherwise, const std::string& what, Call call) {
    return RunCall(otherwise, what, std::move(call),
                   [this](std::function<void()> job) { return m_pLoss->calls.Run(std::move(job)); });
}

Error GenicamDevice::RunCall(ErrorType otherwise, const std::string& what, Call call, const RunJob& run) {
    if (IsLost()) {
        return MakeLostError();  // without waiting for an access that hangs
    }
    boost::lock_guard<boost::recursive_mutex> lock(m_accessMutex);
    if (IsLost()) {
        return MakeLostError();
    }
    struct Outcome {
        AravisError report;
        bool isMade = false;
    };
    const auto pOutcome = boost::make_shared<Outcome>();
    const bool isDone = run([pOutcome, pLoss = m_pLoss, pDevice = m_pDevice, call = std::move(call)] {
        if (!pLoss->hasDeviceEnded) {  // whoever handled a loss may have been faster
            call(pDevice, pOutcome->report.Out());
            pOutcome->isMade = true;
        }
    });
    if (!isDone || !pOutcome->isMade || (pOutcome->report.IsSet() && IsLost())) {
        return MakeLostError();
    }
    const AravisError& report = pOutcome->report;
    return !report.IsSet()
               ? Error()
               : Failure(report.GetType(otherwise), "%s failed: %s.", what.c_str(), report.GetText().c_str());
}

/// Posted, so that accesses under way have ended; features are not made for threads.
bool GenicamDevice::EndStream(ArvStream* pStream) {
    return m_pLoss->calls.Run([pStream] { g_object_unref(pStream); });
}

Error GenicamDevice::AccessFeature(const char* feature, FeatureCall<void> call) {
    return Request(ERR_TRANSPORT_FAILED, FormatText("Access to the feature %s", feature),
                   [call = std::move(call), name = std::string(feature)](
                       ArvDevice* pDevice, GError** ppReport) { call(pDevice, name.c_str(), ppReport); });
}

template <typename T>
Error GenicamDevice::AskFeature(const char* feature, FeatureCall<T> call, T* pResult) {
    const auto pValue = boost::make_shared<T>();
    const Error error = AccessFeature(
        feature, [call = std::move(call), pValue](ArvDevice* pDevice, const char* name, GError** ppReport) {
            *pValue = call(pDevice, name, ppReport);
        });
    if (error == ERR_OK) {
        *pResult = std::move(*pValue);
    }
    return error;
}

bool GenicamDevice::Offers(const char* feature) {
    gboolean isOffered = FALSE;
    const Error error = AskFeature<gboolean>(feature, arv_device_is_feature_available, &isOffered);
    return error == ERR_OK && isOffered;
}

Error GenicamDevice::Execute(const char* feature) {
    return AccessFeature(feature, arv_device_execute_command);
}

Error GenicamDevice::GetInteger(const char* feature, long long* pValue) {
    return AskFeature<long long>(feature, arv_device_get_integer_feature_value, pValue);
}

Error GenicamDevice::SetInteger(const char* feature, long long value) {
    return AccessFeature(feature, [value](ArvDevice* pDevice, const char* name, GError** ppReport) {
        arv_device_set_integer_feature_value(pDevice, name, value, ppReport);
    });
}

Error GenicamDevice::GetText(const char* feature, std::string* pText) {
    return AskFeature<std::string>(
        feature,
        [](ArvDevice* pDevice, const char* name, GError** ppReport) {
            return BoundedText(arv_device_get_string_feature_value(pDevice, name, ppReport));
        },
        pText);
}

Error GenicamDevice::SetText(const char* feature, const char* text) {
    return AccessFeature(
        feature, [value = std::string(text)](ArvDevice* pDevice, const char* name, GError** ppReport) {
            arv_device_set_string_feature_value(pDevice, name, value.c_str(), ppReport);
        });
}

// Single quadlets go as registers, which every device has; runs go as memory, in its own byte order.

Error GenicamDevice::ReadMemory(unsigned int address, unsigned int* pValues, unsigned int count) {
    using Values = std::vector<unsigned int>;
    return InRuns(address, pValues, count, [&](unsigned int start, unsigned int* pRun, unsigned int length) {
        if (IsLost()) {
            return MakeLostError();  // without waiting for an access that hangs
        }
        boost::lock_guard<boost::recursive_mutex> lock(m_accessMutex);
        const bool isBeside = length == 1 && m_pWatch && !IsLost();
        if (isBeside && m_pWatch->Read(start, pRun)) {
            return Error();
        }
        Values values;
        const Error error = Ask<Values>(
            ERR_READ_REGISTER_FAILED,
            FormatText("Reading device memory at 0x%08X (%u bytes)", start, length * kQuadletSize),
            [start, length, isGigE = IsGigE()](ArvDevice* pDevice, GError** ppReport) {
                Values read(length);
                if (length == 1) {
                    arv_device_read_register(pDevice, start, read.data(), ppReport);
                } else if (arv_device_read_memory(pDevice, start, length * kQuadletSize, read.data(),
                                                  ppReport)) {
                    SwapToHost(isGigE, &read);
                }
                return read;
            },
            &values);
        std::copy(values.begin(), values.end(), pRun);
        if (isBeside && error == ERR_OK) {
            m_pWatch->CountMissedRead();
        }
        return error;
    });
}

Error GenicamDevice::WriteMemory(unsigned int address, const unsigned int* pValues, unsigned int count) {
    return InRuns(
        address, pValues, count, [&](unsigned int start, const unsigned int* pRun, unsigned int length) {
            std::vector<unsigned int> values(pRun, pRun + length);
            if (length > 1) {
                SwapToHost(IsGigE(), &values);
            }
            return Request(
                ERR_WRITE_REGISTER_FAILED,
                FormatText("Writing device memory at 0x%08X (%u bytes)", start, length * kQuadletSize),
                [start, values](ArvDevice* pDevice, GError** ppReport) mutable {
                    const auto size = static_cast<guint32>(values.size() * kQuadletSize);
                    values.size() == 1
                        ? arv_device_write_register(pDevice, start, values.front(), ppReport)
                        : arv_device_write_memory(pDevice, start, size, values.data(), ppReport);
                });
        });
}

}  // namespace Zevrin
