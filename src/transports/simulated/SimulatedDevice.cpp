#include "SimulatedDevice.h"

#include <boost/thread/lock_guard.hpp>

#include "CycleTime.h"
#include "DeviceLayout.h"
#include "DeviceRegisters.h"
#include "Failure.h"
#include "FormatText.h"
#include "FrameQueue.h"
#include "VideoFormats.h"

namespace Zevrin {

using Lock = boost::lock_guard<boost::mutex>;

namespace {

CameraIdentity MakeIdentity(const CameraDescription& camera, unsigned int busNumber, unsigned int node) {
    CameraIdentity identity;
    identity.serialNumber = camera.serialNumber;
    identity.interfaceType = camera.interfaceType;
    identity.vendorName = camera.vendorName;
    identity.modelName = camera.modelName;
    identity.firmwareVersion = camera.firmwareVersion;
    identity.sensorInfo = camera.sensorInfo;
    identity.address = FormatText("simulated bus %u, node %u", busNumber, node);
    identity.iidcVersion = camera.iidcVersion;
    identity.sensorWidth = camera.width;
    identity.sensorHeight = camera.height;
    identity.isColor = camera.bayer != BAYER_NONE;
    return identity;
}

constexpr unsigned long long kNanosecondsPerMicrosecond = 1000;

ErrorType AccessFailure(bool isWrite) {
    return isWrite ? ERR_WRITE_REGISTER_FAILED : ERR_READ_REGISTER_FAILED;
}

}  // namespace

SimulatedDevice::SimulatedDevice(SimulatedBus& bus, const CameraDescription& description,
                                 unsigned int busNumber, unsigned int node)
    : m_bus(bus),
      m_description(description),
      m_identity(MakeIdentity(description, busNumber, node)),
      m_stream(bus, description),
      m_sequencer(*this, bus),
      m_clockErrorPpm(description.clockErrorPpm) {
    m_coreRegisters.Add(MakeCoreRegisters(description));
    m_coreRegisters.Seal();
    m_registers.Add(MakeControlRegisters(description));
    m_registers.Add(MakeFormat7Registers(description));
    m_registers.Add(MakeFeatureRegisters(description));
    m_registers.Add(MakeTriggerRegisters(description));
    m_registers.Add(MakePinRegisters(description));
    m_registers.Add(MakeLutRegisters(description));
    m_registers.Add(MakeAdvancedRegisters(description));
    m_registers.Seal();
}

Error SimulatedDevice::CheckPlugged() const {
    return m_isPlugged ? Error()
                       : Failure(ERR_CAMERA_LOST, "The simulated camera %u is unplugged.",
                                 m_description.serialNumber);
}

/// The standard's address map: the command registers lie within the initial register space.
RegisterFile* SimulatedDevice::Locate(unsigned int addressLow, unsigned int* pOffset) {
    RegisterFile* pFile = addressLow >= kCommandRegisters ? &m_registers : &m_coreRegisters;
    *pOffset = addressLow - (addressLow >= kCommandRegisters ? kCommandRegisters : kInitialRegisterSpace);
    return addressLow >= kInitialRegisterSpace && pFile->Has(*pOffset) ? pFile : nullptr;
}

/// Lets the time pass that an access takes on its way, and tells when it arrives. That is not when the bus's
/// mutex could be had: cameras that are switched on one after the other are to differ by their latencies
/// alone, as far as the machine lets them.
unsigned long long SimulatedDevice::PassLatency(bool isWrite) {
    const unsigned long long now = m_bus.GetTime();
    unsigned long long latency = 0;
    {
        const Lock lock(m_bus.GetMutex());
        latency = m_stream.GetFaults().NextLatency(isWrite) * kNanosecondsPerMicrosecond;
    }
    return latency != 0 ? m_bus.GetClock().Pass(now, latency) : now;
}

Error SimulatedDevice::BeginAccess(bool isWrite, unsigned short addressHigh, unsigned int addressLow) {
    const Error error = CheckPlugged();
    if (error != ERR_OK) {
        return error;
    }
    if (addressHigh != kRegisterSpace) {
        return Failure(AccessFailure(isWrite),
                       "The simulated camera %u has registers at high address 0x%04X only, not at 0x%04X.",
                       m_description.serialNumber, kRegisterSpace, addressHigh);
    }
    if (m_stream.GetFaults().FailsAccess()) {
        ++m_portErrors;
        return Failure(AccessFailure(isWrite),
                       "A fault of the simulation: the %s at 0x%08X of camera %u fails.",
                       isWrite ? "write" : "read", addressLow, m_description.serialNumber);
    }
    return Error();
}

Error SimulatedDevice::CheckQuadlet(bool isWrite, unsigned int addressLow) {
    unsigned int offset = 0;
    RegisterFile* pFile = Locate(addressLow, &offset);
    if (pFile == nullptr) {
        return Failure(AccessFailure(isWrite), "The simulated camera %u has no register at 0x%08X.",
                       m_description.serialNumber, addressLow);
    }
    if (pFile == &m_registers && m_stream.GetFaults().FailsAddress(offset)) {
        ++m_portErrors;
        return Failure(AccessFailure(isWrite),
                       "A fault of the simulation: the register at 0x%08X (%s) of camera %u fails.",
                       addressLow, pFile->GetRow(offset)->name, m_description.serialNumber);
    }
    return Error();
}

Error SimulatedDevice::ReadQuadlets(unsigned short addressHigh, unsigned int addressLow,
                                    unsigned int* pValues, unsigned int count) {
    PassLatency(false);
    const Lock lock(m_bus.GetMutex());
    Error error = BeginAccess(false, addressHigh, addressLow);
    for (unsigned int index = 0; index < count && error == ERR_OK; ++index) {
        error = CheckQuadlet(false, addressLow + 4 * index);
        if (error == ERR_OK) {
            pValues[index] = ReadQuadlet(addressLow + 4 * index);
        }
    }
    return error;
}

Error SimulatedDevice::WriteQuadlets(unsigned short addressHigh, unsigned int addressLow,
                                     const unsigned int* pValues, unsigned int count, bool broadcast) {
    const unsigned long long arrival = PassLatency(true);  // one moment for all cameras of a broadcast
    const Error error = [&] {
        const Lock lock(m_bus.GetMutex());
        Error failure = BeginAccess(true, addressHigh, addressLow);
        for (unsigned int index = 0; index < count && failure == ERR_OK; ++index) {
            const unsigned int address = addressLow + 4 * index;
            failure = CheckQuadlet(true, address);
            for (const auto& pDevice : m_bus.GetDevices()) {
                // Nobody answers to a broadcast.
                if (failure == ERR_OK && (pDevice.get() == this || (broadcast && pDevice->m_isPlugged))) {
                    pDevice->m_writeTime = arrival;
                    pDevice->WriteQuadlet(address, pValues[index]);
                }
            }
        }
        return failure;
    }();
    for (const auto& pDevice : m_bus.GetDevices()) {
        if (pDevice.get() == this || broadcast) {
            pDevice->FinishWrite();
        }
    }
    return error;
}

/// A camera that was switched off sends nothing more, but its last frame may just be on its way into a
/// buffer. Whoever has switched it off may rely on that no frame lands from now on.
void SimulatedDevice::FinishWrite() {
    bool isQuiet = false;
    {
        const Lock lock(m_bus.GetMutex());
        isQuiet = !m_sequencer.IsSending();
    }
    if (isQuiet) {
        const Lock filling(m_stream.GetFillMutex());
    }
    FlushEvents();
}

unsigned int SimulatedDevice::ReadQuadlet(unsigned int addressLow) {
    unsigned int offset = 0;
    const RegisterFile* pFile = Locate(addressLow, &offset);
    const RegisterRow* pRow = pFile->GetRow(offset);
    const unsigned int stored = pFile->Get(offset);
    return pRow->read != nullptr ? pRow->read(*this, offset, stored) : stored;
}

void SimulatedDevice::WriteQuadlet(unsigned int addressLow, unsigned int value) {
    unsigned int offset = 0;
    RegisterFile* pFile = Locate(addressLow, &offset);
    if (pFile == nullptr) {
        return;
    }
    const RegisterRow* pRow = pFile->GetRow(offset);
    if (pRow->isLockedWhileSending && m_sequencer.IsSending()) {
        return;
    }
    const unsigned int before = pFile->Get(offset);
    pFile->Set(offset, (before & ~pRow->writable) | (value & pRow->writable));
    if (pRow->written != nullptr) {
        pRow->written(*this, offset, value, before);
    }
}

Error SimulatedDevice::GetBusTime(TimeStamp* pTimeStamp) {
    const Lock lock(m_bus.GetMutex());
    Error error = CheckPlugged();
    if (error == ERR_OK) {
        *pTimeStamp = GetHostTime();
        SetCycleTime(MakeCycleTime(m_bus.GetTime()), pTimeStamp);
    }
    return error;
}

Error SimulatedDevice::GetPortErrors(unsigned int* pCount) {
    const Lock lock(m_bus.GetMutex());
    Error error = CheckPlugged();
    if (error == ERR_OK) {
        *pCount = m_portErrors;
    }
    return error;
}

double SimulatedDevice::GetUptime() const {
    constexpr double kNanosecondsPerSecond = 1e9;
    return static_cast<double>(m_bus.GetTime() - m_poweredUp) / kNanosecondsPerSecond;
}

void SimulatedDevice::ResetToFactory() {
    StopTransmission();
    m_registers.Reset();
    TouchLut();
}

void SimulatedDevice::SaveChannel(unsigned int channel) {
    m_channels[channel] = m_registers.Save();
}

/// A channel that nothing was saved to holds the factory's settings.
void SimulatedDevice::LoadChannel(unsigned int channel) {
    const auto found = m_channels.find(channel);
    m_registers.Restore(found != m_channels.end() ? found->second : m_registers.GetFactorySettings());
    TouchLut();
}

bool SimulatedDevice::Unplug() {
    {
        // From before the queue is detached until it is done with: StopStream waits for that.
        const Lock filling(m_stream.GetFillMutex());
        boost::shared_ptr<FrameQueue> pQueue;
        {
            const Lock lock(m_bus.GetMutex());
            if (!m_isPlugged) {
                return false;
            }
            StopTransmission();
            m_isPlugged = false;
            Emit(CameraEvent::kLinkChange, m_bus.GetTime(), 0);
            pQueue = m_stream.Detach();
        }
        if (pQueue) {
            pQueue->Fail(Failure(ERR_CAMERA_LOST, "The simulated camera %u was unplugged while it streamed.",
                                 m_description.serialNumber));
        }
    }
    FlushEvents();
    return true;
}

bool SimulatedDevice::Replug() {
    const Lock lock(m_bus.GetMutex());
    if (m_isPlugged) {
        return false;
    }
    m_registers.Reset();
    TouchLut();
    m_sequencer.PowerUp();
    m_portErrors = 0;
    m_poweredUp = m_bus.GetTime();
    m_isPlugged = true;
    return true;
}

void SimulatedDevice::ReportLink() {
    {
        const Lock lock(m_bus.GetMutex());
        Emit(CameraEvent::kLinkChange, m_bus.GetTime(), m_isPlugged ? 1 : 0);
    }
    FlushEvents();
}

void SimulatedDevice::SetFaults(const FaultDescription& faults) {
    const Lock lock(m_bus.GetMutex());
    m_stream.SetFaults(faults);
}

void SimulatedDevice::SetTiming(const SimulatedTiming& timing) {
    const Lock lock(m_bus.GetMutex());
    m_stream.GetFaults().SetLatency(timing.readLatencyUs, timing.writeLatencyUs, timing.jitterUs);
    if (timing.clockErrorPpm != m_clockErrorPpm) {
        m_clockErrorPpm = timing.clockErrorPpm;
        m_sequencer.FollowFrameRate();
    }
}

SimulatedFrameCounts SimulatedDevice::GetFrameCounts() const {
    const Lock lock(m_bus.GetMutex());
    return m_stream.GetCounts();
}

}  // namespace Zevrin
