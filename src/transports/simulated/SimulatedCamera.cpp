#include "SimulatedCamera.h"

#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <utility>

#include "DeviceLayout.h"
#include "Failure.h"

namespace Zevrin {

using Lock = boost::lock_guard<boost::mutex>;

SimulatedCamera::SimulatedCamera(boost::shared_ptr<SimulatedDevice> pDevice)
    : m_pOutlet(boost::make_shared<EventOutlet>()) {
    Attach(std::move(pDevice));
}

bool SimulatedCamera::IsVacant() const {
    const Lock lock(m_mutex);
    return !m_pDevice;
}

void SimulatedCamera::Attach(boost::shared_ptr<SimulatedDevice> pDevice) {
    const Lock lock(m_mutex);
    m_identity = pDevice->GetIdentity();
    m_interfaceType = m_identity.interfaceType;
    m_pDevice = std::move(pDevice);
    m_hasLeft = false;
    m_pDevice->SetEventOutlet(m_pOutlet);
}

void SimulatedCamera::Detach() {
    const Lock lock(m_mutex);
    m_pDevice->SetEventOutlet(nullptr);
    m_pDevice.reset();
    m_hasControl = false;
}

void SimulatedCamera::Leave() {
    const Lock lock(m_mutex);
    m_hasControl = false;
    m_hasLeft = true;
}

void SimulatedCamera::Return() {
    const Lock lock(m_mutex);
    m_hasLeft = false;
}

boost::shared_ptr<SimulatedDevice> SimulatedCamera::GetDevice() const {
    const Lock lock(m_mutex);
    return m_pDevice;
}

bool SimulatedCamera::IsPresent() const {
    const Lock lock(m_mutex);
    return m_pDevice && !m_hasLeft;
}

CameraIdentity SimulatedCamera::GetIdentity() const {
    const Lock lock(m_mutex);
    return m_identity;
}

Error SimulatedCamera::Open() {
    const Lock lock(m_mutex);
    if (!m_pDevice || m_hasLeft) {
        return Failure(ERR_CAMERA_LOST, "The simulated camera %u has gone away.", m_identity.serialNumber);
    }
    ++m_openCount;
    m_hasControl = true;
    return Error();
}

void SimulatedCamera::Close() {
    const Lock lock(m_mutex);
    if (m_openCount != 0 && --m_openCount == 0) {
        m_hasControl = false;
    }
}

RegisterBases SimulatedCamera::GetRegisterBases() const {
    return {kInitialRegisterSpace, kCommandRegisters};
}

/// The camera, for one operation that needs it. A camera that is unplugged says so by itself.
Error SimulatedCamera::Use(boost::shared_ptr<SimulatedDevice>* ppDevice) const {
    const Lock lock(m_mutex);
    if (!m_pDevice) {
        return Failure(ERR_CAMERA_LOST, "The simulated camera %u has gone away.", m_identity.serialNumber);
    }
    *ppDevice = m_pDevice;
    if (m_openCount == 0) {
        return Failure(ERR_NOT_CONNECTED, "The simulated camera %u has not been opened.",
                       m_identity.serialNumber);
    }
    if (!m_hasControl) {
        return Failure(ERR_CAMERA_LOST, "The simulated camera %u was away; it has to be opened again.",
                       m_identity.serialNumber);
    }
    return Error();
}

template <typename Operation>
Error SimulatedCamera::Using(Operation operation) const {
    boost::shared_ptr<SimulatedDevice> pDevice;
    const Error error = Use(&pDevice);
    return error != ERR_OK ? error : operation(*pDevice);
}

Error SimulatedCamera::ReadQuadlets(unsigned short addressHigh, unsigned int addressLow,
                                    unsigned int* pValues, unsigned int count) {
    return Using([&](SimulatedDevice& device) {
        return device.ReadQuadlets(addressHigh, addressLow, pValues, count);
    });
}

Error SimulatedCamera::WriteQuadlets(unsigned short addressHigh, unsigned int addressLow,
                                     const unsigned int* pValues, unsigned int count, bool broadcast) {
    return Using([&](SimulatedDevice& device) {
        return device.WriteQuadlets(addressHigh, addressLow, pValues, count, broadcast);
    });
}

Error SimulatedCamera::GetBusTime(TimeStamp* pTimeStamp) {
    return Using([&](SimulatedDevice& device) { return device.GetBusTime(pTimeStamp); });
}

Error SimulatedCamera::GetPortErrors(unsigned int* pCount) {
    return Using([&](SimulatedDevice& device) { return device.GetPortErrors(pCount); });
}

Error SimulatedCamera::GetStreamFormat(StreamFormat* pFormat) {
    return Using([&](SimulatedDevice& device) { return device.GetStreamFormat(pFormat); });
}

Error SimulatedCamera::StartStream(const ZevrinConfig&, const boost::shared_ptr<FrameQueue>& pQueue) {
    return Using([&](SimulatedDevice& device) { return device.StartStream(pQueue); });
}

Error SimulatedCamera::CheckEvents() const {
    const int type = m_interfaceType;
    return type == INTERFACE_U3V || type == INTERFACE_GIGE
               ? Error()
               : Failure(ERR_NOT_SUPPORTED, "Simulated cameras on the interface %s have no device events.",
                         GetInterfaceTypeName(static_cast<InterfaceType>(type)));
}

Error SimulatedCamera::GetEventNames(std::vector<std::string>* pNames) {
    const Error error = CheckEvents();
    if (error == ERR_OK) {
        *pNames = GetCameraEventNames();
    }
    return error;
}

Error SimulatedCamera::SetEventSink(EventSink* pSink) {
    const Error error = CheckEvents();
    return error != ERR_OK ? error : m_pOutlet->SetSink(pSink);
}

bool SimulatedCamera::IsStreaming(const boost::shared_ptr<FrameQueue>& pQueue) const {
    const boost::shared_ptr<SimulatedDevice> pDevice = GetDevice();
    return pDevice && pDevice->IsStreaming(pQueue);
}

void SimulatedCamera::StopStream(const boost::shared_ptr<FrameQueue>& pQueue) {
    if (const boost::shared_ptr<SimulatedDevice> pDevice = GetDevice()) {
        pDevice->StopStream(pQueue);
    }
}

}  // namespace Zevrin
